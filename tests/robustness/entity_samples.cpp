#include "robustness/entity_samples.h"

#include <libxml/tree.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "robustness/robustness_support.h"
#include "util/values.h"

namespace clipcat::robustness {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
// 0100-01-01 and 9999-12-31 23:59:59 as seconds from day zero: the dates an entity can carry.
constexpr int64_t kFirstSecond = -657434 * kSecondsPerDay;
constexpr int64_t kLastSecond = 2958466 * kSecondsPerDay - 1;

// Pieces that text is made of: plain letters most of the time, and the characters that break
// escaping, line-end handling, attribute normalisation and UTF-8 handling.
const std::vector<std::string>& TextPieces() {
  static const std::vector<std::string> pieces = {"a",
                                                  "Z",
                                                  "7",
                                                  " ",
                                                  "  ",
                                                  "\t",
                                                  "\n",
                                                  "\r",
                                                  "\r\n",
                                                  "<",
                                                  ">",
                                                  "&",
                                                  "\"",
                                                  "'",
                                                  "]]>",
                                                  "&amp;",
                                                  "&#13;",
                                                  "%",
                                                  "_",
                                                  "\\",
                                                  "=",
                                                  "\xC3\xA9",
                                                  "\xE2\x82\xAC",
                                                  "\xF0\x9F\x98\x80",
                                                  "\xEF\xBF\xBD",
                                                  "\xED\x9F\xBF",
                                                  "\xEE\x80\x80",
                                                  "\xF4\x8F\xBF\xBF",
                                                  "\xC2\x85",
                                                  "\xE2\x80\xA8",
                                                  "e\xCC\x81",
                                                  "\xC3\x9F",
                                                  "\xC4\xB0",
                                                  "\xE6\x97\xA5\xE6\x9C\xAC"};
  return pieces;
}

class Generator {
 public:
  Generator(SampleUse use, uint64_t seed) : use_(use), rng_(seed) {}

  Sample Make(SampleKind kind) {
    switch (kind) {
      case SampleKind::kFolder:
        AddFolder("", 0);
        break;
      case SampleKind::kFolders:
        AddList("folder", [&](const std::string& prefix) { AddFolder(prefix, 1); });
        break;
      case SampleKind::kClipping:
        AddClipping("");
        break;
      case SampleKind::kClippings:
        AddList("clipping", [&](const std::string& prefix) { AddClipping(prefix); });
        break;
      case SampleKind::kCategory:
        AddCategory("");
        break;
      case SampleKind::kCategories:
        AddList("category", [&](const std::string& prefix) { AddCategory(prefix); });
        break;
    }
    return std::move(sample_);
  }

 private:
  bool ForStore() const { return use_ == SampleUse::kStore; }

  int64_t Below(int64_t n) { return std::uniform_int_distribution<int64_t>(0, n - 1)(rng_); }

  // Mostly short, sometimes long: the lengths where buffers and chunking change.
  size_t Length(size_t pieces) {
    const int64_t band = Below(100);
    if (band < 70) return Below(pieces / 8 + 1);
    if (band < 97) return Below(pieces / 2 + 1);
    return Below(pieces * 8 + 1);
  }

  std::string Text() {
    const auto& pieces = TextPieces();
    std::string text;
    for (size_t n = Length(24); n > 0; --n) {
      // Letters half the time, so that words and case folding have something to work on.
      text += Below(2) == 0 ? std::string(1, static_cast<char>('a' + Below(26)))
                            : pieces[Below(pieces.size())];
    }
    return text;
  }

  std::string Bytes() {
    std::string bytes;
    const int64_t shape = Below(4);
    const size_t size = Length(shape == 0 ? 4096 : 64);
    if (shape == 1) {
      bytes = Text();
    } else {
      for (size_t i = 0; i < size; ++i) {
        // Runs of one byte as well as noise, so that content both compresses and does not.
        bytes += static_cast<char>(shape == 2 ? Below(256) : (i / 16) % 256);
      }
    }
    if (ForStore() && bytes.empty()) bytes = "x";
    return bytes;
  }

