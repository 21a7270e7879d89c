// Test fixture of the library layer: file catalogs in a fresh temporary directory, worked on
// through one Catalog handle at a time (the services keep one set of open catalogs per thread),
// with helpers that build small trees and compare catalogs through their exports. Every test
// starts and ends without a per-thread manager. Single-threaded.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "library/catalog.h"
#include "library/catalog_export.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/error_of.h"
#include "util/temp_dir.h"

namespace clipcat::library_test {

using testing::ErrorOf;
using testing::RaisedNumber;
using testing::TempDir;

class LibraryTest : public ::testing::Test {
 protected:
  void SetUp() override { ReleaseAccessManager(); }
  void TearDown() override {
    catalog_.reset();
    ReleaseAccessManager();
  }

  // A new file catalog `name` in the test directory, with its top folder named `top`.
  std::string NewCatalog(const std::string& name, const std::string& top = "Personal") {
    const std::string path = dir_.File(name);
    CreateCatalog(path, top);
    return path;
  }

  // The handle on the file catalog at `path`; the previous handle is closed first.
  Catalog& Open(const std::string& path) {
    catalog_.reset();
    CatalogLocation location;
    location.path = path;
    catalog_ = std::make_unique<Catalog>(ConnectionDetailsFor(location));
    return *catalog_;
  }

  std::string AddFolder(const std::string& parent, const std::string& name) {
    auto folder = Folder::Create();
    folder->SetName(name);
    return catalog_->write().AddFolder(folder, parent, catalog_->details())->ID();
  }

  // A clipping with one data item of `type` holding `content`.
  std::string AddClipping(const std::string& folder, const std::string& name,
                          const std::string& content = "text", int32_t type = 2) {
    auto clipping = Clipping::Create();
    clipping->SetName(name);
    auto item = ClippingData::Create();
    item->SetClippingDataType(type);
    item->SetRawData(content);
    clipping->ClippingData()->Add(item);
    return catalog_->write().AddClipping(clipping, folder, catalog_->details())->ID();
  }

  std::string AddCategory(const std::string& name, const std::string& folder = "1") {
    auto category = Category::Create();
    category->SetName(name);
    return catalog_->write().AddCategory(category, folder, catalog_->details())->ID();
  }

  void Tag(const std::string& clipping, const std::string& category) {
    catalog_->write().AddClippingToCategory(clipping, category, catalog_->details());
  }

  // Links the file catalog at `path` as the top folder `name`.
  void Link(const std::string& path, const std::string& name) {
    CatalogLocation location;
    location.path = path;
    catalog_->write().AddLinkedFolder(ConnectionDetailsFor(location), name, catalog_->details());
  }

  // The export of the open catalog as text, whole or of one folder.
  std::string ExportText(const std::string& folder = "") {
    std::ostringstream out;
    (folder.empty() ? ExportCatalog(*catalog_) : ExportFolder(*catalog_, folder)).Write(out);
    return out.str();
  }

  TempDir dir_;
  std::unique_ptr<Catalog> catalog_;
};

// An export with its ids replaced by their places in the order of first appearance: ids differ
// from catalog to catalog, everything else of an export of the same catalog must not.
inline std::string WithoutIds(const std::string& document) {
  static const std::regex id_attribute(R"re(( id| clipping)="([^"]*)")re");
  std::map<std::string, size_t> numbers;
  std::string out;
  auto last = document.cbegin();
  for (std::sregex_iterator it(document.begin(), document.end(), id_attribute), end; it != end;
       ++it) {
    out.append(last, document.cbegin() + it->position());
    const auto number = numbers.emplace((*it)[2].str(), numbers.size()).first->second;
    out += (*it)[1].str() + "=\"#" + std::to_string(number) + "\"";
    last = document.cbegin() + it->position() + it->length();
  }
  out.append(last, document.cend());
  return out;
}

// Folders, clippings, categories, memberships and links, in that order.
inline std::vector<size_t> Counted(const DocumentCounts& counts) {
  return {counts.folders, counts.clippings, counts.categories, counts.memberships, counts.links};
}

// Keeps the last report of a library operation and checks that reports never go back.
struct ProgressLog {
  std::pair<size_t, size_t> last{0, 0};
  ProgressCallback Callback() {
    return [this](size_t done, size_t total) {
      EXPECT_GE(done, last.first);
      EXPECT_GE(total, last.second);
      last = {done, total};
    };
  }
};

}  // namespace clipcat::library_test
