// xml: the XML of a Clippings list of 1,000 clippings (a 2 KB RTF and a 200-byte text item each,
// names and text with characters XML escapes) written and read back, and the round trip of one
// clipping with a 10 MB item. The floor does the same with pugixml directly: the same document
// built and printed with the same options after the same check that every text is XML text, and
// on reading the same check of the input, the same parse options and every attribute and item
// converted into plain structs. The floor's text must equal ours byte for byte.
#include <cmath>
#include <cstring>
#include <pugixml.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include "entities/clipping.h"
#include "floor_engine.h"
#include "floor_rows.h"
#include "scenario_common.h"
#include "scenarios.h"
#include "workload.h"

namespace clipcat_bench {
namespace {

constexpr unsigned kParse = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_wconv_attribute |
                            pugi::parse_ws_pcdata_single | pugi::parse_comments | pugi::parse_pi |
                            pugi::parse_doctype;
constexpr unsigned kFormat = pugi::format_raw | pugi::format_no_declaration;
const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Well-formed UTF-8 of characters XML 1.0 carries.
bool IsXmlText(std::string_view text) {
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* end = p + text.size();
  while (p < end) {
    const unsigned char b = *p;
    if (b >= 0x20 && b < 0x80) {
      ++p;
    } else if (b < 0x20) {
      if (b != 0x9 && b != 0xA && b != 0xD) return false;
      ++p;
    } else {
      const int n = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC2 ? 2 : 0;
      if (n == 0 || b > 0xF4 || end - p < n) return false;
      uint32_t c = b & (0xFF >> (n + 1));
      for (int k = 1; k < n; ++k) {
        if ((p[k] & 0xC0) != 0x80) return false;
        c = (c << 6) | (p[k] & 0x3F);
      }
      if ((n == 3 && (c < 0x800 || (c >= 0xD800 && c <= 0xDFFF) || c > 0xFFFD)) ||
          (n == 4 && (c < 0x10000 || c > 0x10FFFF))) {
        return false;
      }
      p += n;
    }
  }
  return true;
}

// True when a character reference names a character XML cannot carry.
bool HasForbiddenReference(std::string_view text) {
  for (size_t at = text.find("&#"); at != std::string_view::npos; at = text.find("&#", at + 2)) {
    size_t p = at + 2;
    const bool hex = p < text.size() && text[p] == 'x';
    if (hex) ++p;
    uint32_t value = 0;
    size_t digits = 0;
    for (; p < text.size() && std::isxdigit(static_cast<unsigned char>(text[p])); ++p, ++digits) {
      if (!hex && !std::isdigit(static_cast<unsigned char>(text[p]))) break;
      const char ch = text[p];
      const uint32_t d = ch <= '9' ? ch - '0' : (ch | 0x20) - 'a' + 10;
      value = std::min<uint32_t>(value * (hex ? 16 : 10) + d, 0x110000);
    }
    if (digits == 0 || p >= text.size() || text[p] != ';') continue;
    const bool ok = value == 0x9 || value == 0xA || value == 0xD ||
                    (value >= 0x20 && value <= 0xD7FF) || (value >= 0xE000 && value <= 0xFFFD) ||
                    (value >= 0x10000 && value <= 0x10FFFF);
    if (!ok) return true;
  }
  return false;
}

void CheckText(std::string_view text) {
  if (!IsXmlText(text)) throw std::runtime_error("text XML cannot carry");
}

// "HH:MM:SS D MMM YYYY" of an automation date.
std::string CatalogDate(double serial) {
  double days = std::floor(serial);
  int64_t seconds = std::llround((serial - days) * 86400.0);
  if (seconds >= 86400) {
    days += 1;
    seconds -= 86400;
  }
  // Civil date of a day count from 1970-01-01.
  int64_t z = static_cast<int64_t>(days) - 25569 + 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  const int64_t y = static_cast<int64_t>(yoe) + era * 400 + (m <= 2);
  char text[40];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d %u %s %lld", static_cast<int>(seconds / 3600),
                static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60), d,
                kMonths[m - 1], static_cast<long long>(y));
  return text;
}

// The automation date of "HH:MM:SS D MMM YYYY"; 0 for other text.
double ParseCatalogDate(const char* text) {
  int h = 0, mi = 0, s = 0, d = 0, y = 0;
  char month[4] = {};
  if (std::sscanf(text, "%d:%d:%d %d %3s %d", &h, &mi, &s, &d, month, &y) != 6) return 0;
  for (int m = 0; m < 12; ++m) {
    if (std::strcmp(month, kMonths[m]) == 0) {
      char iso[24];
      std::snprintf(iso, sizeof iso, "%04d-%02d-%02d %02d:%02d:%02d", y, m + 1, d, h, mi, s);
      return IsoToSerial(iso);
    }
  }
  return 0;
}

void SetText(pugi::xml_node element, const char* name, const std::string& value) {
  CheckText(value);
  element.append_attribute(name).set_value(value.data(), value.size());
}

