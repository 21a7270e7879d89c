// Hostile text through the late-bound services: every member of "TORVEL.ClippingDataRead" and
// "TORVEL.ClippingDataWrite", found in their member tables so that a new member is covered
// without touching this file, is called with each hostile text in each of its text parameters,
// in each text property of its object parameters (and of the last item of their lists), and,
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

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
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
#include "util/text.h"

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
  std::string letters, dear, red, linked_folder, dear_guid;
  std::map<std::string, std::string> xml;  // the XML of the ordinary object arguments, by role
  // The rows of each working file before any call, and its bytes, by file.
  std::map<std::string, CatalogDump> saved;
  std::map<std::string, std::string> saved_bytes;

  // Puts the saved file back over a working file that a call changed.
  void Restore(const std::string& path) const {
    for (const char* log : {"-wal", "-shm", "-journal"}) std::filesystem::remove(path + log);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << saved_bytes.at(path);
  }
};

std::string BytesOf(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Builds the catalogs: a personal catalog with folders Letters and Old, three clippings, three
// categories, one history entry and a linked catalog "Shared" holding a folder and a clipping;
// and a spare catalog, not linked, for the members that link one.
Baseline BuildBaseline(const ScratchDir& dir) {
  Baseline b;
  for (auto [path, name] :
       {std::pair{&b.personal, "Personal"}, {&b.linked, "Shared root"}, {&b.spare, "Spare"}}) {
    CreateCatalog(*path = dir.File(name), name);
  }
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
      const auto c = NewClipping(name, name + " description",
                                 {{2, name + " content of type 2"}, {4, name + " of type 4"}});
      return write.AddClipping(c, parent, personal)->ID();
    };
    const auto category = [&](const std::string& name) {
      return read.GetCategory(write.AddCategory(NewCategory(name), "1", personal)->ID(), personal);
    };
    b.letters = folder("Letters", "1");
    const std::string root_note = clipping("Root note", "1");
    b.dear = clipping("Dear sir", b.letters);
    clipping("Yours", folder("Old", b.letters));
    const auto red = category("Red");
    const auto green = category("Green");
    b.red = red->ID();
    write.AddClippingToCategory(b.dear, b.red, personal);
    write.AddClippingToCategory(root_note, green->ID(), personal);
    write.UpdateClippingHistory(read.GetClipping(b.dear, personal), personal);
    b.linked_folder = write.AddLinkedFolder(FileDetails(b.linked), "Shared", personal)->ID();
    const std::string linked_root = read.GetCatalogsRootFolder(b.linked_folder, personal)->ID();
    clipping("Team note", folder("Team", linked_root));
    const auto dear = read.GetClipping(b.dear, personal, true);
    b.dear_guid = dear->GUID();

    // The ordinary object arguments. The categories are ones "Dear sir" is not in yet, so that
    // the ordinary call succeeds, and a refused last one must undo the first.
    b.xml["ConnectionDetails"] = personal->XML();
    b.xml["ConnectionDetails/new"] = FileDetails(b.spare)->XML();
    b.xml["Folder"] = read.GetFolder(b.letters, personal)->XML();
    b.xml["Folder/linked"] = read.GetFolder(b.linked_folder, personal)->XML();
    b.xml["Clipping"] = dear->XML();
    b.xml["Category"] = red->XML();
    auto categories = Categories::Create();
    categories->AddCategory(green);
    categories->AddCategory(category("Blue"));
    b.xml["Categories"] = categories->XML();
    auto folders = Folders::Create();
    folders->AddFolder(read.GetFolder(b.letters, personal));
    folders->AddFolder(read.GetFolder(b.linked_folder, personal));
    b.xml["Folders"] = folders->XML();
    auto clippings = Clippings::Create();
    clippings->AddClipping(dear);
    b.xml["Clippings"] = clippings->XML();
    auto search = Search::Create();
    search->SetSearchText("sir");
    search->SetSearchSubFolders(true);
    search->FolderIDs()->Add("1");
    b.xml["Search"] = search->XML();
  }
  ReleaseAccessManager();
  for (const std::string* path : {&b.personal, &b.linked, &b.spare}) {
    b.saved[*path] = RawCatalog(*path, true).Dump();
    b.saved_bytes[*path] = BytesOf(*path);
  }
  return b;
}

