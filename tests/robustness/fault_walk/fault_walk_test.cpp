// The fault walk of every write of the public write service, and the library's copy, move and
// import (walk_driver.h tells what each step checks): one table of writes, walked on a catalog
// file with the Nth SQLite read, write, sync, truncation, lock or allocation failing, and on a
// catalog on the test server with the connection lost before the Nth round trip. The write's
// arguments are read (and the catalog opened) before the failure is armed, so the walk covers the
// write itself; a `cold` write's walk covers opening the catalog too.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_document.h"
#include "library/catalog_import.h"
#include "library/item_transfer.h"
#include "robustness/fault_walk/walk_catalog.h"
#include "robustness/fault_walk/walk_driver.h"
#include "robustness/robustness_support.h"
#include "support/postgres_test_server.h"

namespace clipcat::robustness {
namespace {

std::shared_ptr<Folder> NewFolder(const std::string& name) {
  auto folder = Folder::Create();
  folder->SetName(name);
  return folder;
}

std::vector<Write> AllWrites() {
  using F = std::function<void()>;
  return {
      {"AddFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddFolder(NewFolder("New"), i.letters, c.details()); };
       }},
      {"AddClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           c.write().AddClipping(NewClipping("Fresh", "d", {{1, "x"}, {3, Letters(2, 20'000)}}),
                                 i.letters, c.details());
         };
       }},
      {"AddClipping (opening the catalog)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           c.write().AddClipping(NewClipping("Fresh", "d", {{1, "x"}, {3, Letters(2, 20'000)}}),
                                 i.letters, c.details());
         };
       },
       true},
      {"UpdateFolder",
       [](Catalog& c, const Items& i) -> F {
         auto folder = c.read().GetFolder(i.letters, c.details());
         folder->SetName("Mail");
         return [&c, folder] { c.write().UpdateFolder(folder, c.details()); };
       }},
      {"UpdateClippingWithData",
       [](Catalog& c, const Items& i) -> F {
         auto clipping = c.read().GetClipping(i.dear, c.details(), true);
         clipping->SetDescription("rewritten");
         clipping->SetClippingData(
             NewClipping("", "", {{2, Letters(3, 12'000)}, {5, "five"}})->ClippingData());
         return [&c, clipping] { c.write().UpdateClipping(clipping, c.details(), true); };
       }},
      {"MoveFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().MoveFolder(i.old, i.letters, c.details()); };
       }},
      {"MoveClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().MoveClipping(i.note, i.letters, c.details()); };
       }},
      {"CopyFolder (library)",
       [](Catalog& c, const Items& i) -> F { return [&c, &i] { CopyItem(c, i.letters, i.old); }; }},
      {"MoveFolder (library)",
       [](Catalog& c, const Items& i) -> F { return [&c, &i] { MoveItem(c, i.old, i.letters); }; }},
      {"MoveClipping (library)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { MoveItem(c, i.note, i.letters); };
       }},
      {"DeleteClipping (marked)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClipping(i.note, c.details(), false); };
       }},
      {"DeleteClipping (for good)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClipping(i.dear, c.details(), true); };
       }},
      {"DeleteFolder (marked)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteFolder(i.letters, c.details(), false); };
       }},
      {"DeleteFolder (for good)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteFolder(i.letters, c.details(), true); };
       }},
      {"RestoreItem",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().RestoreItem(i.gone, c.details()); };
       }},
      {"EmptyTrash",
       [](Catalog& c, const Items&) -> F { return [&c] { c.write().EmptyTrash(c.details()); }; }},
      {"AddCategory",
       [](Catalog& c, const Items&) -> F {
         return [&c] { c.write().AddCategory(NewCategory("Green"), "1", c.details()); };
       }},
      {"UpdateCategory",
       [](Catalog& c, const Items& i) -> F {
         auto category = c.read().GetCategory(i.red, c.details());
         category->SetName("Crimson");
         return [&c, category] { c.write().UpdateCategory(category, c.details()); };
       }},
      {"DeleteCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteCategory(i.red, c.details()); };
       }},
      {"AddClippingToCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddClippingToCategory(i.note, i.blue, c.details()); };
       }},
      {"AddClippingToCategories",
       [](Catalog& c, const Items& i) -> F {
         auto categories = Categories::Create();
         categories->AddCategory(NewCategory("", i.red));
         categories->AddCategory(NewCategory("", i.blue));
         return [&c, &i, categories] {
           c.write().AddClippingToCategories(i.note, categories, c.details());
         };
       }},
      {"DeleteClippingFromCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteClippingFromCategory(i.dear, i.red, c.details()); };
       }},
      {"DeleteAllCategoriesFromClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteAllCategoriesFromClipping(i.dear, c.details()); };
       }},
      {"AddFolderToCategory",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().AddFolderToCategory(i.letters, i.blue, c.details()); };
       }},
      {"DeleteAllCategoriesFromFolder",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().DeleteAllCategoriesFromFolder(i.letters, c.details()); };
       }},
      {"UpdateClippingHistory",
       [](Catalog& c, const Items& i) -> F {
         auto clipping = c.read().GetClipping(i.note, c.details());
         return [&c, clipping] { c.write().UpdateClippingHistory(clipping, c.details()); };
       }},
      {"RevertClipping",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] { c.write().RevertClipping(i.dear, 1, c.details()); };
       }},
      {"SetMaximumVersions",
       [](Catalog& c, const Items&) -> F {
         return [&c] { c.write().SetMaximumVersions(3, c.details()); };
       }},
      {"ImportDocument (library)",
       [](Catalog& c, const Items& i) -> F {
         return [&c, &i] {
           ImportOptions options;
           options.on_conflict = OnConflict::kRename;
           ImportDocument(c, *i.letters_document, i.old, {}, options);
         };
       }},
  };
}

// One write of each kind of work (add, update, move, delete, restore, category work, tagging,
// history), the opening of the catalog included; the copy and the import, the longest walks, are
// left to the complete walk.
TEST_F(FaultWalk, RepresentativeWritesFailCleanlyAtEveryInjectedFault) {
  FileWalkCatalog target;
  WalkAll(target, AllWrites(),
          {"AddClipping (opening the catalog)", "UpdateClippingWithData", "MoveFolder (library)",
           "DeleteFolder (for good)", "RestoreItem", "DeleteCategory", "AddClippingToCategories",
           "AddFolderToCategory", "UpdateClippingHistory"});
}

TEST_F(FaultWalk, EveryWriteFailsCleanlyAtEveryInjectedFault) {
  FileWalkCatalog target;
  WalkAll(target, AllWrites(), {});
}

// The same on a catalog on the server, each round trip in turn finding the connection lost: an
// add that opens the catalog, a move through the library and a category's deletion.
TEST_F(FaultWalk, RepresentativeServerWritesFailCleanlyAtEveryLostConnection) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ServerWalkCatalog target(*server);
  WalkAll(target, AllWrites(),
          {"AddClipping (opening the catalog)", "MoveFolder (library)", "DeleteCategory"});
}

TEST_F(FaultWalk, EveryServerWriteFailsCleanlyAtEveryLostConnection) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  ServerWalkCatalog target(*server);
  WalkAll(target, AllWrites(), {});
}

}  // namespace
}  // namespace clipcat::robustness