  int64_t Number(int64_t low, int64_t high) {
    static const int64_t edges[] = {
        0,     1,      -1,    2,     127,        128,           255,       256,
        32767, -32768, 65535, 65536, 2147483647, -2147483648LL, 1000000007};
    int64_t value = Below(3) == 0 ? edges[Below(std::size(edges))] : Below(2001) - 1000;
    if (Below(10) == 0) value = low + Below(high - low + 1);
    return std::clamp(value, low, high);
  }

  int64_t Seconds() {
    const int64_t band = Below(4);
    if (band == 0)
      return Below(2) == 0 ? kFirstSecond + Below(kSecondsPerDay * 400)
                           : kLastSecond - Below(kSecondsPerDay * 400);
    if (band == 1) return Below(kSecondsPerDay * 10) - kSecondsPerDay * 5;  // around day zero
    return kFirstSecond + Below(kLastSecond - kFirstSecond + 1);
  }

  void Add(const std::string& name, FieldKind kind, std::string text, int64_t number = 0) {
    sample_.push_back({name, kind, std::move(text), number});
  }
  void AddText(const std::string& name) { Add(name, FieldKind::kText, Text()); }
  void AddDate(const std::string& name) { Add(name, FieldKind::kDate, "", Seconds()); }

  void AddList(const std::string& member, const std::function<void(const std::string&)>& add) {
    const int64_t count = Below(5);
    Add(member + "s", FieldKind::kCount, "", count);
    for (int64_t i = 0; i < count; ++i) add(member + "[" + std::to_string(i) + "].");
  }

  void AddFolder(const std::string& p, int depth) {
    AddText(p + "Name");
    AddText(p + "Description");
    if (ForStore()) return;
    AddText(p + "ID");
    AddText(p + "GUID");
    AddText(p + "ParentID");
    Add(p + "Status", FieldKind::kNumber, "", Number(INT32_MIN, INT32_MAX));
    Add(p + "ExternalCatalogID", FieldKind::kNumber, "", Number(INT32_MIN, INT32_MAX));
    AddDate(p + "Updated");
    const int64_t children = depth < 2 ? Below(3) : 0;
    Add(p + "children", FieldKind::kCount, "", children);
    for (int64_t i = 0; i < children; ++i) {
      AddFolder(p + "child[" + std::to_string(i) + "].", depth + 1);
    }
  }

  void AddClipping(const std::string& p) {
    AddText(p + "Name");
    AddText(p + "Description");
    if (!ForStore()) {
      AddText(p + "ID");
      AddText(p + "GUID");
      AddText(p + "FolderID");
      AddText(p + "PathName");
      AddText(p + "Categories");
      Add(p + "Status", FieldKind::kNumber, "", Number(INT16_MIN, INT16_MAX));
      AddDate(p + "Updated");
      AddDate(p + "Accessed");
    }
    const int64_t items = Below(4);
    Add(p + "items", FieldKind::kCount, "", items);
    for (int64_t i = 0; i < items; ++i) {
      const std::string item = p + "item[" + std::to_string(i) + "].";
      Add(item + "type", FieldKind::kNumber, "",
          ForStore() ? 1 + Below(5) : Number(INT32_MIN, INT32_MAX));
      Add(item + "content", FieldKind::kBytes, Bytes());
    }
  }

  void AddCategory(const std::string& p) {
    AddText(p + "Name");
    AddText(p + "Description");
    if (ForStore()) return;
    AddText(p + "ID");
    AddDate(p + "Updated");
  }