void AppendClipping(const FloorClipping& c, pugi::xml_node parent) {
  pugi::xml_node e = parent.append_child("clipping");
  SetText(e, "ClippingID", c.id);
  SetText(e, "GUID", c.guid);
  SetText(e, "FolderID", c.folder_id);
  SetText(e, "Name", c.name);
  SetText(e, "Description", c.description);
  e.append_attribute("Status").set_value(std::to_string(c.status).c_str());
  SetText(e, "Updated", CatalogDate(c.updated));
  SetText(e, "lastaccessed", CatalogDate(c.accessed));
  SetText(e, "Categories", c.categories);
  SetText(e, "PathName", c.path);
  pugi::xml_node data = e.append_child("clippingdata");
  for (const FloorItem& item : c.items) {
    pugi::xml_node i = data.append_child("clippingdataitem");
    CheckText(item.raw);
    if (!item.raw.empty()) {
      i.append_child(pugi::node_pcdata).set_value(item.raw.data(), item.raw.size());
    }
    i.append_attribute("datatype").set_value(std::to_string(item.type).c_str());
  }
}

class Writer : public pugi::xml_writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}
  // pugixml writes a CR in text as it is, which a parser reads back as a line feed; like ours,
  // the floor writes it as a character reference.
  void write(const void* data, size_t size) override {
    const std::string_view chunk(static_cast<const char*>(data), size);
    size_t start = 0;
    for (size_t cr = chunk.find('\r'); cr != std::string_view::npos; cr = chunk.find('\r', start)) {
      out_.append(chunk.substr(start, cr - start));
      out_ += "&#13;";
      start = cr + 1;
    }
    out_.append(chunk.substr(start));
  }

 private:
  std::string& out_;
};

std::string FloorWrite(const std::vector<FloorClipping>& clippings, bool as_list) {
  pugi::xml_document document;
  for (const FloorClipping& c : clippings) AppendClipping(c, document);
  std::string out;
  Writer writer(out);
  if (as_list) out = "<clippings>";
  for (pugi::xml_node member : document.children()) {
    member.print(writer, "", kFormat, pugi::encoding_utf8);
  }
  if (as_list) out += "</clippings>";
  return out;
}

int32_t Long(const char* text) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0') throw std::runtime_error("not a number");
  return static_cast<int32_t>(value);
}

FloorClipping ReadClipping(pugi::xml_node e) {
  FloorClipping c;
  c.id = e.attribute("ClippingID").value();
  c.guid = e.attribute("GUID").value();
  c.folder_id = e.attribute("FolderID").value();
  c.name = e.attribute("Name").value();
  c.description = e.attribute("Description").value();
  c.status = Long(e.attribute("Status").value());
  c.updated = ParseCatalogDate(e.attribute("Updated").value());
  c.accessed = ParseCatalogDate(e.attribute("lastaccessed").value());
  c.path = e.attribute("PathName").value();
  c.categories = e.attribute("Categories").value();
  for (pugi::xml_node i : e.child("clippingdata").children()) {
    c.items.push_back({Long(i.attribute("datatype").value()), i.first_child().value()});
  }
  return c;
}

std::vector<FloorClipping> FloorRead(const std::string& text, bool as_list) {
  if (!IsXmlText(text) || HasForbiddenReference(text)) throw std::runtime_error("bad XML text");
  pugi::xml_document document;
  if (!document.load_buffer(text.data(), text.size(), kParse, pugi::encoding_utf8)) {
    throw std::runtime_error("XML does not parse");
  }
  std::vector<FloorClipping> clippings;
  if (as_list) {
    for (pugi::xml_node e : document.child("clippings").children()) {
      clippings.push_back(ReadClipping(e));
    }
  } else {
    clippings.push_back(ReadClipping(document.child("clipping")));
  }
  return clippings;
}

FloorClipping AsFloor(const clipcat::Clipping& c) {
  FloorClipping f;
  f.id = c.ID();
  f.guid = c.GUID();
  f.folder_id = c.FolderID();
  f.name = c.Name();
  f.description = c.Description();
  f.status = c.ClippingStatus();
  f.updated = c.Updated().serial();
  f.accessed = c.Accessed().serial();
  for (const auto& item : *c.ClippingData())
    f.items.push_back({item->ClippingDataType(), item->RawData()});
  return f;
}

std::shared_ptr<clipcat::Clipping> NewClipping(int i, const std::vector<std::string>& items) {
  auto c = clipcat::Clipping::Create();
  c->SetID(std::to_string(1000 + i));
  c->SetGUID("6F9619FF8B86D011B42D00C04FC964" + std::to_string(10 + i % 90));
  c->SetFolderID(std::to_string(2 + i % 100));
  c->SetName("Clipping " + std::to_string(i) + " <Smith & Sons>");
  c->SetDescription("A \"quoted\" description of clipping " + std::to_string(i));
  int type = 1;
  for (const std::string& raw : items) {
    auto item = clipcat::ClippingData::Create();
    item->SetClippingDataType(type++);
    item->SetRawData(raw);
    c->ClippingData()->Add(item);
  }
  return c;
}

