// Test fixture of the service layer: a personal file catalog in a fresh temporary directory, and
// further file catalogs (each in a folder of its own, so that moving the folder away takes it
// offline) linked into it. Every test starts and ends without a per-thread manager, so no test
// sees the catalogs of another. Single-threaded.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "engine/connection_string.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/error_of.h"
#include "util/temp_dir.h"

namespace clipcat::service_test {

using testing::RaisedNumber;
using Ids = std::vector<std::string>;

// Folder status of a linked catalog that cannot be reached.
inline constexpr int32_t kStatusError = 4;

// Connection details of the file catalog at `path`.
inline std::shared_ptr<ConnectionDetails> FileDetails(const std::string& path) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(1);
  details->SetConnectionString(FileCatalogConnectionString(path));
  return details;
}

// A new entity (Folder, Clipping, Category) named `name`; a clipping gets one item "content".
template <typename T>
std::shared_ptr<T> Named(const std::string& name) {
  auto entity = T::Create();
  entity->SetName(name);
  if constexpr (std::is_same_v<T, Clipping>) {
    auto data = ClippingData::Create();
    data->SetClippingDataType(2);
    data->SetRawData("content");
    entity->ClippingData()->Add(data);
  }
  return entity;
}

inline std::shared_ptr<Search> NewSearch(const std::string& text, const Ids& folders = {}) {
  auto search = Search::Create();
  search->SetSearchText(text);
  for (const auto& folder : folders) search->FolderIDs()->Add(folder);
  return search;
}

// The ids (or names) of the items of a Folders, Clippings or Categories list, in order.
template <typename L>
Ids IdsOf(const std::shared_ptr<L>& list, bool names = false) {
  Ids ids;
  for (const auto& item : list->Items()->Snapshot())
    ids.push_back(names ? item->Name() : item->ID());
  return ids;
}
template <typename L>
Ids NamesOf(const std::shared_ptr<L>& list) {
  return IdsOf(list, true);
}
inline Ids Sorted(Ids texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
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
    personal_path_ = NewCatalog("personal", "Personal");
    personal_ = FileDetails(personal_path_);
  }
  // Closes every catalog before the directory goes.
  void TearDown() override { ReleaseAccessManager(); }

  // Creates a file catalog with the root folder `root_name` in the new folder `folder`; answers
  // the catalog's path.
  std::string NewCatalog(const std::string& folder, const std::string& root_name) {
    std::filesystem::create_directory(dir_.File(folder));
    const std::string path = dir_.File(folder + "/catalog.db");
    CreateCatalog(path, root_name);
    return path;
  }

  // Creates a file catalog (root `root_name`) in `folder` and links it as `link_name`.
  LinkedCatalog AddLinkedCatalog(const std::string& folder, const std::string& root_name,
                                 const std::string& link_name) {
    const std::string path = NewCatalog(folder, root_name);
    const auto linked = write_.AddLinkedFolder(FileDetails(path), link_name, personal_);
    EXPECT_GT(linked->ExternalCatalogID(), 0);
    return {folder, path, linked, linked->ExternalCatalogID()};
  }

  // The catalogs most tests work on, written past the services (ids as the services answer them):
  //   personal: Personal(1) / Letters / Old, with "Root note", "Dear sir" and "Yours" in them in
  //             turn, and the linked folders "Alpha" and "Beta"
  //   a:        A root(1) / Shared / Deeper, with "Top note", "Shared note", "Deep note"
  //   b:        B root(1) / Bee, with "Bee note" in Bee
  struct Layout {
    std::string letters, old, root_note, dear, yours;
    LinkedCatalog a, b;
    std::string shared, deeper, top_note, shared_note, deep_note, bee, bee_note;
  };

  Layout BuildLayout() {
    Layout l;
    const auto personal = OpenDirect(personal_path_);
    l.letters = personal->AddFolder(Named<Folder>("Letters"), "1", true)->ID();
    l.old = personal->AddFolder(Named<Folder>("Old"), l.letters, true)->ID();
    l.root_note = personal->AddClipping(Named<Clipping>("Root note"), "1")->ID();
    l.dear = personal->AddClipping(Named<Clipping>("Dear sir"), l.letters)->ID();
    l.yours = personal->AddClipping(Named<Clipping>("Yours"), l.old)->ID();
    personal->CloseCatalog();

    l.a = AddLinkedCatalog("a", "A root", "Alpha");
    const auto a = OpenDirect(l.a.path);
    const std::string shared = a->AddFolder(Named<Folder>("Shared"), "1", true)->ID();
    const std::string deeper = a->AddFolder(Named<Folder>("Deeper"), shared, true)->ID();
    l.shared = l.a.Item(shared);
    l.deeper = l.a.Item(deeper);
    l.top_note = l.a.Item(a->AddClipping(Named<Clipping>("Top note"), "1")->ID());
    l.shared_note = l.a.Item(a->AddClipping(Named<Clipping>("Shared note"), shared)->ID());
    l.deep_note = l.a.Item(a->AddClipping(Named<Clipping>("Deep note"), deeper)->ID());
    a->CloseCatalog();

    l.b = AddLinkedCatalog("b", "B root", "Beta");
    const auto b = OpenDirect(l.b.path);
    const std::string bee = b->AddFolder(Named<Folder>("Bee"), "1", true)->ID();
    l.bee = l.b.Item(bee);
    l.bee_note = l.b.Item(b->AddClipping(Named<Clipping>("Bee note"), bee)->ID());
    b->CloseCatalog();
    return l;
  }

  // Drops the thread's manager (closing every catalog) and moves the folder `folder` away, so
  // that the catalog in it can no longer be reached, or (`online`) back.
  void SetOnline(const std::string& folder, bool online) {
    ReleaseAccessManager();
    const std::string away = dir_.File(folder + ".away"), here = dir_.File(folder);
    std::filesystem::rename(online ? away : here, online ? here : away);
  }

  // The catalog at `path`, opened past the services: its ids are its own keys, untagged.
  static std::shared_ptr<DataAccess> OpenDirect(const std::string& path) {
    auto catalog = DataAccessMDB::Create();
    catalog->SetConnectionString(FileCatalogConnectionString(path));
    return catalog;
  }

  // The calling thread's manager's entries as their external catalog ids, in order ("D" gives 0).
  std::vector<int32_t> HeldCatalogIDs() {
    std::vector<int32_t> ids;
    for (const auto& entry : GetAccessManager(personal_)->Entries())
      ids.push_back(entry ? entry->ExternalCatalogID() : -1);
    return ids;
  }

  testing::TempDir dir_;
  std::string personal_path_;
  std::shared_ptr<ConnectionDetails> personal_;
  ClippingDataRead read_;
  ClippingDataWrite write_;
};

}  // namespace clipcat::service_test