  SampleUse use_;
  std::mt19937_64 rng_;
  Sample sample_;
};

Date DateOf(int64_t seconds) {
  const int64_t day =
      seconds >= 0 ? seconds / kSecondsPerDay : -((-seconds + kSecondsPerDay - 1) / kSecondsPerDay);
  const double fraction = static_cast<double>(seconds - day * kSecondsPerDay) / kSecondsPerDay;
  // Before day zero the whole days count backwards while the time of day still runs forwards.
  return Date(day >= 0 ? day + fraction : day - fraction);
}

int64_t SecondsOf(const Date& date) {
  const double serial = date.serial();
  const double day = std::trunc(serial);
  const double fraction = std::fabs(serial - day);
  return static_cast<int64_t>(day) * kSecondsPerDay +
         std::llround(fraction * static_cast<double>(kSecondsPerDay));
}

// Reads a sample's fields in order while an entity is built from them.
class FieldCursor {
 public:
  explicit FieldCursor(const Sample& sample) : sample_(sample) {}
  const Field& Next() {
    if (next_ == sample_.size()) throw std::logic_error("sample ended early");
    return sample_[next_++];
  }
  const std::string& Text() { return Next().text; }
  int64_t Number() { return Next().number; }
  bool AtEnd() const { return next_ == sample_.size(); }

