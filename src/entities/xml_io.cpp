#include "entities/xml_io.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <sstream>
#include <string>

#include "util/base64.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::xml {
namespace {

// Parsing keeps what a round trip needs and what readers must see:
// - no end-of-line normalisation: our writer escapes every CR, but text written before it did
//   so (and by clients that never did) holds raw CRs in content, and they come back byte for
//   byte;
// - whitespace-only text when it is an element's only child, so blank content survives while
//   layout between member elements still does not become a node;
// - comments and processing instructions as nodes, so that one standing where a member belongs
//   fails that member's read instead of vanishing;
// - the document type declaration as a node, only so that it can be refused. Entities are never
//   expanded.
constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_escapes |
                                   pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single |
                                   pugi::parse_comments | pugi::parse_pi | pugi::parse_doctype;

// Values reach the tree already escaped by our writers, so pugixml prints them as they are: what
// a document holds does not depend on which characters a pugixml version escapes (1.13 leaves CR
// raw in text, where a conforming parser turns CR LF into LF).
constexpr unsigned kFormatOptions =
    pugi::format_raw | pugi::format_no_declaration | pugi::format_no_escapes;

// Frozen: the marker of a data item's content that XML text cannot carry. Never change it.
constexpr char kEncodingAttribute[] = "encoding";
constexpr char kBase64[] = "base64";

// `value` as it stands between the quotes of an attribute or in element text. CR is escaped
// everywhere because parsers normalise line ends, tab and LF in attributes because attribute-value
// normalisation turns them into spaces. The forms are those pugixml wrote for us before ("&#09;",
// ">" raw in attributes), so text that was already carried correctly is written as it was.
std::string Escape(std::string_view value, bool attribute) {
  std::string out;
  out.reserve(value.size() + value.size() / 16);
  // The bytes that may need a reference; runs without them are copied whole.
  static constexpr auto kSpecial = [] {
    std::array<bool, 256> special{};
    for (const unsigned char c : {'&', '<', '>', '"', '\r', '\t', '\n'}) special[c] = true;
    return special;
  }();
  size_t run = 0;  // start of the bytes not yet copied
  for (size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (!kSpecial[static_cast<unsigned char>(c)]) continue;
    const char* reference = nullptr;
    switch (c) {
      case '&':
        reference = "&amp;";
        break;
      case '<':
        reference = "&lt;";
        break;
      case '>':  // "]]>" may not stand in text; in attributes ">" is harmless
        if (!attribute) reference = "&gt;";
        break;
      case '"':
        if (attribute) reference = "&quot;";
        break;
      case '\r':
        reference = "&#13;";
        break;
      case '\t':
        if (attribute) reference = "&#09;";
        break;
      case '\n':
        if (attribute) reference = "&#10;";
        break;
      default:
        break;
    }
    if (reference == nullptr) continue;
    out.append(value.substr(run, i - run)).append(reference);
    run = i + 1;
  }
  out.append(value.substr(run));
  return out;
}

bool IsXmlChar(uint32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

// The length of the UTF-8 sequence at text[i] and its code point in `c`, or 0 when the bytes
// there are not a shortest-form encoding of a scalar value.
size_t DecodeUtf8(std::string_view text, size_t i, uint32_t& c) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[i + k]); };
  const unsigned char lead = byte(0);
  size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead < 0x80) {
    c = lead;
    return 1;
  } else if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    c = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    c = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;   // overlong
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    c = lead & 0x07;
    if (lead == 0xF0) low = 0x90;   // overlong
    if (lead == 0xF4) high = 0x8F;  // beyond U+10FFFF
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  if (byte(1) < low || byte(1) > high) return 0;
  for (size_t k = 1; k < length; ++k) {
    if (!IsContinuation(byte(k))) return 0;
    c = (c << 6) | (byte(k) & 0x3F);
  }
  return length;
}

// True when the text holds a character reference ("&#...;") to a character XML cannot carry.
// Such a reference inside a comment or CDATA section is not a reference, but no writer of
// catalog XML produces one there, so refusing it too keeps the scan a single pass.
bool HasForbiddenReference(std::string_view text) {
  size_t pos = 0;
  while ((pos = text.find("&#", pos)) != std::string_view::npos) {
    pos += 2;
    const bool hex = pos < text.size() && text[pos] == 'x';
    if (hex) ++pos;
    uint32_t value = 0;
    size_t digits = 0;
    for (; pos < text.size(); ++pos, ++digits) {
      const char ch = text[pos];
      uint32_t digit = 0;
      if (ch >= '0' && ch <= '9') {
        digit = static_cast<uint32_t>(ch - '0');
      } else if (hex && ch >= 'a' && ch <= 'f') {
        digit = static_cast<uint32_t>(ch - 'a' + 10);
      } else if (hex && ch >= 'A' && ch <= 'F') {
        digit = static_cast<uint32_t>(ch - 'A' + 10);
      } else {
        break;
      }
      value = value * (hex ? 16 : 10) + digit;
      if (value > 0x10FFFF) value = 0x110000;  // saturate: already out of range
    }
    if (digits == 0 || pos >= text.size() || text[pos] != ';') continue;
    if (!IsXmlChar(value)) return true;
  }
  return false;
}

