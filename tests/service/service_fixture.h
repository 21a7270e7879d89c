// Test fixture of the service layer: a personal file catalog in a fresh temporary directory, and
// helpers that create further file catalogs (each in a folder of its own, so that moving the
// folder away takes the catalog offline), link them into the personal catalog and read them
// directly, past the services. Every test starts and ends without a per-thread manager, so no
// test sees the catalogs of another.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/connection_details.h"
#include "entities/folder.h"
#include "service/clipping_access_manager.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_fixture.h"
#include "store/catalog_schema.h"
#include "store/connection_string.h"
#include "store/data_access.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::service_test {

using testing::ErrorOf;
using testing::NewClipping;
using testing::NewSearch;
using testing::RaisedNumber;

// The data source type of a file catalog in connection details.
inline constexpr int32_t kFileCatalog = 1;
// Folder status of a linked catalog that cannot be reached.
inline constexpr int32_t kStatusError = 4;

// Connection details of the file catalog at `path`.
inline std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(kFileCatalog);
  details->SetConnectionString(FileCatalogConnectionString(path));
  return details;
}

inline std::shared_ptr<Folder> NewFolder(const std::string& name,
                                         const std::string& description = "") {
  auto folder = Folder::Create();
  folder->SetName(name);
  folder->SetDescription(description);
  return folder;
}

// The ids of `folders` and of every folder below them, depth first.
inline void CollectTree(const std::vector<std::shared_ptr<Folder>>& folders,
                        std::vector<std::shared_ptr<Folder>>& out) {
  for (const auto& folder : folders) {
    out.push_back(folder);
    CollectTree(folder->ChildFolders()->Snapshot(), out);
  }
}

inline std::vector<std::string> IdsOf(const std::shared_ptr<Clippings>& clippings) {
  std::vector<std::string> ids;
  for (const auto& clipping : clippings->Items()->Snapshot()) ids.push_back(clipping->ID());
  return ids;
}

inline std::vector<std::string> IdsOf(const std::shared_ptr<Folders>& folders) {
  std::vector<std::string> ids;
  for (const auto& folder : folders->Items()->Snapshot()) ids.push_back(folder->ID());
  return ids;
}

inline std::vector<std::string> NamesOf(const std::shared_ptr<Categories>& categories) {
  std::vector<std::string> names;
  for (const auto& category : categories->Items()->Snapshot()) names.push_back(category->Name());
  return names;
}

