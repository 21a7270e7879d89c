#include "util/rtf_text.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace clipcat {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;
constexpr int kDefaultCodepage = 1252;
// Real documents nest a few dozen groups at most; deeper ones are read but skipped, so that the
// group stack stays small whatever the input.
constexpr size_t kMaxDepth = 256;
// Parameters are 32-bit; longer digit runs saturate.
constexpr int64_t kMaxParam = INT32_MAX;

void AppendUtf8(std::string& out, UChar32 c) {
  if (c == 0) return;
  if (U_IS_SURROGATE(c) || c > 0x10FFFF || c < 0) c = kReplacement;
  char buffer[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(buffer, length, c);
  out.append(buffer, static_cast<size_t>(length));
}

std::string ValidUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const auto length = static_cast<int64_t>(text.size());
  for (int64_t i = 0; i < length;) {
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, i, length, c);
    if (c == 0) {
      out.push_back('\0');  // kept here: only RTF drops NUL characters
    } else {
      AppendUtf8(out, c);
    }
  }
  return out;
}

// The Windows codepage of each \fcharset that has its own; the others (0 ANSI, 1 default, 2 symbol)
// read in the document's codepage.
constexpr std::pair<int, int> kCharsetCodepages[] = {
    {77, 10000}, {128, 932},  {129, 949},  {134, 936},  {136, 950},  {161, 1253},
    {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257}, {204, 1251},
    {222, 874},  {238, 1250}, {254, 437},  {255, 850}};

int CodepageOfCharset(int charset) {
  for (const auto& [known, codepage] : kCharsetCodepages) {
    if (known == charset) return codepage;
  }
  return 0;
}

// For bytes a codepage cannot read ICU writes U+001A with some converters; text wants U+FFFD.
void SubstituteReplacement(const void*, UConverterToUnicodeArgs* args, const char*, int32_t,
                           UConverterCallbackReason reason, UErrorCode* status) {
  if (reason > UCNV_IRREGULAR) return;
  *status = U_ZERO_ERROR;
  const UChar replacement = static_cast<UChar>(kReplacement);
  ucnv_cbToUWriteUChars(args, &replacement, 1, 0, status);
}

struct ConverterCloser {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// Whether `bytes` read in `codepage` are the ASCII characters of the same numbers: bytes from 1
// to 0x7F (a NUL is no character of the text), in a code page that keeps ASCII as it is (the
// Windows code pages of RTF's character sets, and UTF-8).
bool ReadsAsAscii(int codepage, std::string_view bytes) {
  const bool keeps_ascii = (codepage >= 1250 && codepage <= 1258) || codepage == 874 ||
                           codepage == 932 || codepage == 936 || codepage == 949 ||
                           codepage == 950 || codepage == 65001;
  if (!keeps_ascii) return false;
  for (const char b : bytes) {
    const auto byte = static_cast<uint8_t>(b);
    if (byte == 0 || byte >= 0x80) return false;
  }
  return true;
}

// The converters one document uses, opened once each.
class Codepages {
 public:
  // Appends the UTF-16 of `bytes` read in `codepage` to `units`.
  void Decode(int codepage, std::string_view bytes, std::u16string& units) {
    UConverter* converter = Get(codepage);
    if (converter == nullptr) {  // no ICU data: ASCII only
      for (const char b : bytes) {
        units.push_back(static_cast<uint8_t>(b) < 0x80 ? static_cast<char16_t>(b) : kReplacement);
      }
      return;
    }
    ucnv_resetToUnicode(converter);
    const char* source = bytes.data();
    const char* const source_end = source + bytes.size();
    std::array<UChar, 256> chunk;
    UErrorCode status = U_ZERO_ERROR;
    do {
      status = U_ZERO_ERROR;
      UChar* target = chunk.data();
      ucnv_toUnicode(converter, &target, chunk.data() + chunk.size(), &source, source_end, nullptr,
                     true, &status);
      units.append(chunk.data(), target);
    } while (status == U_BUFFER_OVERFLOW_ERROR);
  }

 private:
  UConverter* Get(int codepage) {
    auto found = converters_.find(codepage);
    if (found == converters_.end()) {
      char name[32];
      std::snprintf(name, sizeof name, "windows-%d", codepage);  // 65001 is UTF-8
      UErrorCode status = U_ZERO_ERROR;
      Converter converter(ucnv_open(name, &status));
      if (U_SUCCESS(status)) {
        ucnv_setToUCallBack(converter.get(), SubstituteReplacement, nullptr, nullptr, nullptr,
                            &status);
      }
      if (U_FAILURE(status)) converter.reset();
      found = converters_.emplace(codepage, std::move(converter)).first;
    }
    if (found->second == nullptr && codepage != kDefaultCodepage) return Get(kDefaultCodepage);
    return found->second.get();
  }

