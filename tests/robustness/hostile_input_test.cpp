// Hostile text through the late-bound services: every member of "TORVEL.ClippingDataRead" and
// "TORVEL.ClippingDataWrite", found in their member tables so that a new member is covered
// without touching this file, is called with each hostile text in each of its text parameters,
// in each text property of its object parameters (and of the first item of their lists), and,
// as XML, in the XML property of its object parameters. Every call must
//   - end with a result or with an AutomationError that has a number, a source and a
//     description (nothing else may escape, and the process must not die);
//   - when it fails, leave every row of every catalog as it was and no transaction open;
//   - when it succeeds with a hostile text, do exactly what the same call does with an ordinary
//     text that names nothing ("999999", a plain word, or a linked id routed the same way) in its
//     place: the same result and the same rows, the hostile text stored where the ordinary one
//     is. A text that changed the SQL it went into would change other rows, or find what an
//     unknown text does not.
// Each member runs in a child process of its own, so that a crash is reported with the member
// and the input that caused it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/member_table.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "automation/service_objects.h"
#include "robustness/hostile_values.h"
#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat::robustness {
namespace {

// Ordinary texts that name nothing in the catalogs: a well-formed key and a plain word.
const char* const kUnknown = "999999";
const char* const kUnknownWord = "zzunknownzz";
// The hostile XML left to the readers' own test: a member never sees more of an object than a
// 10,000-level text already gives it.
const char* const kDeepestXml = "root nested 100,000 levels";

// The catalogs the calls run on, and what the ordinary arguments of the members refer to.
struct Baseline {
  std::string personal, linked, spare;  // the working files the calls use
  std::string letters, dear, red, green, linked_folder, dear_guid;
  // The XML of the ordinary object arguments, by role.
  std::map<std::string, std::string> xml;
  // The rows of each working file before any call (normalized), and its bytes, by file.
  std::map<std::string, CatalogDump> saved;
  std::map<std::string, std::string> saved_bytes;
};

// The file every call starts from, copied over a working file that a call changed.
std::string Saved(const std::string& path) { return path + ".saved"; }

void RemoveLogs(const std::string& path) {
  for (const char* suffix : {"-wal", "-shm", "-journal"}) {
    std::error_code ignored;
    std::filesystem::remove(path + suffix, ignored);
  }
}

void Restore(const std::string& path) {
  RemoveLogs(path);
  std::filesystem::copy_file(Saved(path), path, std::filesystem::copy_options::overwrite_existing);
}

std::string FileBytes(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) return {};
  std::string bytes(size, '\0');
  std::ifstream in(path, std::ios::binary);
  in.read(bytes.data(), static_cast<std::streamsize>(size));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

// True when the file at `path` is still byte for byte `saved`, with no log beside it: a quick
// proof that no row changed, which spares reading every table after most calls.
bool Untouched(const std::string& path, const std::string& saved) {
  std::error_code ignored;
  if (std::filesystem::file_size(path + "-wal", ignored) > 0 && !ignored) return false;
  return FileBytes(path) == saved;
}

CatalogDump Normalized(CatalogDump dump);

std::string XmlOf(const std::shared_ptr<Dispatch>& object) {
  return GetProperty(object, "XML").ToText();
}

// Builds the catalogs: a personal catalog with folders Letters and Old, three clippings, two
// categories, one history entry and a linked catalog "Shared" holding a folder and a clipping;
// and a spare catalog, not linked, for the members that link one.
Baseline BuildBaseline(const ScratchDir& dir) {
  Baseline b;
  b.personal = dir.File("personal.db");
  b.linked = dir.File("linked.db");
  b.spare = dir.File("spare.db");
  CreateCatalog(b.personal, "Personal");
  CreateCatalog(b.linked, "Shared root");
  CreateCatalog(b.spare, "Spare");
  const auto personal = FileDetails(b.personal);
  {
    ClippingDataWrite write;
    ClippingDataRead read;
    const auto folder = [&](const std::string& name, const std::string& parent) {
      auto f = Folder::Create();
      f->SetName(name);
      f->SetDescription(name + " folder");
      return write.AddFolder(f, parent, personal, true)->ID();
    };
    const auto clipping = [&](const std::string& name, const std::string& parent) {
      auto c = Clipping::Create();
      c->SetName(name);
      c->SetDescription(name + " description");
      for (int type : {2, 4}) {
        auto data = ClippingData::Create();
        data->SetClippingDataType(type);
        data->SetRawData(name + " content of type " + std::to_string(type));
        c->ClippingData()->Add(data);
      }
      return write.AddClipping(c, parent, personal)->ID();
    };
    const auto category = [&](const std::string& name) {
      auto c = Category::Create();
      c->SetName(name);
      return write.AddCategory(c, "1", personal)->ID();
    };
    b.letters = folder("Letters", "1");
    const std::string old = folder("Old", b.letters);
    const std::string root_note = clipping("Root note", "1");
    b.dear = clipping("Dear sir", b.letters);
    clipping("Yours", old);
    b.red = category("Red");
    b.green = category("Green");
    write.AddClippingToCategory(b.dear, b.red, personal);
    write.AddClippingToCategory(root_note, b.green, personal);
    write.UpdateClippingHistory(read.GetClipping(b.dear, personal), personal);
    const auto linked = write.AddLinkedFolder(FileDetails(b.linked), "Shared", personal);
    b.linked_folder = linked->ID();
    const std::string linked_root = read.GetCatalogsRootFolder(b.linked_folder, personal)->ID();
    clipping("Team note", folder("Team", linked_root));
    b.dear_guid = read.GetClipping(b.dear, personal)->GUID();
    auto folders = Folders::Create();
    folders->AddFolder(read.GetFolder(b.letters, personal));
    folders->AddFolder(read.GetFolder(b.linked_folder, personal));
    b.xml["Folders"] = folders->XML();
    auto clippings = Clippings::Create();
    clippings->AddClipping(read.GetClipping(b.dear, personal, true));
    b.xml["Clippings"] = clippings->XML();
  }
  ReleaseAccessManager();

  // The ordinary object arguments, read back through the late-bound read service.
  RegisterClasses();
  const auto read = CreateObject(kClippingDataReadProgID);
  const Variant details = Wrap(personal);
  b.xml["Connection"] = XmlOf(details.AsObject());
  b.xml["NewConnection"] = XmlOf(Wrap(FileDetails(b.spare)).AsObject());
  b.xml["Folder"] = XmlOf(CallMember(read, "GetFolder", {b.letters, details}).AsObject());
  b.xml["LinkedFolder"] =
      XmlOf(CallMember(read, "GetFolder", {b.linked_folder, details}).AsObject());
  b.xml["Clipping"] = XmlOf(CallMember(read, "GetClipping", {b.dear, details, true}).AsObject());
  b.xml["Category"] = XmlOf(CallMember(read, "GetCategory", {b.red, details}).AsObject());
  // Only categories "Dear sir" is not in yet, so that the ordinary call succeeds.
  const Variant categories = CreateObject("TORVEL.Categories");
  CallMember(categories.AsObject(), "AddCategory",
             {CallMember(read, "GetCategory", {b.green, details})});
  b.xml["Categories"] = XmlOf(categories.AsObject());
  auto search = Search::Create();
  search->SetSearchText("sir");
  search->SetSearchSubFolders(true);
  search->FolderIDs()->Add("1");
  b.xml["Search"] = search->XML();
  ReleaseAccessManager();
  for (const std::string* path : {&b.personal, &b.linked, &b.spare}) {
    RemoveLogs(*path);
    std::filesystem::copy_file(*path, Saved(*path));
  }
  for (const std::string* path : {&b.personal, &b.linked, &b.spare}) {
    b.saved[*path] = Normalized(DumpCatalog(*path));
    b.saved_bytes[*path] = FileBytes(Saved(*path));
    Restore(*path);
  }
  return b;
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// What an object parameter stands for: its class, or for the two kinds of connection details and
// a folder that must be a linked one, a name of its own. The ordinary values are kept by role.
std::string RoleOf(const ParamInfo& param) {
  const std::string name = Lower(param.name);
  if (param.object_type == "ConnectionDetails") {
    return name == "onewconnectiondetails" ? "NewConnection" : "Connection";
  }
  if (param.object_type == "Folder" && name == "olinkedfolder") return "LinkedFolder";
  return param.object_type;
}

// The ordinary value of a member's parameter: what a client would pass.
Variant OrdinaryArgument(const Baseline& b, const ParamInfo& param) {
  const std::string name = Lower(param.name);
  switch (param.type) {
    case ParamType::kString:
      if (name == "sclippingid" || name == "sitemid" || name == "sitemid1") return b.dear;
      if (name == "scategoryid") return b.red;
      if (name == "sfolderid" || name == "sparentfolderid" || name == "sitemid2") return b.letters;
      if (name == "slinkedfolderid") return b.linked_folder;
      if (name == "sname") return "Letters";
      if (name == "slinkedcatalogid") return "";
      if (name == "sfoldername" || name == "sdefaultfoldername") return "New folder";
      if (name == "sclippingguid") return b.dear_guid;
      if (name == "bgetdata") return "True";
      if (name == "ssearchdataxml") return b.xml.at("Search");
      if (name == "odefaultconnection") return b.xml.at("Connection");
      return "1";
    case ParamType::kBoolean:
      return name == "bgetdata";
    case ParamType::kLong:
      return int32_t{10};
    case ParamType::kInteger:
      return int16_t{1};
    case ParamType::kDouble:
      return 1.0;
    case ParamType::kDate:
      return Date(Date::Now().serial() - 1);
    case ParamType::kVariant:
      return "1";
    case ParamType::kObject:
      break;
  }
  const std::string role = RoleOf(param);
  const std::string class_name = role == "Connection" || role == "NewConnection"
                                     ? "ConnectionDetails"
                                 : role == "LinkedFolder" ? "Folder"
                                                          : role;
  return Variant(CreateEntityFromXML(class_name, b.xml.at(role)));
}

std::vector<Variant> OrdinaryArguments(const Baseline& b, const MemberInfo& member) {
  std::vector<Variant> args;
  for (const ParamInfo& param : member.params) args.push_back(OrdinaryArgument(b, param));
  return args;
}

// Where a hostile value goes in one call.
struct Slot {
  enum Kind {
    kTextArgument,   // a text parameter
    kOtherArgument,  // a parameter of another type: the text must not pass for it
    kProperty,       // a text property of an object parameter
    kItemProperty,   // a text property of the first item of a list property of it
    kTextItem,       // a new item of a text list property of it
    kXml,            // the XML property of an object parameter
  };
  Kind kind;
  size_t param;
  std::string list;      // kItemProperty, kTextItem
  std::string property;  // kProperty, kItemProperty
  std::string root;      // kXml: the root element of the object's form

  bool TakesText() const { return kind != kOtherArgument && kind != kXml; }

  std::string Describe(const MemberInfo& member) const {
    std::string where = member.name + "(" + member.params[param].name;
    if (kind == kProperty) where += "." + property;
    if (kind == kItemProperty) where += "." + list + "(1)." + property;
    if (kind == kTextItem) where += "." + list + ".Add";
    if (kind == kXml) where += ".XML";
    return where + ")";
  }
};

const MemberTable& TableOf(const Variant& object) { return AsAutomationObject(object)->Members(); }

bool IsTextSetter(const MemberInfo& m) {
  return m.kind == InvokeKind::kPropertyPut && m.params.size() == 1 &&
         m.params[0].type == ParamType::kString;
}

// The places a member's parameters take text, found from the member tables of the parameters'
// ordinary values.
std::vector<Slot> SlotsOf(const Baseline& b, const MemberInfo& member) {
  std::vector<Slot> slots;
  for (size_t i = 0; i < member.params.size(); ++i) {
    const ParamInfo& param = member.params[i];
    if (param.type == ParamType::kString) {
      slots.push_back({Slot::kTextArgument, i, "", "", ""});
      continue;
    }
    slots.push_back({Slot::kOtherArgument, i, "", "", ""});
    if (param.type != ParamType::kObject) continue;
    const Variant value = OrdinaryArgument(b, param);
    for (const MemberInfo& m : TableOf(value).members()) {
      if (!IsTextSetter(m)) continue;
      if (m.name == "XML") {
        const std::string xml = XmlOf(value.AsObject());
        const size_t end = xml.find_first_of(" />", 1);
        slots.push_back({Slot::kXml, i, "", "", xml.substr(1, end - 1)});
      } else {
        slots.push_back({Slot::kProperty, i, "", m.name, ""});
      }
    }
    for (const MemberInfo& m : TableOf(value).members()) {
      if (m.kind != InvokeKind::kPropertyGet || !m.params.empty() ||
          m.result != ParamType::kObject) {
        continue;
      }
      const Variant list = GetProperty(value.AsObject(), m.name);
      if (!list.IsObject() || !list.AsObject() || list.AsObject()->TypeName() != "Collection") {
        continue;
      }
      const MemberInfo* add = TableOf(list).Find("Add", InvokeKind::kMethod);
      if (add != nullptr && add->params.size() == 1 && add->params[0].type == ParamType::kString) {
        slots.push_back({Slot::kTextItem, i, m.name, "", ""});
        continue;
      }
      if (GetProperty(list.AsObject(), "Count").ToLong() == 0) continue;
      const Variant item = CallMember(list.AsObject(), "Item", {int32_t{1}});
      for (const MemberInfo& p : TableOf(item).members()) {
        if (IsTextSetter(p) && p.name != "XML") {
          slots.push_back({Slot::kItemProperty, i, m.name, p.name, ""});
        }
      }
    }
  }
  return slots;
}

// Puts `text` where `slot` says. Raises what the object raises when it refuses the text.
void Apply(const Slot& slot, std::vector<Variant>& args, const std::string& text) {
  Variant& arg = args[slot.param];
  switch (slot.kind) {
    case Slot::kTextArgument:
    case Slot::kOtherArgument:
      arg = Variant(text);
      return;
    case Slot::kProperty:
      SetProperty(arg.AsObject(), slot.property, text);
      return;
    case Slot::kXml:
      SetProperty(arg.AsObject(), "XML", text);
      return;
    case Slot::kItemProperty: {
      const Variant list = GetProperty(arg.AsObject(), slot.list);
      SetProperty(CallMember(list.AsObject(), "Item", {int32_t{1}}).AsObject(), slot.property,
                  text);
      return;
    }
    case Slot::kTextItem:
      CallMember(GetProperty(arg.AsObject(), slot.list).AsObject(), "Add", {text});
      return;
  }
}

bool LooksLikeGuid(const std::string& text) {
  return text.size() == 32 && std::all_of(text.begin(), text.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
         });
}

// A result as text: values as they convert, dates and GUIDs (which differ from call to call)
// as placeholders, objects as their properties, lists as their items. The XML property is left
// out: it repeats the properties.
std::string Render(const Variant& value, int depth = 0) {
  switch (value.type()) {
    case Variant::Type::kEmpty:
      return "<empty>";
    case Variant::Type::kNull:
      return "<null>";
    case Variant::Type::kDate:
      return "<date>";
    case Variant::Type::kString:
      return LooksLikeGuid(value.AsString()) ? "<guid>" : value.AsString();
    case Variant::Type::kObject:
      break;
    default:
      return value.ToText();
  }
  const auto& object = value.AsObject();
  if (!object) return "<nothing>";
  if (depth > 4) return "<deeper>";
  std::string text = object->TypeName() + "{";
  for (const MemberInfo& m : TableOf(value).members()) {
    if (m.kind != InvokeKind::kPropertyGet || !m.params.empty() || m.name == "XML") continue;
    try {
      text += m.name + "=" + Render(GetProperty(object, m.name), depth + 1) + ";";
    } catch (const AutomationError& e) {
      text += m.name + "=<error " + std::to_string(e.number()) + ">;";
    }
  }
  if (object->TypeName() == "Collection") {
    const int32_t count = GetProperty(object, "Count").ToLong();
    for (int32_t i = 1; i <= count && i <= 50; ++i) {
      text += Render(CallMember(object, "Item", {i}), depth + 1) + ";";
    }
  }
  return text + "}";
}

// A dump with what differs from call to call (times, GUIDs) replaced by placeholders.
CatalogDump Normalized(CatalogDump dump) {
  for (auto& [name, table] : dump) {
    for (size_t c = 0; c < table.columns.size(); ++c) {
      const std::string& column = table.columns[c];
      const bool time = column.size() > 1 && column[0] == 't' && std::isupper(column[1]);
      const bool guid = Lower(column).find("guid") != std::string::npos;
      for (auto& row : table.rows) {
        if (time && row[c] != "n") row[c] = "<time>";
        if (guid && row[c].size() > 2 && LooksLikeGuid(row[c].substr(2))) row[c] = "<guid>";
      }
    }
    std::sort(table.rows.begin(), table.rows.end());
  }
  return dump;
}

// Every occurrence of `from` replaced by `to`.
std::string Substituted(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The value SQLite stores for a numeric literal `text`: an integer when it is one that fits in
// 64 bits, else a real.
std::string StoredNumber(const std::string& text) {
  const bool integer =
      !text.empty() &&
      text.find_first_not_of("0123456789", text[0] == '-' ? 1 : 0) == std::string::npos;
  if (integer) {
    errno = 0;
    const long long value = std::strtoll(text.c_str(), nullptr, 10);
    if (errno == 0) return "i:" + std::to_string(value);
  }
  char real[64];
  std::snprintf(real, sizeof real, "r:%.17g", std::strtod(text.c_str(), nullptr));
  return real;
}

std::string TrimmedOfSpaces(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// `dump` as it would be had the hostile text gone where the unknown text went. A value that is
// the whole text went in as a SQL literal: trimmed of spaces when it is text, as SQLite keeps
// the number when it is a number. Inside XML held in a value (a stored connection) it appears
// as XML writes it.
CatalogDump Substituted(CatalogDump dump, const std::string& unknown, const std::string& hostile) {
  for (auto& [name, table] : dump) {
    for (auto& row : table.rows) {
      for (std::string& cell : row) {
        if (cell.find(unknown) == std::string::npos) continue;
        if (cell == "t:" + unknown) {
          const std::string trimmed = TrimmedOfSpaces(hostile);
          cell = trimmed.empty() ? "n" : "t:" + trimmed;
        } else if (cell == "i:" + unknown) {
          cell = StoredNumber(hostile);
        } else {
          const bool xml = cell.rfind("t:<", 0) == 0;
          cell = Substituted(cell, unknown, xml ? EscapeXmlAttribute(hostile) : hostile);
        }
      }
    }
    std::sort(table.rows.begin(), table.rows.end());
  }
  return dump;
}

struct Outcome {
  bool failed = false;
  int32_t number = 0;
  std::string source, description;
  std::string escaped;  // an exception other than AutomationError
  std::string result;
  bool transaction_open = false;
  // The rows of each working file after the call (normalized), by file.
  std::map<std::string, CatalogDump> dumps;
};

// Calls the member on a fresh service object, then reads what it left and puts the saved rows
// back. The working files hold the saved rows when it is called and again when it returns.
Outcome Call(const Baseline& b, const char* progid, const MemberInfo& member,
             std::vector<Variant> args) {
  Outcome out;
  {
    std::shared_ptr<Dispatch> service = CreateObject(progid);
    try {
      out.result = Render(service->Invoke(member.name, InvokeKind::kMethod, args));
    } catch (const AutomationError& e) {
      out.failed = true;
      out.number = e.number();
      out.source = e.source();
      out.description = e.description();
    } catch (const std::exception& e) {
      out.failed = true;
      out.escaped = std::string("std::exception: ") + e.what();
    } catch (...) {
      out.failed = true;
      out.escaped = "an exception of unknown type";
    }
    // Still held open by the service object, if the call left one open.
    for (const std::string* path : {&b.personal, &b.linked}) {
      RawCatalog raw(*path);
      out.transaction_open = out.transaction_open || !raw.WriteLockIsFree();
    }
  }
  args.clear();
  ReleaseAccessManager();
  for (const std::string* path : {&b.personal, &b.linked, &b.spare}) {
    if (Untouched(*path, b.saved_bytes.at(*path))) {
      out.dumps[*path] = b.saved.at(*path);
    } else {
      out.dumps[*path] = Normalized(DumpCatalog(*path));
      Restore(*path);
    }
  }
  return out;
}

std::string DescribeError(const Outcome& o) {
  if (!o.escaped.empty()) return o.escaped;
  return std::to_string(o.number) + " (" + o.source + "): " + Printable(o.description, 200);
}

// Lines a member's child process writes to the test: "at <what>" before each call, "problem
// <text>" for each fault found, "calls <n>" at the end.
class Reporter {
 public:
  explicit Reporter(int fd) : fd_(fd) {}
  void Line(const std::string& kind, const std::string& text) {
    std::string line = kind + " " + text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    line += "\n";
    for (size_t done = 0; done < line.size();) {
      const ssize_t n = write(fd_, line.data() + done, line.size() - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;
      done += static_cast<size_t>(n);
    }
  }

 private:
  int fd_;
};

// The ordinary texts a hostile text is held against, each naming nothing in the catalogs: a
// well-formed key, a plain word, and for a text that routes to a linked catalog (it holds "P") a
// linked id routed the same way. A hostile text may behave like any of them.
std::vector<std::string> UnknownTexts(const std::string& hostile) {
  std::vector<std::string> texts = {kUnknown, kUnknownWord};
  if (IsExternalItemID(hostile)) {
    texts.push_back("P" + GetCatalogIDFromItemID(hostile) + "C" + kUnknown);
  }
  return texts;
}

// How a successful call with `hostile` differs from the call with the unknown text `unknown`,
// "" when it does exactly the same with the hostile text in its place.
std::string Mismatch(const Outcome& o, const std::string& hostile, const std::string& unknown,
                     const Outcome& with_unknown) {
  if (with_unknown.failed) {
    return "\"" + unknown + "\" fails with " + DescribeError(with_unknown);
  }
  const std::string expected = Substituted(with_unknown.result, unknown, hostile);
  if (o.result != expected) {
    return "answered " + Printable(o.result, 300) + " where \"" + unknown + "\" gives " +
           Printable(expected, 300);
  }
  std::string text;
  for (const auto& [file, dump] : o.dumps) {
    const std::string changed =
        DescribeDifference(Substituted(with_unknown.dumps.at(file), unknown, hostile), dump);
    if (!changed.empty()) {
      text += "wrote other rows to " + std::filesystem::path(file).filename().string() +
              " than \"" + unknown + "\": " + changed;
    }
  }
  return text;
}

// The hostile values for `slot`: all of them for text parameters and for objects whose role
// is in `full_roles`, a few of each kind elsewhere. A text given where another type is declared
// only meets the argument conversion every member shares, and an object of a role already swept
// in full for an earlier member takes the same path again.
std::vector<HostileValue> ValuesFor(const Baseline& b, const MemberInfo& member, const Slot& slot,
                                    const std::set<std::string>& full_roles) {
  const ParamInfo& param = member.params[slot.param];
  const bool full = slot.kind == Slot::kTextArgument ||
                    (slot.kind != Slot::kOtherArgument && full_roles.count(RoleOf(param)) > 0);
  if (slot.kind == Slot::kXml) {
    const std::string xml = XmlOf(OrdinaryArgument(b, param).AsObject());
    if (!full) return SomeHostileXml(slot.root, xml);
    // The readers' own test takes the deepest text; 10,000 levels show what a member does with
    // a deep object.
    std::vector<HostileValue> values = HostileXml(slot.root, xml);
    std::erase_if(values, [](const HostileValue& v) { return v.label == kDeepestXml; });
    return values;
  }
  return full ? HostileTexts() : SomeHostileTexts();
}

// Runs the hostile values through every slot of one member; answers the number of calls.
int SweepMember(const Baseline& b, const char* progid, const MemberInfo& member,
                const std::set<std::string>& full_roles, Reporter& report) {
  int calls = 0;
  for (const Slot& slot : SlotsOf(b, member)) {
    const std::string where = slot.Describe(member);
    const std::vector<HostileValue> values = ValuesFor(b, member, slot, full_roles);
    std::map<std::string, Outcome> with_unknown;  // by unknown text, made when first needed
    for (const HostileValue& value : values) {
      const std::string what = where + " <- " + value.label;
      report.Line("at", what);
      std::vector<Variant> args = OrdinaryArguments(b, member);
      try {
        Apply(slot, args, value.text);
      } catch (const AutomationError& e) {
        if (e.number() == 0 || e.source().empty() || e.description().empty()) {
          report.Line("problem", what + ": refused with an unclear error " + e.what());
        }
        continue;  // refused before any call: nothing reached a catalog
      }
      const Outcome o = Call(b, progid, member, std::move(args));
      ++calls;
      if (!o.escaped.empty()) {
        report.Line("problem", what + ": " + o.escaped + " escaped instead of an AutomationError");
      } else if (o.failed && (o.number == 0 || o.source.empty() || o.description.empty())) {
        report.Line("problem", what + ": unclear error " + DescribeError(o));
      }
      if (o.transaction_open) {
        report.Line("problem", what + ": left a transaction open" +
                                   (o.failed ? " after " + DescribeError(o) : std::string()));
      }
      if (o.failed) {
        for (const auto& [file, dump] : o.dumps) {
          const std::string changed = DescribeDifference(b.saved.at(file), dump);
          if (!changed.empty()) {
            report.Line("problem", what + ": failed with " + DescribeError(o) + " but changed " +
                                       std::filesystem::path(file).filename().string() + ": " +
                                       changed);
          }
        }
        continue;
      }
      if (slot.kind == Slot::kOtherArgument) {
        // Only text that the runtime's conversion turns into a value of the parameter's type
        // ("1E300" is a number, any number a Boolean) may pass.
        if (!IgnoreErrors(
                [&] { CoerceArgument(Variant(value.text), member.params[slot.param]); })) {
          report.Line("problem", what + ": accepted as a value of a non-text parameter");
        }
        continue;
      }
      if (!slot.TakesText()) continue;
      // The trial members answer whether the member they try would succeed: False is how they
      // refuse a text the store refuses. What they tried is rolled back either way.
      if (member.name.rfind("Can", 0) == 0 && o.result == "False" && o.dumps == b.saved) continue;
      std::string mismatch;
      for (const std::string& unknown : UnknownTexts(value.text)) {
        if (!with_unknown.count(unknown)) {
          std::vector<Variant> unknown_args = OrdinaryArguments(b, member);
          Apply(slot, unknown_args, unknown);
          with_unknown[unknown] = Call(b, progid, member, std::move(unknown_args));
        }
        const std::string difference = Mismatch(o, value.text, unknown, with_unknown[unknown]);
        if (difference.empty()) {
          mismatch.clear();
          break;
        }
        if (mismatch.empty()) mismatch = difference;
      }
      if (!mismatch.empty()) {
        report.Line("problem", what + ": succeeded, unlike any unknown text: " + mismatch);
      }
    }
  }
  return calls;
}

// Sweeps every member of the service `progid` in child processes, one per member, and turns
// their reports into test failures.
void SweepService(const char* progid) {
  ScratchDir dir;
  const Baseline b = BuildBaseline(dir);
  RegisterClasses();
  const MemberTable& table = TableOf(Variant(CreateObject(progid)));
  const auto started = std::chrono::steady_clock::now();
  int total_calls = 0;
  int members = 0;
  std::set<std::string> swept_roles;
  for (const MemberInfo& member : table.members()) {
    ++members;
    std::set<std::string> full_roles;
    for (const ParamInfo& param : member.params) {
      if (param.type != ParamType::kObject) continue;
      if (swept_roles.insert(RoleOf(param)).second) full_roles.insert(RoleOf(param));
    }
    Pipe lines;
    const pid_t child = StartChild([&] {
      lines.CloseRead();
      Reporter report(lines.write_end());
      const int calls = SweepMember(b, progid, member, full_roles, report);
      report.Line("calls", std::to_string(calls));
      return 0;
    });
    lines.CloseWrite();
    std::string text;
    char buffer[4096];
    for (;;) {
      const ssize_t n = read(lines.read_end(), buffer, sizeof buffer);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      text.append(buffer, static_cast<size_t>(n));
    }
    const int status = WaitChild(child);
    std::string last_call = "(before the first call)";
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      const std::string line = text.substr(start, end - start);
      if (line.rfind("at ", 0) == 0) last_call = line.substr(3);
      if (line.rfind("problem ", 0) == 0) ADD_FAILURE() << line.substr(8);
      if (line.rfind("calls ", 0) == 0) total_calls += std::stoi(line.substr(6));
    }
    EXPECT_EQ(DescribeStatus(status), "exit 0")
        << member.name << " stopped the process during " << last_call;
  }
  std::printf("[ measured ] %s: %d members, %d hostile calls in %.2f s\n", progid, members,
              total_calls, SecondsSince(started));
}

// The categories of a clipping, by name, read past the library.
std::set<std::string> CategoryNamesOf(const std::string& path, const std::string& clipping) {
  RawCatalog raw(path);
  std::set<std::string> names;
  for (const auto& row : raw.Rows("SELECT g.sName FROM ClippingGroupClipping m JOIN GroupClipping "
                                  "g ON g.lGroupClippingID = m.lGroupClippingId WHERE "
                                  "m.lClippingId = " +
                                  clipping)) {
    names.insert(row[0]);
  }
  return names;
}

// A list of categories with one that cannot be added after one that can: the call adds both or
// neither, whether the second is refused for its id or because the clipping is in it already.
TEST(HostileInput, AddClippingToCategoriesAddsAllOrNothing) {
  ScratchDir dir;
  const Baseline b = BuildBaseline(dir);
  const Variant details = Wrap(FileDetails(b.personal));
  for (const std::string& second : {std::string("1 OR 1=1"), b.red}) {
    SCOPED_TRACE("second category " + second);
    Restore(b.personal);
    ASSERT_EQ(CategoryNamesOf(b.personal, b.dear), std::set<std::string>{"Red"});
    const Variant categories = CreateObject("TORVEL.Categories");
    for (const std::string& id : {b.green, second}) {
      const Variant category = CreateObject("TORVEL.Category");
      SetProperty(category.AsObject(), "ID", id);
      CallMember(categories.AsObject(), "AddCategory", {category});
    }
    bool failed = false;
    {
      const auto write = CreateObject(kClippingDataWriteProgID);
      try {
        CallMember(write, "AddClippingToCategories", {b.dear, categories, details});
      } catch (const AutomationError& e) {
        failed = true;
        EXPECT_NE(e.number(), 0);
        EXPECT_FALSE(e.source().empty());
        EXPECT_FALSE(e.description().empty());
      }
    }
    ReleaseAccessManager();
    const std::set<std::string> expected =
        failed ? std::set<std::string>{"Red"} : std::set<std::string>{"Green", "Red"};
    EXPECT_EQ(CategoryNamesOf(b.personal, b.dear), expected);
  }
}

TEST(HostileInput, EveryReadMemberRefusesHostileTextOrTakesItLiterally) {
  SweepService(kClippingDataReadProgID);
}

TEST(HostileInput, EveryWriteMemberRefusesHostileTextOrTakesItLiterally) {
  SweepService(kClippingDataWriteProgID);
}

}  // namespace
}  // namespace clipcat::robustness