inline std::vector<std::string> Sorted(std::vector<std::string> texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

inline std::vector<std::string> NamesOf(const std::shared_ptr<Folders>& folders) {
  std::vector<std::string> names;
  for (const auto& folder : folders->Items()->Snapshot()) names.push_back(folder->Name());
  return names;
}

// A file catalog linked into the personal catalog.
struct LinkedCatalog {
  std::string folder;              // its folder in the test directory
  std::string path;                // the catalog file
  std::shared_ptr<Folder> linked;  // the linked folder in the personal catalog
  int32_t id = 0;                  // its external catalog id

  // The item id of the item with local key `key` in this catalog ("P<id>C<key>").
  std::string Item(const std::string& key) const { return "P" + std::to_string(id) + "C" + key; }
  std::string Root() const { return Item("1"); }
};

class ServiceFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ReleaseAccessManager();
    std::string pattern =
        (std::filesystem::temp_directory_path() / "clipcat-service-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr) << "mkdtemp failed";
    dir_ = pattern;
    personal_path_ = NewCatalog("personal", "Personal");
    personal_ = FileDetails(personal_path_);
  }

  void TearDown() override {
    // Close every catalog before its file goes.
    ReleaseAccessManager();
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }

  // Creates a file catalog with the root folder `root_name` in the new folder `folder` of the
  // test directory; answers the catalog's path.
  std::string NewCatalog(const std::string& folder, const std::string& root_name) {
    std::filesystem::create_directory(dir_ / folder);
    const std::string path = (dir_ / folder / "catalog.db").string();
    CreateCatalog(path, root_name);
    return path;
  }

  // Links the catalog at `path` into the personal catalog as the linked folder `name`.
  std::shared_ptr<Folder> Link(const std::string& path, const std::string& name) {
    auto folder = write_.AddLinkedFolder(FileDetails(path), name, personal_);
    EXPECT_NE(folder, nullptr);
    return folder;
  }

  // Creates a file catalog (root `root_name`) in `folder` and links it as `link_name`.
  LinkedCatalog AddLinkedCatalog(const std::string& folder, const std::string& root_name,
                                 const std::string& link_name) {
    LinkedCatalog catalog;
    catalog.folder = folder;
    catalog.path = NewCatalog(folder, root_name);
    catalog.linked = Link(catalog.path, link_name);
    if (catalog.linked) catalog.id = catalog.linked->ExternalCatalogID();
    EXPECT_GT(catalog.id, 0);
    return catalog;
  }

  // The catalogs most tests work on, written past the services so that the read tests do not
  // depend on the write service:
  //   personal: Personal(1) / Letters / Old; clippings "Root note" in Personal, "Dear sir" in
  //             Letters, "Yours" in Old; the linked folders "Alpha" and "Beta"
  //   a:        A root(1) / Shared / Deeper; "Top note" in A root, "Shared note" in Shared,
  //             "Deep note" in Deeper
  //   b:        B root(1) / Bee; "Bee note" in Bee
  // Ids are as the services answer them: plain for the personal catalog, tagged for a and b.
  struct Layout {
    std::string letters, old, root_note, dear, yours;
    LinkedCatalog a, b;
    std::string shared, deeper, top_note, shared_note, deep_note;
    std::string bee, bee_note;
  };

  Layout BuildLayout() {
    Layout l;
    const auto personal = OpenDirect(personal_path_);
    l.letters = personal->AddFolder(NewFolder("Letters"), "1", true)->ID();
    l.old = personal->AddFolder(NewFolder("Old"), l.letters, true)->ID();
    l.root_note = personal->AddClipping(NewClipping("Root note"), "1")->ID();
    l.dear = personal->AddClipping(NewClipping("Dear sir"), l.letters)->ID();
    l.yours = personal->AddClipping(NewClipping("Yours"), l.old)->ID();
    personal->CloseCatalog();

    l.a = AddLinkedCatalog("a", "A root", "Alpha");
    const auto a = OpenDirect(l.a.path);
    const std::string shared = a->AddFolder(NewFolder("Shared"), "1", true)->ID();
    const std::string deeper = a->AddFolder(NewFolder("Deeper"), shared, true)->ID();
    l.shared = l.a.Item(shared);
    l.deeper = l.a.Item(deeper);
    l.top_note = l.a.Item(a->AddClipping(NewClipping("Top note"), "1")->ID());
    l.shared_note = l.a.Item(a->AddClipping(NewClipping("Shared note"), shared)->ID());
    l.deep_note = l.a.Item(a->AddClipping(NewClipping("Deep note"), deeper)->ID());
    a->CloseCatalog();

    l.b = AddLinkedCatalog("b", "B root", "Beta");
    const auto b = OpenDirect(l.b.path);
    const std::string bee = b->AddFolder(NewFolder("Bee"), "1", true)->ID();
    l.bee = l.b.Item(bee);
    l.bee_note = l.b.Item(b->AddClipping(NewClipping("Bee note"), bee)->ID());
    b->CloseCatalog();
    return l;
  }

  // Drops the thread's manager (closing every catalog) and moves the folder `folder` away, so
  // that the catalog in it can no longer be reached; BringOnline puts it back.
  void TakeOffline(const std::string& folder) {
    ReleaseAccessManager();
    std::filesystem::rename(dir_ / folder, dir_ / (folder + ".away"));
  }
  void BringOnline(const std::string& folder) {
    ReleaseAccessManager();
    std::filesystem::rename(dir_ / (folder + ".away"), dir_ / folder);
  }

  // The catalog at `path`, opened past the services: its ids are its own keys, untagged.
  static std::shared_ptr<DataAccess> OpenDirect(const std::string& path) {
    auto catalog = DataAccessMDB::Create();
    catalog->SetConnectionString(FileCatalogConnectionString(path));
    return catalog;
  }

  // The calling thread's manager (created for the personal catalog when there is none).
  std::shared_ptr<ClippingAccessManager> Manager() { return GetAccessManager(personal_); }

  // The manager's key positions as their external catalog ids, in order ("D" gives 0).
  std::vector<int32_t> HeldCatalogIDs() {
    std::vector<int32_t> ids;
    for (const auto& entry : Manager()->Entries())
      ids.push_back(entry ? entry->ExternalCatalogID() : -1);
    return ids;
  }

  std::filesystem::path dir_;
  std::string personal_path_;
  std::shared_ptr<ConnectionDetails> personal_;
  ClippingDataRead read_;
  ClippingDataWrite write_;
};

}  // namespace clipcat::service_test
