// The same script of service calls run against a file catalog and a server catalog must print the
// same text, the way SQL logic tests compare engines: names compared without regard to case, list
// order, searches with LIKE's special characters, text beyond ASCII, errors and trash all have to
// agree. Ids are printed as the order they were first seen in (per kind of item) and dates only as
// whether they are day zero, since both differ between two runs on one engine too.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "robustness/robustness_support.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "support/postgres_test_server.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

using Connection = std::shared_ptr<ConnectionDetails>;

const std::regex kDigits("[0-9]+");

// Names that sort, fold and match differently on careless engines: case, accents, LIKE's
// wildcards and escape, quotes, digits, spaces at the ends, characters beyond the BMP.
const std::vector<std::string> kNames = {"alpha",
                                         "Alpha two",
                                         "BETA",
                                         "beta 2",
                                         "gamma_1",
                                         "gamma%2",
                                         "it's",
                                         "\"quoted\"",
                                         "caf\xC3\xA9",
                                         "CAF\xC3\x89 ",
                                         "\xC3\xA9t\xC3\xA9",
                                         "Zeta",
                                         "zeta",
                                         "10 items",
                                         "9 items",
                                         "a\\b",
                                         "emoji \xF0\x9F\x98\x80",
                                         "  spaced",
                                         "Stra\xC3\x9F"
                                         "e",
                                         "STRASSE",
                                         "[bracket]",
                                         "under_score",
                                         "percent%",
                                         "dot.name"};

// The text of a script run: one line per call, its arguments and what it answered.
class Transcript {
 public:
  // The label of an id of a kind of item (F folder, C clipping, K category), the same for the
  // same id: "F1" for the first folder id seen, and so on. Each kind counts on its own: the
  // engines number the kinds' keys from different sequences.
  std::string Id(const std::string& id, char kind) {
    if (id.empty()) return "-";
    auto& labels = ids_[kind];
    const auto [it, added] =
        labels.emplace(id, std::string(1, kind) + std::to_string(labels.size() + 1));
    return it->second;
  }
  std::string F(const std::string& id) { return Id(id, 'F'); }
  std::string C(const std::string& id) { return Id(id, 'C'); }
  std::string K(const std::string& id) { return Id(id, 'K'); }
  // Dates differ from run to run; what both engines must agree on is whether one is set.
  static std::string When(const Date& date) { return date.serial() == 0 ? "day zero" : "dated"; }