 private:
  const Sample& sample_;
  size_t next_ = 0;
};

// The attributes only the store may set, given to an entity through its own XML reader. Written
// with libxml2, so that the text is escaped by another library than the one under test.
void SetStoreAttributes(const char* element,
                        const std::vector<std::pair<const char*, std::string>>& attributes,
                        const std::function<void(const std::string&)>& set_xml) {
  xmlDocPtr doc = xmlNewDoc(BAD_CAST "1.0");
  xmlNodePtr root = xmlNewNode(nullptr, BAD_CAST element);
  xmlDocSetRootElement(doc, root);
  for (const auto& [name, value] : attributes) {
    xmlNewProp(root, BAD_CAST name, BAD_CAST value.c_str());
  }
  if (std::string(element) == "clipping")
    xmlNewChild(root, nullptr, BAD_CAST "clippingdata", nullptr);
  xmlBufferPtr buffer = xmlBufferCreate();
  xmlNodeDump(buffer, doc, root, 0, 0);
  const std::string text(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                         static_cast<size_t>(xmlBufferLength(buffer)));
  xmlBufferFree(buffer);
  xmlFreeDoc(doc);
  set_xml(text);
}

std::shared_ptr<Folder> BuildFolder(FieldCursor& in, bool full) {
  auto folder = Folder::Create();
  const std::string name = in.Text();
  const std::string description = in.Text();
  if (full) {
    const std::string id = in.Text();
    const std::string guid = in.Text();
    const std::string parent = in.Text();
    const int64_t status = in.Number();
    const int64_t external = in.Number();
    const int64_t updated = in.Number();
    SetStoreAttributes("Folder",
                       {{"guid", guid},
                        {"parentid", parent},
                        {"status", std::to_string(status)},
                        {"isleaf", std::to_string(external)},
                        {"updated", FormatCatalogDate(DateOf(updated))}},
                       [&](const std::string& xml) { folder->SetXML(xml); });
    folder->SetID(id);
    auto children = FolderCollection::Create();
    for (int64_t n = in.Number(); n > 0; --n) children->Add(BuildFolder(in, true));
    folder->SetChildFolders(children);
  }
  folder->SetName(name);
  folder->SetDescription(description);
  return folder;
}

std::shared_ptr<Clipping> BuildClipping(FieldCursor& in, bool full) {
  auto clipping = Clipping::Create();
  clipping->SetName(in.Text());
  clipping->SetDescription(in.Text());
  if (full) {
    clipping->SetID(in.Text());
    clipping->SetGUID(in.Text());
    clipping->SetFolderID(in.Text());
    clipping->SetPathName(in.Text());
    clipping->SetCategories(in.Text());
    const int64_t status = in.Number();
    const int64_t updated = in.Number();
    const int64_t accessed = in.Number();
    auto keep = Clipping::Create();
    SetStoreAttributes("clipping",
                       {{"Status", std::to_string(status)},
                        {"Updated", FormatCatalogDate(DateOf(updated))},
                        {"lastaccessed", FormatCatalogDate(DateOf(accessed))}},
                       [&](const std::string& xml) { keep->SetXML(xml); });
    // Only the store's fields are taken from the text; the rest were set above.
    keep->SetName(clipping->Name());
    keep->SetDescription(clipping->Description());
    keep->SetID(clipping->ID());
    keep->SetGUID(clipping->GUID());
    keep->SetFolderID(clipping->FolderID());
    keep->SetPathName(clipping->PathName());
    keep->SetCategories(clipping->Categories());
    clipping = keep;
  }
  auto items = ClippingDataCollection::Create();
  for (int64_t n = in.Number(); n > 0; --n) {
    auto item = ClippingData::Create();
    item->SetClippingDataType(static_cast<int32_t>(in.Number()));
    item->SetRawData(in.Text());
    items->Add(item);
  }
  clipping->SetClippingData(items);
  return clipping;
}

std::shared_ptr<Category> BuildCategory(FieldCursor& in, bool full) {
  auto category = Category::Create();
  category->SetName(in.Text());
  category->SetDescription(in.Text());
  if (full) {
    category->SetID(in.Text());
    category->SetUpdated(DateOf(in.Number()));
  }
  return category;
}

// True when the byte at `at` continues a UTF-8 character: cutting there would split it.
bool IsContinuationByte(const std::string& text, size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

bool IsFull(const Sample& sample) {
  return std::any_of(sample.begin(), sample.end(),
                     [](const Field& f) { return f.name.find("ID") != std::string::npos; });
}

// Writes an entity's fields into a sample, named as the generator names them.
class SampleWriter {
 public:
  explicit SampleWriter(bool full) : full_(full) {}

  void Folder(const std::string& p, const clipcat::Folder& folder) {
    Text(p + "Name", folder.Name());
    Text(p + "Description", folder.Description());
    if (!full_) return;
    Text(p + "ID", folder.ID());
    Text(p + "GUID", folder.GUID());
    Text(p + "ParentID", folder.ParentID());
    Number(p + "Status", folder.Status());
    Number(p + "ExternalCatalogID", folder.ExternalCatalogID());
    Date(p + "Updated", folder.Updated());
    const auto children = folder.ChildFolders()->Snapshot();
    Count(p + "children", children.size());
    for (size_t i = 0; i < children.size(); ++i) {
      Folder(p + "child[" + std::to_string(i) + "].", *children[i]);
    }
  }

  void Clipping(const std::string& p, const clipcat::Clipping& clipping) {
    Text(p + "Name", clipping.Name());
    Text(p + "Description", clipping.Description());
    if (full_) {
      Text(p + "ID", clipping.ID());
      Text(p + "GUID", clipping.GUID());
      Text(p + "FolderID", clipping.FolderID());
      Text(p + "PathName", clipping.PathName());
      Text(p + "Categories", clipping.Categories());
      Number(p + "Status", clipping.ClippingStatus());
      Date(p + "Updated", clipping.Updated());
      Date(p + "Accessed", clipping.Accessed());
    }
    const auto items = clipping.ClippingData()->Snapshot();
    Count(p + "items", items.size());
    for (size_t i = 0; i < items.size(); ++i) {
      const std::string item = p + "item[" + std::to_string(i) + "].";
      Number(item + "type", items[i]->ClippingDataType());
      sample.push_back({item + "content", FieldKind::kBytes, items[i]->RawData(), 0});
    }
  }

  void Category(const std::string& p, const clipcat::Category& category) {
    Text(p + "Name", category.Name());
    Text(p + "Description", category.Description());
    if (!full_) return;
    Text(p + "ID", category.ID());
    Date(p + "Updated", category.Updated());
  }

  template <typename Items, typename Write>
  void List(const std::string& member, const Items& items, Write write) {
    const auto members = items->Snapshot();
    Count(member + "s", members.size());
    for (size_t i = 0; i < members.size(); ++i) {
      write(member + "[" + std::to_string(i) + "].", *members[i]);
    }
  }

  Sample sample;

 private:
  void Text(const std::string& name, const std::string& value) {
    sample.push_back({name, FieldKind::kText, value, 0});
  }
  void Number(const std::string& name, int64_t value) {
    sample.push_back({name, FieldKind::kNumber, "", value});
  }
  void Count(const std::string& name, size_t value) {
    sample.push_back({name, FieldKind::kCount, "", static_cast<int64_t>(value)});
  }
  void Date(const std::string& name, const clipcat::Date& value) {
    sample.push_back({name, FieldKind::kDate, "", SecondsOf(value)});
  }

  bool full_;
};

std::string FieldValue(const Field& field) {
  switch (field.kind) {
    case FieldKind::kText:
    case FieldKind::kBytes:
      return "\"" + Printable(field.text, 200) + "\"";
    case FieldKind::kDate:
      return std::to_string(field.number) + " s (" + FormatIsoDate(DateOf(field.number)) + ")";
    default:
      return std::to_string(field.number);
  }
}

}  // namespace

std::string KindName(SampleKind kind) {
  static const char* const names[] = {"Folder",    "Folders",  "Clipping",
                                      "Clippings", "Category", "Categories"};
  return names[static_cast<int>(kind)];
}

Sample GenerateSample(SampleKind kind, SampleUse use, uint64_t seed) {
  return Generator(use, seed).Make(kind);
}

BuiltEntity BuildEntity(SampleKind kind, const Sample& sample) {
  FieldCursor in(sample);
  const bool full = IsFull(sample);
  BuiltEntity built;
  switch (kind) {
    case SampleKind::kFolder:
      built.folder = BuildFolder(in, full);
      break;
    case SampleKind::kFolders:
      built.folders = Folders::Create();
      for (int64_t n = in.Number(); n > 0; --n) built.folders->AddFolder(BuildFolder(in, full));
      break;
    case SampleKind::kClipping:
      built.clipping = BuildClipping(in, full);
      break;
    case SampleKind::kClippings:
      built.clippings = Clippings::Create();
      for (int64_t n = in.Number(); n > 0; --n) {
        built.clippings->AddClipping(BuildClipping(in, full));
      }
      break;
    case SampleKind::kCategory:
      built.category = BuildCategory(in, full);
      break;
    case SampleKind::kCategories:
      built.categories = Categories::Create();
      for (int64_t n = in.Number(); n > 0; --n) {
        built.categories->AddCategory(BuildCategory(in, full));
      }
      break;
  }
  if (!in.AtEnd()) throw std::logic_error("sample has fields left over");
  return built;
}

Sample ReadEntity(SampleKind kind, const BuiltEntity& e, SampleUse use) {
  SampleWriter out(use == SampleUse::kXml);
  switch (kind) {
    case SampleKind::kFolder:
      out.Folder("", *e.folder);
      break;
    case SampleKind::kFolders:
      out.List("folder", e.folders->Items(),
               [&](const std::string& p, const Folder& f) { out.Folder(p, f); });
      break;
    case SampleKind::kClipping:
      out.Clipping("", *e.clipping);
      break;
    case SampleKind::kClippings:
      out.List("clipping", e.clippings->Items(),
               [&](const std::string& p, const Clipping& c) { out.Clipping(p, c); });
      break;
    case SampleKind::kCategory:
      out.Category("", *e.category);
      break;
    case SampleKind::kCategories:
      out.List("category", e.categories->Items(),
               [&](const std::string& p, const Category& c) { out.Category(p, c); });
      break;
  }
  return std::move(out.sample);
}

std::string EntityXml(SampleKind kind, const BuiltEntity& e) {
  switch (kind) {
    case SampleKind::kFolder:
      return e.folder->XML();
    case SampleKind::kFolders:
      return e.folders->XML();
    case SampleKind::kClipping:
      return e.clipping->XML();
    case SampleKind::kClippings:
      return e.clippings->XML();
    case SampleKind::kCategory:
      return e.category->XML();
    case SampleKind::kCategories:
      return e.categories->XML();
  }
  return "";
}

BuiltEntity EntityFromXml(SampleKind kind, const std::string& xml) {
  BuiltEntity e;
  switch (kind) {
    case SampleKind::kFolder:
      (e.folder = Folder::Create())->SetXML(xml);
      break;
    case SampleKind::kFolders:
      (e.folders = Folders::Create())->SetXML(xml);
      break;
    case SampleKind::kClipping:
      (e.clipping = Clipping::Create())->SetXML(xml);
      break;
    case SampleKind::kClippings:
      (e.clippings = Clippings::Create())->SetXML(xml);
      break;
    case SampleKind::kCategory:
      (e.category = Category::Create())->SetXML(xml);
      break;
    case SampleKind::kCategories:
      (e.categories = Categories::Create())->SetXML(xml);
      break;
  }
  return e;
}

std::string SampleDifference(const Sample& expected, const Sample& actual) {
  std::string text;
  int shown = 0;
  for (size_t i = 0; i < std::max(expected.size(), actual.size()) && shown < 4; ++i) {
    if (i < expected.size() && i < actual.size() && expected[i] == actual[i]) continue;
    ++shown;
    text += i < expected.size() ? expected[i].name + ": expected " + FieldValue(expected[i])
                                : "unexpected field";
    text +=
        i < actual.size() ? ", got " + actual[i].name + " " + FieldValue(actual[i]) : ", missing";
    text += "\n";
  }
  return text;
}

Sample Shrink(const Sample& sample, const SampleCheck& check, int max_checks) {
  Sample best = sample;
  int checks = 0;
  auto fails = [&](const Sample& candidate) {
    ++checks;
    return !check(candidate).empty();
  };
  for (bool progress = true; progress && checks < max_checks;) {
    progress = false;
    for (size_t i = 0; i < best.size() && checks < max_checks; ++i) {
      Field& field = best[i];
      std::vector<Field> candidates;
      if (field.kind == FieldKind::kText || field.kind == FieldKind::kBytes) {
        const std::string& t = field.text;
        if (t.empty()) continue;
        candidates.push_back({field.name, field.kind, "", 0});
        // Halves, then each piece of a decreasing size cut out: whole UTF-8 characters only
        // for text, so that a candidate is still text XML can carry.
        for (size_t cut = t.size() / 2; cut >= 1; cut /= 2) {
          for (size_t at = 0; at + cut <= t.size(); at += cut) {
            std::string shorter = t.substr(0, at) + t.substr(at + cut);
            if (field.kind == FieldKind::kText &&
                (IsContinuationByte(t, at) || IsContinuationByte(t, at + cut))) {
              continue;
            }
            candidates.push_back({field.name, field.kind, shorter, 0});
          }
        }
      } else if (field.kind == FieldKind::kNumber || field.kind == FieldKind::kDate) {
        if (field.number == 0) continue;
        candidates.push_back({field.name, field.kind, "", 0});
        candidates.push_back({field.name, field.kind, "", field.number / 2});
        candidates.push_back(
            {field.name, field.kind, "", field.number > 0 ? field.number - 1 : field.number + 1});
      }
      for (const Field& candidate : candidates) {
        if (checks >= max_checks) break;
        Sample trial = best;
        trial[i] = candidate;
        if (fails(trial)) {
          best = std::move(trial);
          progress = true;
          break;
        }
      }
    }
  }
  return best;
}

std::string DescribeSample(const Sample& sample) {
  std::string text;
  for (const Field& field : sample) text += "  " + field.name + " = " + FieldValue(field) + "\n";
  return text;
}

}  // namespace clipcat::robustness