class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& out) : out_(out) {}
  void write(const void* data, size_t size) override {
    out_.append(static_cast<const char*>(data), size);
  }

 private:
  std::string& out_;
};

}  // namespace

bool IsXmlText(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto b = static_cast<unsigned char>(text[i]);
    if (b >= 0x20 && b < 0x80) {
      ++i;
      continue;
    }
    uint32_t c = 0;
    const size_t length = DecodeUtf8(text, i, c);
    if (length == 0 || !IsXmlChar(c)) return false;
    i += length;
  }
  return true;
}

void CheckXmlText(std::string_view text, std::string_view what) {
  if (IsXmlText(text)) return;
  RaiseError(err::kInvalidProcedureCall, kComponentSource,
             RuntimeErrorDescription(err::kInvalidProcedureCall) + ": " + std::string(what) +
                 " holds a character that XML cannot carry (a control character or invalid "
                 "UTF-8)");
}

void SetTextAttribute(pugi::xml_node element, const char* name, std::string_view value) {
  CheckXmlText(value, std::string("attribute \"") + name + "\"");
  const std::string escaped = Escape(value, true);
  element.append_attribute(name).set_value(escaped.data(), escaped.size());
}

void SetLongAttribute(pugi::xml_node element, const char* name, int32_t value) {
  element.append_attribute(name).set_value(std::to_string(value).c_str());
}

void SetBooleanAttribute(pugi::xml_node element, const char* name, bool value) {
  element.append_attribute(name).set_value(value ? "true" : "false");
}

void SetDateAttribute(pugi::xml_node element, const char* name, const Date& value) {
  SetTextAttribute(element, name, FormatCatalogDate(value));
}

namespace {

void AppendEscapedText(pugi::xml_node element, std::string_view value) {
  if (value.empty()) return;
  const std::string escaped = Escape(value, false);
  element.append_child(pugi::node_pcdata).set_value(escaped.data(), escaped.size());
}

}  // namespace

void SetTextContent(pugi::xml_node element, std::string_view value) {
  CheckXmlText(value, std::string("the text of \"") + element.name() + "\"");
  AppendEscapedText(element, value);
}

void SetDataContent(pugi::xml_node element, std::string_view value) {
  if (IsXmlText(value)) {
    AppendEscapedText(element, value);
    return;
  }
  element.append_attribute(kEncodingAttribute).set_value(kBase64);
  const std::string encoded = EncodeBase64(value);  // the alphabet needs no escaping
  element.append_child(pugi::node_pcdata).set_value(encoded.data(), encoded.size());
}

std::string Print(pugi::xml_node element) {
  std::string out;
  StringWriter writer(out);
  element.print(writer, "", kFormatOptions, pugi::encoding_utf8);
  return out;
}

std::string PrintList(const char* name, const pugi::xml_document& members) {
  std::string out;
  out.append("<").append(name).append(">");
  StringWriter writer(out);
  for (pugi::xml_node member : members.children()) {
    member.print(writer, "", kFormatOptions, pugi::encoding_utf8);
  }
  out.append("</").append(name).append(">");
  return out;
}

pugi::xml_node LoadRoot(pugi::xml_document& document, std::string_view text,
                        const char* root_name) {
  if (!IsXmlText(text) || HasForbiddenReference(text)) RaiseRuntimeError(err::kObjectRequired);
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8);
  if (!result) RaiseRuntimeError(err::kObjectRequired);
  int elements = 0;
  for (pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_doctype) RaiseRuntimeError(err::kObjectRequired);
    if (node.type() == pugi::node_element) ++elements;
  }
  if (elements != 1) RaiseRuntimeError(err::kObjectRequired);
  pugi::xml_node root = document.child(root_name);
  if (!root) RaiseRuntimeError(err::kObjectRequired);
  return root;
}

bool IsBlankText(pugi::xml_node node) {
  if (node.type() != pugi::node_pcdata) return false;
  for (const char* p = node.value(); *p != '\0'; ++p) {
    if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') return false;
  }
  return true;
}