// What an object parameter stands for: its class, and for new connection details and a folder
// that must be a linked one, "/" and a word more. The ordinary values are kept by role.
std::string RoleOf(const ParamInfo& param) {
  const std::string name = ToLowerAscii(param.name);
  if (name == "onewconnectiondetails") return param.object_type + "/new";
  return name == "olinkedfolder" ? param.object_type + "/linked" : param.object_type;
}

// The ordinary value of a member's parameter: what a client would pass.
Variant OrdinaryArgument(const Baseline& b, const ParamInfo& param) {
  const std::string name = ToLowerAscii(param.name);
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
      if (name == "odefaultconnection") return b.xml.at("ConnectionDetails");
      return "1";
    case ParamType::kBoolean:
      return name == "bgetdata";
    case ParamType::kDate:
      return Date(Date::Now().serial() - 1);
    case ParamType::kObject:
      break;
    default:  // numbers and any value, converted by the call
      return param.type == ParamType::kLong ? "10" : "1";
  }
  const std::string role = RoleOf(param);
  return Variant(CreateEntityFromXML(role.substr(0, role.find('/')), b.xml.at(role)));
}

const MemberTable& TableOf(const Variant& object) { return AsAutomationObject(object)->Members(); }

// Where a hostile value goes in one call.
struct Slot {
  enum Kind {
    kTextArgument,   // a text parameter
    kOtherArgument,  // a parameter of another type: the text must not pass for it
    kProperty,       // a text property of an object parameter ("XML": as XML)
    kItemProperty,   // a text property of the last item of a list property of it
    kTextItem,       // a new item of a text list property of it
  };
  Kind kind;
  size_t param;
  std::string list;      // kItemProperty, kTextItem
  std::string property;  // kProperty, kItemProperty

  bool IsXml() const { return kind == kProperty && property == "XML"; }

  std::string Describe(const MemberInfo& member) const {
    std::string where = member.name + "(" + member.params[param].name;
    if (kind == kProperty) where += "." + property;
    if (kind == kItemProperty) where += "." + list + "(last)." + property;
    if (kind == kTextItem) where += "." + list + ".Add";
    return where + ")";
  }

  // Puts `text` where the slot says. Raises what the object raises when it refuses the text.
  void Apply(std::vector<Variant>& args, const std::string& text) const {
    Variant& arg = args[param];
    if (kind == kTextArgument || kind == kOtherArgument) {
      arg = Variant(text);
    } else if (kind == kProperty) {
      SetProperty(arg.AsObject(), property, text);
    } else {
      const auto items = GetProperty(arg.AsObject(), list).AsObject();
      if (kind == kTextItem) {
        CallMember(items, "Add", {text});
      } else {
        const Variant last = CallMember(items, "Item", {GetProperty(items, "Count")});
        SetProperty(last.AsObject(), property, text);
      }
    }
  }
};

// True for a property setter (or with `kind`, a method) of one text parameter.
bool TakesText(const MemberInfo* m, InvokeKind kind = InvokeKind::kPropertyPut) {
  return m != nullptr && m->kind == kind && m->params.size() == 1 &&
         m->params[0].type == ParamType::kString;
}