  std::map<int, Converter> converters_;  // null where the codepage is unknown
};

enum class Act {
  kSkipGroup,  // a destination without visible text
  kFontTable,  // skipped too, but its fonts give codepages
  kChar,       // one character
  kRowEnd,     // the "\t" after the last cell becomes "\n"
  kUnicode,    // \uN
  kFallbackCount,
  kDocumentCodepage,
  kFixedCodepage,  // \ansi, \mac, \pc, \pca
  kDefaultFont,
  kFont,
  kFontCharset,
  kFontCodepage,
  kPlain,
  kHidden,
};

struct Word {
  std::string_view name;
  Act act;
  int value = 0;  // the character or the codepage
};

// Sorted by name for the binary search; control words not listed change nothing in the text.
constexpr auto kWords = std::to_array<Word>({
    {"annotation", Act::kSkipGroup},
    {"ansi", Act::kFixedCodepage, 1252},
    {"ansicpg", Act::kDocumentCodepage},
    {"atnauthor", Act::kSkipGroup},
    {"atnid", Act::kSkipGroup},
    {"bkmkend", Act::kSkipGroup},
    {"bkmkstart", Act::kSkipGroup},
    {"bullet", Act::kChar, 0x2022},
    {"cell", Act::kChar, '\t'},
    {"colorschememapping", Act::kSkipGroup},
    {"colortbl", Act::kSkipGroup},
    {"cpg", Act::kFontCodepage},
    {"datastore", Act::kSkipGroup},
    {"deff", Act::kDefaultFont},
    {"emdash", Act::kChar, 0x2014},
    {"emspace", Act::kChar, 0x2003},
    {"endash", Act::kChar, 0x2013},
    {"enspace", Act::kChar, 0x2002},
    {"f", Act::kFont},
    {"fcharset", Act::kFontCharset},
    {"filetbl", Act::kSkipGroup},
    {"fldinst", Act::kSkipGroup},
    {"fonttbl", Act::kFontTable},
    {"footer", Act::kSkipGroup},
    {"footerf", Act::kSkipGroup},
    {"footerl", Act::kSkipGroup},
    {"footerr", Act::kSkipGroup},
    {"footnote", Act::kSkipGroup},
    {"generator", Act::kSkipGroup},
    {"header", Act::kSkipGroup},
    {"headerf", Act::kSkipGroup},
    {"headerl", Act::kSkipGroup},
    {"headerr", Act::kSkipGroup},
    {"info", Act::kSkipGroup},
    {"latentstyles", Act::kSkipGroup},
    {"ldblquote", Act::kChar, 0x201C},
    {"line", Act::kChar, '\n'},
    {"listoverridetable", Act::kSkipGroup},
    {"listtable", Act::kSkipGroup},
    {"lquote", Act::kChar, 0x2018},
    {"ltrmark", Act::kChar, 0x200E},
    {"mac", Act::kFixedCodepage, 10000},
    {"mmathPr", Act::kSkipGroup},
    {"nestcell", Act::kChar, '\t'},
    {"objdata", Act::kSkipGroup},
    {"page", Act::kChar, '\n'},
    {"par", Act::kChar, '\n'},
    {"pc", Act::kFixedCodepage, 437},
    {"pca", Act::kFixedCodepage, 850},
    {"pict", Act::kSkipGroup},
    {"plain", Act::kPlain},
    {"pntxta", Act::kSkipGroup},
    {"pntxtb", Act::kSkipGroup},
    {"qmspace", Act::kChar, 0x2005},
    {"rdblquote", Act::kChar, 0x201D},
    {"revtbl", Act::kSkipGroup},
    {"row", Act::kRowEnd},
    {"rquote", Act::kChar, 0x2019},
    {"rsidtbl", Act::kSkipGroup},
    {"rtlmark", Act::kChar, 0x200F},
    {"sect", Act::kChar, '\n'},
    {"stylesheet", Act::kSkipGroup},
    {"tab", Act::kChar, '\t'},
    {"tc", Act::kSkipGroup},
    {"tcn", Act::kSkipGroup},
    {"themedata", Act::kSkipGroup},
    {"txe", Act::kSkipGroup},
    {"u", Act::kUnicode},
    {"uc", Act::kFallbackCount},
    {"v", Act::kHidden},
    {"xe", Act::kSkipGroup},
    {"xmlnstbl", Act::kSkipGroup},
    {"zwj", Act::kChar, 0x200D},
    {"zwnj", Act::kChar, 0x200C},
});
static_assert(std::is_sorted(kWords.begin(), kWords.end(),
                             [](const Word& a, const Word& b) { return a.name < b.name; }));

const Word* FindWord(std::string_view name) {
  const auto* found =
      std::lower_bound(kWords.begin(), kWords.end(), name,
                       [](const Word& word, std::string_view key) { return word.name < key; });
  return found != kWords.end() && found->name == name ? found : nullptr;
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// What a group inherits from the group around it and drops when it closes.
struct Group {
  int fallback_count = 1;  // \uc
  int font = -1;           // -1: the document's default font
  bool skipped = false;
  bool hidden = false;
  bool font_table = false;
};

struct Font {
  int charset = -1;
  int codepage = 0;
};

class Reader {
 public:
  explicit Reader(std::string_view rtf) : in_(rtf) {}

  std::string Read() {
    while (pos_ < in_.size()) {
      const char c = in_[pos_++];
      if (c == '{') {
        OpenGroup();
      } else if (c == '}') {
        CloseGroup();
        if (groups_.empty()) break;  // the end of the document
      } else if (c == '\\') {
        Escape();
      } else if (c != '\r' && c != '\n' && c != '\0') {
        TextByte(c);
      }
    }
    Flush();
    if (high_surrogate_ != 0) AppendUtf8(out_, kReplacement);
    if (!out_.empty() && out_.back() == '\n') out_.pop_back();
    return std::move(out_);
  }

 private:
  bool Visible() const {
    return too_deep_ == 0 && !groups_.empty() && !groups_.back().skipped && !groups_.back().hidden;
  }

  void OpenGroup() {
    Flush();
    fallback_left_ = 0;
    if (groups_.size() >= kMaxDepth) {
      ++too_deep_;
    } else {
      groups_.push_back(groups_.empty() ? Group{} : groups_.back());
    }
  }

  void CloseGroup() {
    Flush();
    fallback_left_ = 0;
    if (too_deep_ > 0) {
      --too_deep_;
    } else {
      groups_.pop_back();
    }
  }

  // A byte of text, or a fallback character to skip.
  void TextByte(char c) {
    if (fallback_left_ > 0) {
      --fallback_left_;
    } else if (Visible()) {
      pending_.push_back(c);
    }
  }

  void Escape() {
    if (pos_ >= in_.size()) return;
    const char c = in_[pos_];
    if (IsLetter(c)) return ControlWord();
    ++pos_;
    switch (c) {
      case '\'': {
        const int high = pos_ < in_.size() ? HexValue(in_[pos_]) : -1;
        if (high < 0) return;
        ++pos_;
        const int low = pos_ < in_.size() ? HexValue(in_[pos_]) : -1;
        if (low < 0) return;
        ++pos_;
        return TextByte(static_cast<char>(high << 4 | low));
      }
      case '\\':
      case '{':
      case '}':
        // Kept with the bytes around them: a double-byte character may end in one of them.
        return TextByte(c);
      default:
        break;
    }
    if (too_deep_ > 0) return;
    if (fallback_left_ > 0) {
      --fallback_left_;
      return;
    }
    switch (c) {
      case '\r':
      case '\n':
        return Apply({"par", Act::kChar, '\n'}, false, 0);
      case '~':
        return Apply({"~", Act::kChar, 0x00A0}, false, 0);
      case '_':
        return Apply({"_", Act::kChar, 0x2011}, false, 0);
      case '*':
        return Apply({"*", Act::kSkipGroup}, false, 0);
      default:
        break;  // \- (an optional hyphen) and the rest show nothing
    }
  }

  // A control word: letters, an optional signed number and one optional space.
  void ControlWord() {
    const size_t start = pos_;
    while (pos_ < in_.size() && IsLetter(in_[pos_])) ++pos_;
    const std::string_view name = in_.substr(start, pos_ - start);
    bool negative = false;
    if (pos_ + 1 < in_.size() && in_[pos_] == '-' && IsDigit(in_[pos_ + 1])) {
      negative = true;
      ++pos_;
    }
    bool has_param = false;
    int64_t value = 0;
    for (; pos_ < in_.size() && IsDigit(in_[pos_]); ++pos_) {
      has_param = true;
      value = std::min(value * 10 + (in_[pos_] - '0'), kMaxParam);
    }
    if (pos_ < in_.size() && in_[pos_] == ' ') ++pos_;
    const int param = static_cast<int>(negative ? -value : value);

    if (name == "bin") {
      // Binary data is never text, and counts as one fallback character.
      if (has_param && param > 0) pos_ += std::min(static_cast<size_t>(param), in_.size() - pos_);
      if (fallback_left_ > 0) --fallback_left_;
      return;
    }
    if (too_deep_ > 0) return;
    if (fallback_left_ > 0) {
      --fallback_left_;
      return;
    }
    if (const Word* word = FindWord(name)) Apply(*word, has_param, param);
  }

  void Apply(const Word& word, bool has_param, int param) {
    Flush();
    Group& group = groups_.back();
    switch (word.act) {
      case Act::kSkipGroup:
        group.skipped = true;
        break;
      case Act::kFontTable:
        group.skipped = true;
        group.font_table = true;
        break;
      case Act::kChar:
        Emit(word.value);
        break;
      case Act::kRowEnd:
        if (!Visible()) break;
        if (!out_.empty() && out_.back() == '\t') out_.pop_back();
        Emit('\n');
        break;
      case Act::kUnicode:
        if (!has_param) break;
        Unicode(param < 0 ? param + 0x10000 : param);
        fallback_left_ = group.fallback_count;
        break;
      case Act::kFallbackCount:
        if (has_param && param >= 0) group.fallback_count = param;
        break;
      case Act::kDocumentCodepage:
        if (has_param && param > 0) document_codepage_ = param;
        break;
      case Act::kFixedCodepage:
        document_codepage_ = word.value;
        break;
      case Act::kDefaultFont:
        if (has_param) default_font_ = param;
        break;
      case Act::kFont:
        if (!has_param) break;
        if (group.font_table) {
          font_defined_ = param;
        } else {
          group.font = param;
        }
        break;
      case Act::kFontCharset:
        if (has_param && group.font_table && font_defined_ >= 0) {
          fonts_[font_defined_].charset = param;
        }
        break;
      case Act::kFontCodepage:
        if (has_param && group.font_table && font_defined_ >= 0) {
          fonts_[font_defined_].codepage = param;
        }
        break;
      case Act::kPlain:
        group.font = -1;
        group.hidden = false;
        break;
      case Act::kHidden:
        group.hidden = !has_param || param != 0;
        break;
    }
  }

  void Unicode(int unit) {
    if (!Visible()) return;
    if (U16_IS_LEAD(unit)) {
      if (high_surrogate_ != 0) AppendUtf8(out_, kReplacement);
      high_surrogate_ = unit;
    } else if (U16_IS_TRAIL(unit) && high_surrogate_ != 0) {
      AppendUtf8(out_, U16_GET_SUPPLEMENTARY(high_surrogate_, unit));
      high_surrogate_ = 0;
    } else {
      Emit(unit >= 0 && unit <= 0xFFFF ? unit : kReplacement);
    }
  }

  // Appends a character of visible text; a surrogate pair left open ends here.
  void Emit(UChar32 c) {
    if (!Visible()) return;
    if (high_surrogate_ != 0) {
      AppendUtf8(out_, kReplacement);
      high_surrogate_ = 0;
    }
    AppendUtf8(out_, c);
  }

  int Codepage() const {
    const int font =
        groups_.empty() || groups_.back().font < 0 ? default_font_ : groups_.back().font;
    if (const auto found = fonts_.find(font); found != fonts_.end()) {
      if (found->second.codepage > 0) return found->second.codepage;
      if (const int codepage = CodepageOfCharset(found->second.charset)) return codepage;
    }
    return document_codepage_;
  }

  // Decodes the text bytes read since the last control word or brace. They are only collected
  // while the text is visible, and every change of font or visibility comes after a flush.
  void Flush() {
    if (pending_.empty()) return;
    if (ReadsAsAscii(Codepage(), pending_)) {
      // Most text of most documents: the bytes are their own characters.
      if (high_surrogate_ != 0) {
        AppendUtf8(out_, kReplacement);
        high_surrogate_ = 0;
      }
      out_ += pending_;
      pending_.clear();
      return;
    }
    units_.clear();
    codepages_.Decode(Codepage(), pending_, units_);
    pending_.clear();
    const auto length = static_cast<int64_t>(units_.size());
    for (int64_t i = 0; i < length;) {
      UChar32 c = 0;
      U16_NEXT(units_.data(), i, length, c);
      Emit(c);
    }
  }

  std::string_view in_;
  size_t pos_ = 0;
  std::vector<Group> groups_;
  size_t too_deep_ = 0;    // groups open beyond kMaxDepth
  int fallback_left_ = 0;  // characters still to skip after \u
  UChar32 high_surrogate_ = 0;
  std::string pending_;
  std::u16string units_;
  std::string out_;
  int document_codepage_ = kDefaultCodepage;
  int default_font_ = 0;
  int font_defined_ = -1;  // the font the font table is describing
  std::map<int, Font> fonts_;
  Codepages codepages_;
};

}  // namespace

std::string RtfToText(std::string_view rtf) {
  const size_t start = rtf.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos || rtf.substr(start, 5) != "{\\rtf") return ValidUtf8(rtf);
  return Reader(rtf.substr(start)).Read();
}

}  // namespace clipcat