  std::string Show(const std::shared_ptr<Folder>& folder, int depth = 0) {
    if (!folder) return "nothing";
    std::string text = "folder " + F(folder->ID()) + " '" + folder->Name() + "' '" +
                       folder->Description() + "' status " + std::to_string(folder->Status()) +
                       " parent " + F(folder->ParentID()) + " " + When(folder->Updated());
    for (const auto& child : folder->ChildFolders()->Snapshot()) {
      text += "\n" + std::string(2 * (depth + 1), ' ') + Show(child, depth + 1);
    }
    return text;
  }
  std::string Show(const std::shared_ptr<Folders>& folders) {
    std::string text = std::to_string(folders->Items()->Count()) + " folders";
    for (const auto& folder : folders->Items()->Snapshot()) text += "\n  " + Show(folder, 1);
    return text;
  }
  std::string Show(const std::shared_ptr<Clipping>& clipping) {
    if (!clipping) return "nothing";
    std::string text = "clipping " + C(clipping->ID()) + " '" + clipping->Name() + "' '" +
                       clipping->Description() + "' status " +
                       std::to_string(clipping->ClippingStatus()) + " in " +
                       F(clipping->FolderID()) + " path '" + clipping->PathName() +
                       "' categories '" + clipping->Categories() + "' " +
                       When(clipping->Updated()) + ", accessed " + When(clipping->Accessed());
    for (const auto& item : clipping->ClippingData()->Snapshot()) {
      text +=
          " [" + std::to_string(item->ClippingDataType()) + ":" + Printable(item->RawData()) + "]";
    }
    return text;
  }
  std::string Show(const std::shared_ptr<Clippings>& clippings) {
    std::string text = std::to_string(clippings->Items()->Count()) + " clippings";
    for (const auto& clipping : clippings->Items()->Snapshot()) text += "\n  " + Show(clipping);
    return text;
  }
  std::string Show(const std::shared_ptr<Category>& category) {
    if (!category) return "nothing";
    return "category " + K(category->ID()) + " '" + category->Name() + "' '" +
           category->Description() + "' " + When(category->Updated());
  }
  std::string Show(const std::shared_ptr<Categories>& categories) {
    std::string text = std::to_string(categories->Items()->Count()) + " categories";
    for (const auto& category : categories->Items()->Snapshot()) text += "\n  " + Show(category);
    return text;
  }
  // A listing whose order is the database's own (the member promises no order): its member
  // lines sorted, so that only what is listed has to agree.
  static std::string Unordered(const std::string& listing) {
    std::vector<std::string> lines;
    std::istringstream in(listing);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    if (lines.size() > 1) std::sort(lines.begin() + 1, lines.end());
    std::string text;
    for (const auto& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
  }
  // A listing in name order: members of equal names (in different folders) have no order
  // between them, so each run of equal names is sorted.
  static std::string NameOrdered(const std::string& listing) {
    std::vector<std::string> lines;
    std::istringstream in(listing);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    const auto name = [](const std::string& line) {
      const size_t start = line.find('\'');
      return line.substr(start, line.find("' '", start) - start);
    };
    for (size_t run = 1; run < lines.size();) {
      size_t end = run + 1;
      while (end < lines.size() && name(lines[end]) == name(lines[run])) ++end;
      std::sort(lines.begin() + run, lines.begin() + end);
      run = end;
    }
    std::string text;
    for (const auto& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
  }
  static std::string Show(bool value) { return value ? "true" : "false"; }
  static std::string Show(const std::string& text) { return "'" + text + "'"; }

  // Runs one call and writes its line: what it answered, or the error it raised. An error the
  // engine words itself shows as the engine's error: its wording is the engine's by design.
  void Call(const std::string& what, const std::function<std::string()>& call) {
    ++calls_;
    std::string answer;
    try {
      answer = call();
    } catch (const AutomationError& e) {
      const bool engine = e.source() == "SQLite" || e.source() == "PostgreSQL";
      // A message may name an item by its key, which is each engine's own numbering.
      answer = "error " + std::to_string(e.number()) + " " +
               (engine ? std::string("<engine's message>")
                       : e.source() + ": " + std::regex_replace(e.description(), kDigits, "<n>"));
    }
    text_ << what << " -> " << answer << "\n";
  }

  std::string Text() const { return text_.str(); }
  int Calls() const { return calls_; }

 private:
  std::map<char, std::map<std::string, std::string>> ids_;
  std::ostringstream text_;
  int calls_ = 0;
};

std::shared_ptr<Folder> NewFolder(const std::string& name, const std::string& description = "") {
  auto folder = Folder::Create();
  folder->SetName(name);
  folder->SetDescription(description);
  return folder;
}

std::shared_ptr<Clipping> NewClipping(const std::string& name, const std::string& content) {
  auto clipping = Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription("about " + name);
  auto item = ClippingData::Create();
  item->SetClippingDataType(2);
  item->SetRawData(content);
  clipping->ClippingData()->Add(item);
  return clipping;
}

std::shared_ptr<Search> NewSearch(const std::string& text, const std::string& folder,
                                  bool subfolders) {
  auto search = Search::Create();
  search->SetSearchText(text);
  search->SetSearchSubFolders(subfolders);
  if (!folder.empty()) search->FolderIDs()->Add(folder);
  return search;
}

// The script: builds a small tree of folders, clippings and categories with the names above,
// then reads, searches, renames, moves, tags, deletes and restores, printing every answer.
std::string RunScript(const Connection& catalog, int& calls) {
  ReleaseAccessManager();
  Transcript t;
  ClippingDataRead read;
  ClippingDataWrite write;
  const auto root = read.GetPersonalCatalogRootFolder(catalog);
  const std::string top = root->ID();
  t.Call("root", [&] { return t.Show(root); });

  // Folders: two levels, each name once at the top and once below "Alpha two".
  std::vector<std::string> folders;
  for (const auto& name : kNames) {
    t.Call("AddFolder " + name, [&] {
      const auto folder = write.AddFolder(NewFolder(name, "d " + name), top, catalog, true);
      folders.push_back(folder->ID());
      return t.Show(folder);
    });
  }
  if (folders.size() < 8) {
    calls = t.Calls();
    return t.Text() + "the script stopped: too few folders were added\n";
  }
  const std::string second = folders[1];
  for (const auto& name : kNames) {
    t.Call("AddFolder below " + name,
           [&] { return t.Show(write.AddFolder(NewFolder(name), second, catalog, true)); });
  }
  // Names that clash with one already there, whatever their case.
  for (const std::string name : {"ALPHA", "Beta", "ZETA", "caf\xC3\xA9", ""}) {
    t.Call("AddFolder clash " + name,
           [&] { return t.Show(write.AddFolder(NewFolder(name), top, catalog, true)); });
  }
  t.Call("GetFolders", [&] { return t.Show(read.GetFolders(catalog)); });
  t.Call("GetChildFolders second", [&] { return t.Show(read.GetChildFolders(second, catalog)); });

  // Clippings: in each top folder, one per name, content that searches can find.
  std::vector<std::string> clippings;
  for (size_t f = 0; f < 4; ++f) {
    for (size_t i = 0; i < kNames.size(); ++i) {
      const std::string& name = kNames[(i + f) % kNames.size()];
      t.Call("AddClipping " + name + " in " + t.F(folders[f]), [&] {
        const auto clipping = write.AddClipping(
            NewClipping(name, "text " + std::to_string(i) + " " + name), folders[f], catalog, true);
        clippings.push_back(clipping->ID());
        return t.Show(clipping);
      });
    }
  }
  t.Call("AddClipping clash", [&] {
    return t.Show(write.AddClipping(NewClipping("ALPHA", "again"), folders[0], catalog, true));
  });
  for (size_t f = 0; f < 4; ++f) {
    t.Call("GetClippingsFromFolder " + t.F(folders[f]),
           [&] { return t.Show(read.GetClippingsFromFolder(folders[f], catalog, true)); });
  }
  for (const std::string name : {"alpha", "ALPHA", "caf\xC3\xA9", "CAF\xC3\x89", "CAF\xC3\x89 ",
                                 "strasse", "gamma_1", "gamma_2", "gamma%2", "missing"}) {
    t.Call("ClippingNameExists " + name,
           [&] { return t.Show(read.ClippingNameExists(name, folders[0], catalog)); });
    t.Call("GetClippingByName " + name,
           [&] { return t.Show(read.GetClippingByName(name, folders[0], false, catalog)); });
    t.Call("FolderNameExists " + name,
           [&] { return t.Show(read.FolderNameExists(name, top, catalog)); });
  }

  // Searches: plain words, LIKE's wildcards taken literally, case and accents.
  for (const std::string text :
       {"alpha", "ALPHA", "gamma_", "gamma%", "%", "_", "it's", "caf\xC3\xA9", "text 1",
        "\"quoted\"", "a\\b", "emoji", "[bracket]", "STRASSE", "nothing here"}) {
    t.Call("SearchForClippings " + text,
           [&] { return t.Show(read.SearchForClippings(NewSearch(text, top, true), catalog)); });
    t.Call("SearchForClippings in " + t.F(folders[1]) + " " + text, [&] {
      return t.Show(read.SearchForClippings(NewSearch(text, folders[1], false), catalog));
    });
  }

  // Categories and tags.
  std::vector<std::string> categories;
  for (const auto& name : kNames) {
    t.Call("AddCategory " + name, [&] {
      auto category = Category::Create();
      category->SetName(name);
      const auto added = write.AddCategory(category, top, catalog, true);
      categories.push_back(added->ID());
      return t.Show(added);
    });
  }
  t.Call("AddCategory clash", [&] {
    auto category = Category::Create();
    category->SetName("BETA");
    return t.Show(write.AddCategory(category, top, catalog, true));
  });
  for (const std::string name : {"alpha", "STRASSE", "caf\xC3\xA9 ", "none"}) {
    t.Call("CategoryNameExists " + name,
           [&] { return t.Show(read.CategoryNameExists(name, top, catalog)); });
  }
  // A run where every add failed still prints the same text on both engines; it just has less to
  // tag.
  if (categories.empty() || clippings.size() < 48) {
    calls = t.Calls();
    return t.Text() + "the script stopped: too few items were added\n";
  }
  for (size_t i = 0; i < clippings.size(); i += 3) {
    const std::string& category = categories[i % categories.size()];
    t.Call("AddClippingToCategory " + t.C(clippings[i]) + " " + t.K(category), [&] {
      write.AddClippingToCategory(clippings[i], category, catalog);
      return std::string("done");
    });
  }
  t.Call("AddClippingToCategory twice", [&] {
    write.AddClippingToCategory(clippings[0], categories[0], catalog);
    return std::string("done");
  });
  for (size_t i = 0; i < categories.size(); i += 2) {
    t.Call("GetClippingsFromCategory " + t.K(categories[i]), [&] {
      return t.NameOrdered(t.Show(read.GetClippingsFromCategory(categories[i], false, catalog)));
    });
  }
  for (size_t i = 0; i < 12; ++i) {
    t.Call("GetCategoriesForClipping " + t.C(clippings[i]),
           [&] { return t.Show(read.GetCategoriesForClipping(clippings[i], catalog)); });
  }
  t.Call("GetCategoriesFromFolder top",
         [&] { return t.Show(read.GetCategoriesFromFolder(top, catalog)); });
  t.Call("GetClippingsWithoutCategory", [&] {
    return t.NameOrdered(t.Show(read.GetClippingsWithoutCategory(top, false, catalog)));
  });

  // Edits: rename, move, update content, delete (marked and for good), restore.
  for (size_t i = 0; i < 8; ++i) {
    t.Call("UpdateClipping " + t.C(clippings[i]), [&] {
      const auto clipping = read.GetClipping(clippings[i], catalog, true);
      clipping->SetName(clipping->Name() + " v2");
      clipping->ClippingData()->Item(1)->SetRawData("changed " + std::to_string(i));
      return t.Show(write.UpdateClipping(clipping, catalog, true, true));
    });
  }
  t.Call("UpdateClipping onto a sibling's name", [&] {
    const auto clipping = read.GetClipping(clippings[9], catalog, false);
    clipping->SetName(kNames[10 % kNames.size()]);
    return t.Show(write.UpdateClipping(clipping, catalog, false, true));
  });
  t.Call("UpdateFolder rename", [&] {
    const auto folder = read.GetFolder(folders[2], catalog);
    folder->SetName("renamed");
    return t.Show(write.UpdateFolder(folder, catalog, true));
  });
  for (size_t i = 30; i < 34; ++i) {
    t.Call("MoveClipping " + t.C(clippings[i]) + " to " + t.F(folders[5]), [&] {
      write.MoveClipping(clippings[i], folders[5], catalog);
      return t.Show(read.GetClipping(clippings[i], catalog));
    });
  }
  t.Call("MoveFolder into its own child", [&] {
    write.MoveFolder(second, second, catalog);
    return std::string("done");
  });
  t.Call("MoveFolder", [&] {
    write.MoveFolder(folders[6], folders[7], catalog);
    return t.Show(read.GetChildFolders(folders[7], catalog));
  });
  for (size_t i = 40; i < 48; ++i) {
    t.Call("DeleteClipping " + t.C(clippings[i]) + (i % 2 ? " for good" : ""), [&] {
      write.DeleteClipping(clippings[i], catalog, i % 2 == 1);
      return t.Show(read.GetClipping(clippings[i], catalog));
    });
  }
  t.Call("DeleteFolder " + t.F(folders[3]), [&] {
    write.DeleteFolder(folders[3], catalog, false);
    return t.Show(read.GetFolders(catalog));
  });
  t.Call("GetDeletedClippingsForCatalog", [&] {
    return t.Unordered(t.Show(read.GetDeletedClippingsForCatalog(top, false, catalog)));
  });
  for (const size_t i : {40, 42, 41}) {
    t.Call("RestoreItem " + t.C(clippings[i]),
           [&] { return t.Show(write.RestoreItem(clippings[i], catalog)); });
  }
  t.Call("RestoreItem folder", [&] { return t.Show(write.RestoreItem(folders[3], catalog)); });
  t.Call("DeleteCategory", [&] {
    write.DeleteCategory(categories[0], catalog);
    return t.Show(read.GetCategoriesForClipping(clippings[0], catalog));
  });
  t.Call("GetClippingsForFolderAndChildFolders top", [&] {
    return t.Unordered(t.Show(read.GetClippingsForFolderAndChildFolders(top, "false", catalog)));
  });
  t.Call("GetFolders at the end", [&] { return t.Show(read.GetFolders(catalog)); });
  ReleaseAccessManager();
  calls = t.Calls();
  return t.Text();
}

// The first lines where the two texts differ, with their line numbers.
std::string FirstDifferences(const std::string& a, const std::string& b) {
  std::istringstream in_a(a), in_b(b);
  std::string line_a, line_b, text;
  int shown = 0;
  for (int line = 1; shown < 5; ++line) {
    const bool more_a = static_cast<bool>(std::getline(in_a, line_a));
    const bool more_b = static_cast<bool>(std::getline(in_b, line_b));
    if (!more_a && !more_b) break;
    if (more_a && more_b && line_a == line_b) continue;
    ++shown;
    text += "line " + std::to_string(line) + "\n  file:   " + (more_a ? line_a : "(ended)") +
            "\n  server: " + (more_b ? line_b : "(ended)") + "\n";
  }
  return text;
}

TEST(EngineAgreement, AScriptOfServiceCallsPrintsTheSameOnBothEngines) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ScratchDir dir;
  const std::string path = dir.File("personal.db");
  CreateCatalog(path, "Personal");
  const std::string connection_string = server->ConnectionString(server->CreateDatabase());
  CreateServerCatalog(connection_string, "Personal");

  int file_calls = 0, server_calls = 0;
  const std::string on_file = RunScript(FileDetails(path), file_calls);
  const std::string on_server = RunScript(ServerDetails(connection_string), server_calls);
  // CLIPCAT_AGREEMENT_TRANSCRIPT names a file to keep the file catalog's text in, to read it.
  if (const char* keep = std::getenv("CLIPCAT_AGREEMENT_TRANSCRIPT")) {
    std::ofstream(keep) << on_file;
  }
  EXPECT_EQ(file_calls, server_calls);
  EXPECT_GE(file_calls, 200);
  EXPECT_TRUE(on_file == on_server) << FirstDifferences(on_file, on_server);
  EXPECT_EQ(on_file.find("the script stopped"), std::string::npos) << on_file;
  std::printf("%d calls, %zu lines of output agree\n", file_calls,
              static_cast<size_t>(std::count(on_file.begin(), on_file.end(), '\n')));
}

}  // namespace
}  // namespace clipcat::robustness