// The places a member's parameters take text, found from the member tables of the parameters'
// ordinary values.
std::vector<Slot> SlotsOf(const Baseline& b, const MemberInfo& member) {
  std::vector<Slot> slots;
  for (size_t i = 0; i < member.params.size(); ++i) {
    const ParamInfo& param = member.params[i];
    const bool text = param.type == ParamType::kString;
    slots.push_back({text ? Slot::kTextArgument : Slot::kOtherArgument, i, "", ""});
    if (param.type != ParamType::kObject) continue;
    const Variant value = OrdinaryArgument(b, param);
    for (const MemberInfo& m : TableOf(value).members()) {
      if (TakesText(&m)) slots.push_back({Slot::kProperty, i, "", m.name});
      if (m.kind != InvokeKind::kPropertyGet || !m.params.empty() ||
          m.result != ParamType::kObject) {
        continue;
      }
      const Variant list = GetProperty(value.AsObject(), m.name);
      if (!list.IsObject() || !list.AsObject() || list.AsObject()->TypeName() != "Collection") {
        continue;
      }
      if (TakesText(TableOf(list).Find("Add", InvokeKind::kMethod), InvokeKind::kMethod)) {
        slots.push_back({Slot::kTextItem, i, m.name, ""});
      } else if (GetProperty(list.AsObject(), "Count").ToLong() > 0) {
        for (const MemberInfo& p :
             TableOf(CallMember(list.AsObject(), "Item", {int32_t{1}})).members()) {
          if (TakesText(&p) && p.name != "XML") {
            slots.push_back({Slot::kItemProperty, i, m.name, p.name});
          }
        }
      }
    }
  }
  return slots;
}

// A result as text: values as they convert, dates and GUIDs (which differ from call to call)
// as placeholders, objects as their properties, lists as their items. The XML property is left
// out: it repeats the properties.
std::string Render(const Variant& value, int depth = 0) {
  if (value.type() == Variant::Type::kDate) return "<date>";
  if (value.type() == Variant::Type::kString && value.AsString().size() == 32 &&
      value.AsString().find_first_not_of("0123456789ABCDEF") == std::string::npos) {
    return "<guid>";
  }
  if (value.IsEmpty() || value.IsNull()) return value.IsNull() ? "<null>" : "<empty>";
  if (!value.IsObject()) return value.ToText();
  const auto& object = value.AsObject();
  if (!object || depth > 4) return object ? "<deeper>" : "<nothing>";
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
    for (int32_t i = 1; i <= GetProperty(object, "Count").ToLong() && i <= 50; ++i) {
      text += Render(CallMember(object, "Item", {i}), depth + 1) + ";";
    }
  }
  return text + "}";
}

// `dump` as it would be had the hostile text gone where the unknown text went. A value that is
// the whole text went in as a SQL literal: trimmed of spaces when it is text, as SQLite keeps
// the number when it is a number (an integer when it fits in 64 bits, else a real). Inside XML
// held in a value (a stored connection) it appears as XML writes it.
CatalogDump Substituted(CatalogDump dump, const std::string& unknown, const std::string& hostile) {
  const std::string trimmed = TrimSpaces(hostile);
  errno = 0;
  const long long integer = std::strtoll(hostile.c_str(), nullptr, 10);
  const bool integral =
      errno == 0 && !hostile.empty() &&
      hostile.find_first_not_of("0123456789", hostile.rfind('-', 0) == 0) == std::string::npos;
  char number[64];
  std::snprintf(number, sizeof number, "r:%.17g", std::strtod(hostile.c_str(), nullptr));
  if (integral) std::snprintf(number, sizeof number, "i:%lld", integer);
  for (auto& [name, rows] : dump) {
    for (auto& row : rows) {
      for (std::string& cell : row) {
        if (cell == "t:" + unknown) {
          cell = trimmed.empty() ? "n" : "t:" + trimmed;
        } else if (cell == "i:" + unknown) {
          cell = number;
        } else if (cell.find(unknown) != std::string::npos) {
          const bool xml = cell.rfind("t:<", 0) == 0;
          cell = ReplaceAll(cell, unknown, xml ? EscapeXmlAttribute(hostile) : hostile);
        }
      }
    }
    std::sort(rows.begin(), rows.end());
  }
  return dump;
}