struct RoundTrip {
  double write_ms;
  double read_ms;
  double floor_write_ms;
  double floor_read_ms;
  size_t bytes;
  double write_peak;
  double read_peak;
  double floor_write_peak;
  double floor_read_peak;
};

// Times the write and the read of `list` (or of its one clipping when `!as_list`) for ours and
// the floor, checking that both write the same text and read back the same content.
RoundTrip Measure(const Options& options, const std::shared_ptr<clipcat::Clippings>& list,
                  bool as_list, int reps) {
  std::vector<FloorClipping> floor_input;
  for (const auto& c : *list->Items()) floor_input.push_back(AsFloor(*c));
  const clipcat::Clipping& single = *list->Items()->Item(1);
  std::vector<double> w, r, fw, fr;
  RoundTrip result{};
  for (int rep = 0; rep < reps; ++rep) {
    MemoryProbe probe;
    probe.Start();
    std::string text;
    w.push_back(Seconds([&] { text = as_list ? list->XML() : single.XML(); }) * 1e3);
    if (rep == 0) result.write_peak = probe.PeakMB();
    probe.Start();
    size_t read_back = 0;
    r.push_back(Seconds([&] {
                  if (as_list) {
                    auto back = clipcat::Clippings::Create();
                    back->SetXML(text);
                    read_back = static_cast<size_t>(back->Items()->Count());
                  } else {
                    auto back = clipcat::Clipping::Create();
                    back->SetXML(text);
                    read_back = back->ClippingData()->Item(1)->RawData().size();
                  }
                }) *
                1e3);
    if (rep == 0) result.read_peak = probe.PeakMB();

    probe.Start();
    std::string floor_text;
    fw.push_back(Seconds([&] { floor_text = FloorWrite(floor_input, as_list); }) * 1e3);
    if (rep == 0) result.floor_write_peak = probe.PeakMB();
    Require(floor_text == text, "XML text written");
    probe.Start();
    std::vector<FloorClipping> back;
    fr.push_back(Seconds([&] { back = FloorRead(floor_text, as_list); }) * 1e3);
    if (rep == 0) result.floor_read_peak = probe.PeakMB();
    Require(as_list ? back.size() == read_back : back[0].items[0].raw.size() == read_back,
            "XML read back");
    Require(back[0].items[0].raw == floor_input[0].items[0].raw, "content read back");
    result.bytes = text.size();
  }
  (void)options;
  result.write_ms = Median(w);
  result.read_ms = Median(r);
  result.floor_write_ms = Median(fw);
  result.floor_read_ms = Median(fr);
  return result;
}

void ReportTrip(Report& report, const std::string& what, const RoundTrip& t, int reps, bool list) {
  const double mb = t.bytes / 1e6;
  const std::string runs =
      std::to_string(t.bytes / 1000) + " kB of XML, median of " + std::to_string(reps) + " runs";
  report.Ratio(what + " write", "ms", t.write_ms, t.floor_write_ms, 1.3, runs);
  report.AtLeast(
      what + " write", "MB/s", mb / (t.write_ms / 1e3), 100,
      "floor: " + std::to_string(static_cast<int>(mb / (t.floor_write_ms / 1e3))) + " MB/s");
  report.Ratio(what + " read", "ms", t.read_ms, t.floor_read_ms, 1.3, runs);
  report.AtLeast(
      what + " read", "MB/s", mb / (t.read_ms / 1e3), 100,
      "floor: " + std::to_string(static_cast<int>(mb / (t.floor_read_ms / 1e3))) + " MB/s");
  if (!list) report.AtMost(what + " round trip", "ms", t.write_ms + t.read_ms, 1000);
  // Writing returns the text; reading returns the objects, about the size of their content.
  report.Memory(what + " write, peak memory", t.write_peak, mb * 1e6 / 1048576.0,
                t.floor_write_peak);
  report.Memory(what + " read, peak memory", t.read_peak, mb * 1e6 / 1048576.0, t.floor_read_peak);
}

}  // namespace

void RunXml(const Options& options, Report& report) {
  const int count = options.Scaled(1'000, 10);
  const std::vector<Content> contents = MakeContents(256, 2048, 200, 23);
  auto list = clipcat::Clippings::Create();
  for (int i = 0; i < count; ++i) {
    const Content& c = contents[static_cast<size_t>(i) % contents.size()];
    list->AddClipping(NewClipping(i, {c.rtf, c.text}));
  }
  const int reps = options.reps;
  ReportTrip(report, "Clippings x" + std::to_string(count), Measure(options, list, true, reps),
             reps, true);

  std::mt19937 random(31);
  auto large = clipcat::Clippings::Create();
  large->AddClipping(NewClipping(0, {MakePlainText(random, 10u << 20)}));
  ReportTrip(report, "Clipping, 10 MB item", Measure(options, large, false, reps), reps, false);
}

}  // namespace clipcat_bench
