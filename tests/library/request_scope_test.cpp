// A request made over kept connections ends with nothing left open: a category rename the write
// service refused (and, as described, left pending) is rolled back at the end of the request, so
// the next unrelated write does not commit it and other processes can write in between.
#include "library/request_scope.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

#include "engine/connection_string.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/temp_dir.h"

namespace clipcat::testing {
namespace {

class RequestScopeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ReleaseAccessManager();
    CreateCatalog(path_, "Personal");
    details_->SetDataSourceType(1);
    details_->SetConnectionString(FileCatalogConnectionString(path_));
    first_ = AddCategory("First");
    AddCategory("Second");
  }
  void TearDown() override { ReleaseAccessManager(); }

  std::shared_ptr<Category> AddCategory(const std::string& name) {
    auto category = Category::Create();
    category->SetName(name);
    return RunRequest([&] { return write_.AddCategory(category, "1", details_); });
  }

  // Renames "First" to the taken name "Second": the member refuses with 509 and leaves the
  // rename pending in its open transaction.
  void RefusedRename() {
    first_->SetName("Second");
    EXPECT_EQ(RaisedNumber([&] { write_.UpdateCategory(first_, details_); }),
              err::kCategoryNameNotUnique);
  }

  // Whether another connection, as another process has, can take the write lock at once.
  bool OthersCanWrite() {
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path_.c_str(), &db), SQLITE_OK);
    const bool free = sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    if (free) sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    return free;
  }

  std::string CategoryName(const std::string& id) {
    return ClippingDataRead().GetCategory(id, details_)->Name();
  }

  TempDir dir_;
  std::string path_ = dir_.File("catalog.db");
  std::shared_ptr<ConnectionDetails> details_ = ConnectionDetails::Create();
  ClippingDataWrite write_;
  std::shared_ptr<Category> first_;
};

// What the scope guards against: without it the pending rename holds the write lock, and the next
// unrelated write nests in the open transaction, invisible to others and lost when the connection
// closes.
TEST_F(RequestScopeTest, OutsideARequestTheRefusedRenameStaysPendingAsDescribed) {
  RefusedRename();
  EXPECT_FALSE(OthersCanWrite());
  auto folder = Folder::Create();
  folder->SetName("Unrelated");
  const std::string folder_id = write_.AddFolder(folder, "1", details_)->ID();
  EXPECT_FALSE(OthersCanWrite());
  ReleaseAccessManager();
  EXPECT_EQ(CategoryName(first_->ID()), "First");
  EXPECT_EQ(RaisedNumber([&] { ClippingDataRead().GetFolder(folder_id, details_); }),
            err::kObjectVariableNotSet);
}

TEST_F(RequestScopeTest, TheEndOfTheRequestRollsTheRefusedRenameBack) {
  RunRequest([&] { RefusedRename(); });
  EXPECT_TRUE(OthersCanWrite());
  const std::string folder_id = RunRequest([&] {
    auto folder = Folder::Create();
    folder->SetName("Unrelated");
    return write_.AddFolder(folder, "1", details_)->ID();
  });
  ReleaseAccessManager();
  EXPECT_EQ(CategoryName(first_->ID()), "First");
  EXPECT_EQ(ClippingDataRead().GetFolder(folder_id, details_)->Name(), "Unrelated");
}

TEST_F(RequestScopeTest, ARequestThatRaisesPassesItsErrorAfterTheRollback) {
  const AutomationError error = ErrorOf([&] {
    RunRequest([&] {
      first_->SetName("Second");
      write_.UpdateCategory(first_, details_);
    });
  });
  EXPECT_EQ(error.number(), err::kCategoryNameNotUnique);
  EXPECT_EQ(error.source(), kDataServicesSource);
  EXPECT_TRUE(OthersCanWrite());
  // A request with nothing open, and a thread with no catalogs at all, are left as they are.
  EXPECT_EQ(RunRequest([&] { return CategoryName(first_->ID()); }), "First");
  ReleaseAccessManager();
  RunRequest([] {});
}

}  // namespace
}  // namespace clipcat::testing
