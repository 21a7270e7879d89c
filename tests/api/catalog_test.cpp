// The C++ interface as a client sees it: linked with libclipcat alone, through <clipcat/clipcat.h>.
#include <clipcat/clipcat.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "api/api_fixture.h"

namespace {

// -2147220994, a catalog that cannot be opened; 5, a request the catalog cannot carry out;
// 0x800401FC, a clipping name that is taken in its folder.
constexpr int32_t kCatalogCannotBeOpened = -2147220994;
constexpr int32_t kInvalidRequest = 5;
constexpr int32_t kClippingNameNotUnique = -2147220996;

template <typename Call>
clipcat::Error ErrorOf(Call&& call) {
  try {
    call();
  } catch (const clipcat::Error& error) {
    return error;
  }
  ADD_FAILURE() << "no clipcat::Error was raised";
  return clipcat::Error(0, "", "");
}

using PublicCatalogTest = ApiTest;

TEST_F(PublicCatalogTest, OpeningAFileThatDoesNotExistFailsAndMakesNothing) {
  const std::string path = PathOf("missing.db");
  const clipcat::Error error = ErrorOf([&] { clipcat::Catalog::Open(path); });
  EXPECT_EQ(error.number(), kCatalogCannotBeOpened);
  EXPECT_FALSE(error.source().empty());
  EXPECT_NE(std::string(error.what()).find(std::to_string(kCatalogCannotBeOpened)),
            std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(path));
  // The failed open left the thread free for the next one.
  clipcat::Catalog::Create(PathOf("made.db"), "Made");
}

TEST_F(PublicCatalogTest, CreateRefusesAnExistingFile) {
  const std::string path = PathOf("shelf.db");
  { clipcat::Catalog::Create(path, "Shelf"); }
  const clipcat::Error error = ErrorOf([&] { clipcat::Catalog::Create(path, "Other"); });
  EXPECT_NE(error.number(), 0);
  auto catalog = clipcat::Catalog::Open(path);
  ASSERT_EQ(catalog.Folders().size(), 1u);
  EXPECT_EQ(catalog.Folders()[0].name, "Shelf");
}

TEST_F(PublicCatalogTest, FoldersAreATreeWithPathsThatNameThem) {
  auto catalog = clipcat::Catalog::Create(PathOf("shelf.db"), "Shelf");
  const clipcat::Folder letters = catalog.AddFolder("", "Letters");
  const clipcat::Folder drafts = catalog.AddFolder("Letters", "Drafts");
  EXPECT_EQ(letters.path, "Letters");
  EXPECT_EQ(drafts.path, "Letters/Drafts");
  EXPECT_EQ(drafts.parent_id, letters.id);

  const std::vector<clipcat::Folder> tree = catalog.Folders();
  ASSERT_EQ(tree.size(), 1u);
  const clipcat::Folder& top = tree[0];
  EXPECT_EQ(top.name, "Shelf");
  EXPECT_EQ(top.path, "");
  EXPECT_FALSE(top.linked);
  ASSERT_EQ(top.children.size(), 1u);
  EXPECT_EQ(top.children[0].id, letters.id);
  ASSERT_EQ(top.children[0].children.size(), 1u);
  EXPECT_EQ(top.children[0].children[0].id, drafts.id);
  EXPECT_EQ(top.children[0].children[0].path, "Letters/Drafts");
  // Made just now: the date is the moment, not a wall-clock time read in another zone.
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  EXPECT_LE(std::chrono::abs(now - drafts.updated), std::chrono::minutes(5));
}

TEST_F(PublicCatalogTest, AddedClippingsAreReadBackWithTheirItemsByIdOrPath) {
  auto catalog = clipcat::Catalog::Create(PathOf("shelf.db"), "Shelf");
  catalog.AddFolder("", "Letters");
  const clipcat::NewClipping greeting{
      "Greeting",
      "Opening of a letter",
      {{1, {}, "{\\rtf1 Dear Sir}"}, {2, {}, "Dear Sir,\nthank you."}}};
  const clipcat::Clipping added = catalog.AddClipping("Letters", greeting);
  EXPECT_EQ(added.path, "Letters/Greeting");
  EXPECT_EQ(added.items.size(), 2u);

  for (const std::string& name : {added.id, std::string("Letters/Greeting")}) {
    const clipcat::Clipping read = catalog.GetClipping(name);
    EXPECT_EQ(read.id, added.id);
    EXPECT_EQ(read.name, "Greeting");
    EXPECT_EQ(read.description, "Opening of a letter");
    EXPECT_EQ(read.path, "Letters/Greeting");
    ASSERT_EQ(read.items.size(), 2u);
    EXPECT_EQ(read.items[0].type, 1);
    EXPECT_EQ(read.items[0].type_name, "rtf");
    EXPECT_EQ(read.items[0].content, "{\\rtf1 Dear Sir}");
    EXPECT_EQ(read.items[1].type_name, "text");
  }
  EXPECT_EQ(catalog.Text("Letters/Greeting"), "Dear Sir,\nthank you.");

  const std::vector<clipcat::Clipping> listed = catalog.ClippingsIn("Letters");
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(listed[0].id, added.id);
  EXPECT_TRUE(listed[0].items.empty());
}

TEST_F(PublicCatalogTest, RefusedAdditionsChangeNothing) {
  auto catalog = clipcat::Catalog::Create(PathOf("shelf.db"), "Shelf");
  catalog.AddClipping("", "Note", "first");
  EXPECT_EQ(ErrorOf([&] { catalog.AddClipping("", "Note", "second"); }).number(),
            kClippingNameNotUnique);
  EXPECT_EQ(ErrorOf([&] {
              catalog.AddClipping("", clipcat::NewClipping{"Empty", "", {}});
            }).number(),
            kInvalidRequest);
  EXPECT_EQ(ErrorOf([&] {
              catalog.AddClipping("", clipcat::NewClipping{"Odd", "", {{9, {}, "x"}}});
            }).number(),
            kInvalidRequest);
  const clipcat::Error missing = ErrorOf([&] { catalog.AddClipping("Nowhere", "Note", "x"); });
  EXPECT_EQ(missing.number(), kInvalidRequest);
  EXPECT_NE(missing.description().find("Nowhere"), std::string::npos);

  const std::vector<clipcat::Clipping> listed = catalog.ClippingsIn("");
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(catalog.Text(listed[0].id), "first");
}

TEST_F(PublicCatalogTest, SearchFindsClippingsByTheirWordsBestFirst) {
  auto catalog = clipcat::Catalog::Create(PathOf("shelf.db"), "Shelf");
  catalog.AddFolder("", "Mail");
  const auto late = catalog.AddClipping("Mail", "Reminder", "Your late payment is overdue.");
  catalog.AddClipping("", "Thanks", "Thank you for the payment.");
  catalog.AddClipping("", "Lunch", "See you at noon.");

  const std::vector<clipcat::SearchHit> hits = catalog.Search("late payment");
  ASSERT_EQ(hits.size(), 1u);
  EXPECT_EQ(hits[0].id, late.id);
  EXPECT_EQ(hits[0].name, "Reminder");
  EXPECT_EQ(hits[0].path, "Mail/Reminder");
  EXPECT_NE(hits[0].snippet.find("[late]"), std::string::npos);
  EXPECT_GT(hits[0].score, 0);

  EXPECT_EQ(catalog.Search("payment").size(), 2u);
  EXPECT_EQ(catalog.Search("payment", {"Mail", "", 50}).size(), 1u);
  EXPECT_EQ(catalog.Search("payment", {"", "", 1}).size(), 1u);
  EXPECT_EQ(ErrorOf([&] { catalog.Search("  "); }).number(), kInvalidRequest);
  EXPECT_EQ(ErrorOf([&] {
              catalog.Search("payment", {"", "No such category", 5});
            }).number(),
            kInvalidRequest);
}

TEST_F(PublicCatalogTest, AThreadHasOneCatalogAndACatalogOneThread) {
  auto catalog = clipcat::Catalog::Create(PathOf("one.db"), "One");
  EXPECT_EQ(ErrorOf([&] { clipcat::Catalog::Create(PathOf("two.db"), "Two"); }).number(),
            kInvalidRequest);
  EXPECT_FALSE(std::filesystem::exists(PathOf("two.db")));
  EXPECT_EQ(ErrorOf([&] { clipcat::Catalog::Open(PathOf("one.db")); }).number(), kInvalidRequest);

  int32_t from_other_thread = 0;
  std::thread([&] { from_other_thread = ErrorOf([&] { catalog.Folders(); }).number(); }).join();
  EXPECT_EQ(from_other_thread, kInvalidRequest);

  clipcat::Catalog moved = std::move(catalog);
  EXPECT_EQ(moved.Folders()[0].name, "One");
  EXPECT_EQ(ErrorOf([&] { catalog.Folders(); }).number(), kInvalidRequest);  // NOLINT
}

TEST_F(PublicCatalogTest, HistoryListsTheClippingsUsedMostRecentFirst) {
  auto catalog = clipcat::Catalog::Create(PathOf("shelf.db"), "Shelf");
  const auto first = catalog.AddClipping("", "First", "one");
  const auto second = catalog.AddClipping("", "Second", "two");
  catalog.AddClipping("", "Unused", "three");
  EXPECT_TRUE(catalog.History().empty());
  EXPECT_FALSE(catalog.GetClipping(first.id).accessed.has_value());
  catalog.RecordUse(first.id);
  catalog.RecordUse("Second");
  const std::vector<clipcat::Clipping> used = catalog.History();
  ASSERT_EQ(used.size(), 2u);
  EXPECT_EQ(used[0].id, second.id);
  EXPECT_EQ(used[1].id, first.id);
  EXPECT_TRUE(used[0].accessed.has_value());
  EXPECT_EQ(catalog.History(1).size(), 1u);
  EXPECT_EQ(ErrorOf([&] { catalog.RecordUse("Nothing"); }).number(), kInvalidRequest);
}

TEST_F(PublicCatalogTest, ClosingFreesTheThreadForTheNextCatalog) {
  { clipcat::Catalog::Create(PathOf("one.db"), "One").AddClipping("", "A", "in one"); }
  { clipcat::Catalog::Create(PathOf("two.db"), "Two").AddClipping("", "B", "in two"); }
  auto one = clipcat::Catalog::Open(PathOf("one.db"));
  EXPECT_EQ(one.Folders()[0].name, "One");
  EXPECT_EQ(one.Search("one").size(), 1u);
  EXPECT_TRUE(one.Search("two").empty());
}

}  // namespace