struct Outcome {
  bool called = false;  // the text was taken where it went, and the member was called
  bool failed = false;
  std::string error;  // "number (source): description", or what escaped instead
  bool clear = true;  // an AutomationError with a number, a source and a description
  std::string result;
  bool transaction_open = false;
  std::map<std::string, CatalogDump> dumps;  // the rows of each file after the call
};

// Calls the member on a fresh service object with `text` where `slot` says and ordinary arguments
// elsewhere, then reads what it left and puts the saved rows back. The working files hold the
// saved rows when it is called and again when it returns.
Outcome Call(const Baseline& b, const char* progid, const MemberInfo& member, const Slot& slot,
             const std::string& text) {
  Outcome out;
  std::vector<Variant> args;
  for (const ParamInfo& param : member.params) args.push_back(OrdinaryArgument(b, param));
  {
    std::shared_ptr<Dispatch> service = CreateObject(progid);
    try {
      slot.Apply(args, text);  // an object may refuse the text before any call
      out.called = true;
      out.result = Render(service->Invoke(member.name, InvokeKind::kMethod, args));
    } catch (const AutomationError& e) {
      out.failed = true;
      out.clear = e.number() != 0 && !e.source().empty() && !e.description().empty();
      out.error =
          std::to_string(e.number()) + " (" + e.source() + "): " + Printable(e.description(), 200);
    } catch (...) {
      out.failed = true;
      out.clear = false;
      out.error = "an exception other than an AutomationError escaped";
    }
    // Still held open by the service object, if the call left one open.
    for (const std::string* path : {&b.personal, &b.linked}) {
      out.transaction_open = out.transaction_open || !RawCatalog(*path).WriteLockIsFree();
    }
  }
  args.clear();
  ReleaseAccessManager();
  // A file still byte for byte as saved, with no log beside it, spares reading every table.
  for (const std::string* path : {&b.personal, &b.linked, &b.spare}) {
    std::error_code no_log;
    if ((std::filesystem::file_size(*path + "-wal", no_log) == 0 || no_log) &&
        BytesOf(*path) == b.saved_bytes.at(*path)) {
      out.dumps[*path] = b.saved.at(*path);
    } else {
      out.dumps[*path] = RawCatalog(*path, true).Dump();
      b.Restore(*path);
    }
  }
  return out;
}