pugi::xml_node RequireElement(pugi::xml_node node, const char* name) {
  if (node.type() != pugi::node_element || std::string_view(node.name()) != name) {
    RaiseRuntimeError(err::kObjectRequired);
  }
  return node;
}

Variant AttributeValue(pugi::xml_node node, const char* name) {
  const pugi::xml_attribute attribute = node.attribute(name);
  if (!attribute) return Variant::Null();
  return Variant(std::string(attribute.value()));
}

std::string ReadText(pugi::xml_node element, const char* name) {
  return ToTextOr(AttributeValue(element, name), std::string());
}

int32_t ReadLong(pugi::xml_node element, const char* name) {
  const Variant value = AttributeValue(element, name);
  if (value.IsNull()) return 0;
  return value.ToLong();
}

Date ReadDate(pugi::xml_node element, const char* name) {
  return ToDateOr(AttributeValue(element, name), Date::Now());
}

bool ReadBoolean(pugi::xml_node element, const char* name) {
  return ToBooleanOr(AttributeValue(element, name), false);
}

std::string TextContent(pugi::xml_node node) {
  const pugi::xml_node first = node.first_child();
  // The common case, one text node, without a second copy.
  if (first && !first.next_sibling() &&
      (first.type() == pugi::node_pcdata || first.type() == pugi::node_cdata)) {
    return first.value();
  }
  std::string text;
  // Walk the subtree without recursion: client text may nest deeply.
  pugi::xml_node current = first;
  while (current) {
    if (current.type() == pugi::node_pcdata || current.type() == pugi::node_cdata) {
      text.append(current.value());
    }
    if (current.first_child()) {
      current = current.first_child();
      continue;
    }
    while (current && current != node && !current.next_sibling()) current = current.parent();
    if (!current || current == node) break;
    current = current.next_sibling();
  }
  return text;
}

namespace {

// Passes pugixml's output on with every raw CR byte as a character reference. pugixml escapes CR
// in attribute values itself, so a raw CR can only be text content.
class CrEscapingWriter : public pugi::xml_writer {
 public:
  explicit CrEscapingWriter(std::ostream& out) : out_(out) {}
  void write(const void* data, size_t size) override {
    const std::string_view text(static_cast<const char*>(data), size);
    size_t start = 0;
    for (size_t cr = text.find('\r'); cr != std::string_view::npos; cr = text.find('\r', start)) {
      out_.write(text.data() + start, static_cast<std::streamsize>(cr - start));
      out_ << "&#13;";
      start = cr + 1;
    }
    out_.write(text.data() + start, static_cast<std::streamsize>(text.size() - start));
  }

 private:
  std::ostream& out_;
};

}  // namespace

void SaveIndented(const pugi::xml_document& document, std::ostream& out) {
  CrEscapingWriter writer(out);
  document.save(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
}

void SaveDeclaration(std::ostream& out) { out << "<?xml version=\"1.0\"?>\n"; }

void SaveIndentedElement(pugi::xml_node element, unsigned depth, std::ostream& out) {
  CrEscapingWriter writer(out);
  element.print(writer, "  ", pugi::format_indent, pugi::encoding_utf8, depth);
}

void SaveIndentedStartTag(pugi::xml_node element, unsigned depth, std::ostream& out) {
  // The element without its children, as pugixml prints an empty one ("<name ... />"), with the
  // start tag's end in place of the empty element's.
  pugi::xml_document alone;
  pugi::xml_node copy = alone.append_child(element.name());
  for (const pugi::xml_attribute attribute : element.attributes()) copy.append_copy(attribute);
  std::ostringstream printed;
  SaveIndentedElement(copy, depth, printed);
  std::string text = printed.str();
  constexpr std::string_view kEmptyEnd = " />\n";
  text.replace(text.size() - kEmptyEnd.size(), kEmptyEnd.size(), ">\n");
  out << text;
}

void SaveIndentedEndTag(const char* name, unsigned depth, std::ostream& out) {
  for (unsigned level = 0; level < depth; ++level) out << "  ";
  out << "</" << name << ">\n";
}

std::string DataContent(pugi::xml_node node) {
  const pugi::xml_attribute encoding = node.attribute(kEncodingAttribute);
  if (!encoding) return TextContent(node);
  std::optional<std::string> decoded;
  if (std::string_view(encoding.value()) == kBase64) decoded = DecodeBase64(TextContent(node));
  if (!decoded) RaiseRuntimeError(err::kObjectRequired);
  return *decoded;
}

}  // namespace clipcat::xml