// How a successful call with `hostile` differs from the call with the unknown text `unknown`,
// "" when it does exactly the same with the hostile text in its place.
std::string Mismatch(const Outcome& o, const std::string& hostile, const std::string& unknown,
                     const Outcome& with_unknown) {
  if (with_unknown.failed) return "\"" + unknown + "\" fails with " + with_unknown.error;
  const std::string expected = ReplaceAll(with_unknown.result, unknown, hostile);
  if (o.result != expected) {
    return "answered " + Printable(o.result, 300) + " where \"" + unknown + "\" gives " +
           Printable(expected, 300);
  }
  std::string text;
  for (const auto& [file, dump] : o.dumps) {
    const std::string changed =
        DescribeDifference(Substituted(with_unknown.dumps.at(file), unknown, hostile), dump);
    if (!changed.empty()) text += "wrote other rows to " + file + " than \"" + unknown + "\": ";
    text += changed;
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
  if (!slot.IsXml()) return full ? HostileTexts() : Sample(HostileTexts());
  std::vector<HostileValue> values = HostileXml(b.xml.at(RoleOf(param)));
  if (!full) return Sample(values);
  // 10,000 levels show what a member does with a deep object.
  std::erase_if(values, [](const HostileValue& v) { return v.label == kDeepestXml; });
  return values;
}

// Runs the hostile values through every slot of one member; answers the number of calls. Writes
// "at <what>" to `report` before each call and a line for each fault found.
int SweepMember(const Baseline& b, const char* progid, const MemberInfo& member,
                const std::set<std::string>& full_roles, std::ostream& report) {
  int calls = 0;
  for (const Slot& slot : SlotsOf(b, member)) {
    std::map<std::string, Outcome> with_unknown;  // by unknown text, made when first needed
    for (const HostileValue& value : ValuesFor(b, member, slot, full_roles)) {
      const std::string what = slot.Describe(member) + " <- " + value.label;
      report << "at " << what << std::endl;
      const Outcome o = Call(b, progid, member, slot, value.text);
      calls += o.called ? 1 : 0;
      if (!o.clear) report << what << ": unclear error " << o.error << std::endl;
      if (o.transaction_open) report << what << ": left a transaction open" << std::endl;
      if (o.failed) {
        for (const auto& [file, dump] : o.dumps) {
          const std::string changed = DescribeDifference(b.saved.at(file), dump);
          if (!changed.empty()) {
            report << what << ": failed, but changed " << file << ": " << changed << std::endl;
          }
        }
        continue;
      }
      if (slot.kind == Slot::kOtherArgument) {
        // Only text that the runtime's conversion turns into a value of the parameter's type
        // ("1E300" is a number, any number a Boolean) may pass.
        if (!IgnoreErrors(
                [&] { CoerceArgument(Variant(value.text), member.params[slot.param]); })) {
          report << what << ": accepted as a value of a non-text parameter" << std::endl;
        }
        continue;
      }
      // The trial members answer whether the member they try would succeed: False is how they
      // refuse a text the store refuses. What they tried is rolled back either way.
      if (slot.IsXml() ||
          (member.name.rfind("Can", 0) == 0 && o.result == "False" && o.dumps == b.saved)) {
        continue;
      }
      // The ordinary texts a hostile text may behave like: a well-formed key, a plain word, and
      // for a text that routes to a linked catalog (it holds "P") a linked id routed the same way.
      std::vector<std::string> unknowns = {kUnknown, kUnknownWord};
      if (IsExternalItemID(value.text)) {
        unknowns.push_back("P" + GetCatalogIDFromItemID(value.text) + "C" + kUnknown);
      }
      std::string mismatch;
      for (const std::string& unknown : unknowns) {
        auto [known, fresh] = with_unknown.try_emplace(unknown);
        if (fresh) known->second = Call(b, progid, member, slot, unknown);
        const std::string difference = Mismatch(o, value.text, unknown, known->second);
        if (difference.empty()) {
          mismatch.clear();
          break;
        }
        if (mismatch.empty()) mismatch = difference;
      }
      if (!mismatch.empty()) {
        report << what << ": succeeded, unlike any unknown text: " << mismatch << std::endl;
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
  std::set<std::string> swept_roles;
  for (const MemberInfo& member : table.members()) {
    std::set<std::string> full_roles;
    for (const ParamInfo& param : member.params) {
      if (param.type != ParamType::kObject) continue;
      if (swept_roles.insert(RoleOf(param)).second) full_roles.insert(RoleOf(param));
    }
    const std::string log = dir.File("report");
    const std::string status = WaitChild(StartChild([&] {
      std::ofstream report(log);
      const int calls = SweepMember(b, progid, member, full_roles, report);
      report << "calls " << calls << std::endl;
      return 0;
    }));
    std::string last_call = "(before the first call)";
    std::ifstream in(log);
    for (std::string line; std::getline(in, line);) {
      if (line.rfind("at ", 0) == 0) {
        last_call = line.substr(3);
      } else if (line.rfind("calls ", 0) == 0) {
        total_calls += std::stoi(line.substr(6));
      } else {
        ADD_FAILURE() << line;
      }
    }
    EXPECT_EQ(status, "exit 0") << member.name << " stopped the process during " << last_call;
  }
  std::printf("[ measured ] %s: %zu members, %d hostile calls in %.2f s\n", progid,
              table.members().size(), total_calls, SecondsSince(started));
}

TEST(HostileInput, EveryReadMemberRefusesHostileTextOrTakesItLiterally) {
  SweepService(kClippingDataReadProgID);
}

TEST(HostileInput, EveryWriteMemberRefusesHostileTextOrTakesItLiterally) {
  SweepService(kClippingDataWriteProgID);
}

}  // namespace
}  // namespace clipcat::robustness
