// The C interface: answers, error numbers with their messages, and no exception across it.
#include <clipcat/clipcat.h>
#include <clipcat/clipcat_c.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "api/api_fixture.h"

namespace {

constexpr int32_t kCatalogCannotBeOpened = -2147220994;
constexpr int32_t kInvalidRequest = 5;

class CInterfaceTest : public ApiTest {
 protected:
  // A catalog holding "Reminder" (a late payment) in folder Mail and "Lunch" at the top.
  std::string MakeCatalog() {
    const std::string path = PathOf("shelf.db");
    auto catalog = clipcat::Catalog::Create(path, "Shelf");
    catalog.AddFolder("", "Mail");
    catalog.AddClipping("Mail", "Reminder", "Your late payment is overdue.");
    catalog.AddClipping("", "Lunch", "See you at noon.");
    return path;
  }
};

TEST_F(CInterfaceTest, VersionIsTheHeadersVersion) {
  EXPECT_STREQ(clipcat_version(), CLIPCAT_VERSION_STRING);
}

TEST_F(CInterfaceTest, SearchIteratesHitsAndTextReadsThem) {
  const std::string path = MakeCatalog();
  clipcat_catalog* catalog = nullptr;
  ASSERT_EQ(clipcat_open(path.c_str(), &catalog), CLIPCAT_OK);
  ASSERT_NE(catalog, nullptr);
  EXPECT_EQ(clipcat_last_error_number(), 0);

  clipcat_hits* hits = nullptr;
  ASSERT_EQ(clipcat_search(catalog, "late payment", 0, &hits), CLIPCAT_OK);
  ASSERT_EQ(clipcat_hits_count(hits), 1u);
  EXPECT_STREQ(clipcat_hit_name(hits, 0), "Reminder");
  EXPECT_STREQ(clipcat_hit_path(hits, 0), "Mail/Reminder");
  EXPECT_NE(std::strstr(clipcat_hit_snippet(hits, 0), "[late]"), nullptr);
  EXPECT_GT(clipcat_hit_score(hits, 0), 0);
  EXPECT_EQ(clipcat_hit_id(hits, 1), nullptr);
  EXPECT_EQ(clipcat_hit_score(hits, 1), 0);

  char* text = nullptr;
  size_t length = 0;
  ASSERT_EQ(clipcat_clipping_text(catalog, clipcat_hit_id(hits, 0), &text, &length), CLIPCAT_OK);
  EXPECT_STREQ(text, "Your late payment is overdue.");
  EXPECT_EQ(length, std::strlen("Your late payment is overdue."));
  clipcat_free(text);
  clipcat_hits_free(hits);
  clipcat_close(catalog);
}

TEST_F(CInterfaceTest, AddingGivesTheNewIdAndARefusalItsNumberAndMessage) {
  const std::string path = MakeCatalog();
  clipcat_catalog* catalog = nullptr;
  ASSERT_EQ(clipcat_open(path.c_str(), &catalog), CLIPCAT_OK);
  char* id = nullptr;
  ASSERT_EQ(clipcat_add_clipping(catalog, "Mail", "Thanks", "Thank you, ça va.", &id), CLIPCAT_OK);
  ASSERT_NE(id, nullptr);
  char* text = nullptr;
  ASSERT_EQ(clipcat_clipping_text(catalog, "Mail/Thanks", &text, nullptr), CLIPCAT_OK);
  EXPECT_STREQ(text, "Thank you, ça va.");
  clipcat_free(text);
  clipcat_free(id);

  // The same name again in the same folder: refused with the catalog's number, nothing added.
  char* again = nullptr;
  const int32_t refused = clipcat_add_clipping(catalog, "Mail", "Thanks", "twice", &again);
  EXPECT_NE(refused, CLIPCAT_OK);
  EXPECT_EQ(refused, clipcat_last_error_number());
  EXPECT_EQ(again, nullptr);
  EXPECT_NE(std::string(clipcat_last_error_message()).find("Thanks"), std::string::npos);
  ASSERT_EQ(clipcat_clipping_text(catalog, "Mail/Thanks", &text, nullptr), CLIPCAT_OK);
  EXPECT_STREQ(text, "Thank you, ça va.");
  clipcat_free(text);

  EXPECT_EQ(clipcat_clipping_text(catalog, "Mail/Nothing", &text, nullptr), kInvalidRequest);
  EXPECT_EQ(text, nullptr);
  EXPECT_STREQ(clipcat_last_error_source(), "clipcat");
  EXPECT_NE(std::string(clipcat_last_error_message()).find("Nothing"), std::string::npos);
  clipcat_close(catalog);
}

TEST_F(CInterfaceTest, FailuresAreAnsweredNotThrown) {
  clipcat_catalog* catalog = reinterpret_cast<clipcat_catalog*>(1);
  EXPECT_EQ(clipcat_open(PathOf("missing.db").c_str(), &catalog), kCatalogCannotBeOpened);
  EXPECT_EQ(catalog, nullptr);
  EXPECT_EQ(clipcat_last_error_number(), kCatalogCannotBeOpened);
  EXPECT_STRNE(clipcat_last_error_message(), "");

  clipcat_hits* hits = nullptr;
  EXPECT_EQ(clipcat_search(nullptr, "x", 0, &hits), kInvalidRequest);
  EXPECT_EQ(clipcat_open("x", nullptr), kInvalidRequest);
  EXPECT_EQ(clipcat_add_clipping(nullptr, "", "a", "b", nullptr), kInvalidRequest);
  EXPECT_EQ(clipcat_hits_count(nullptr), 0u);
  clipcat_close(nullptr);
  clipcat_hits_free(nullptr);
  clipcat_free(nullptr);

  const std::string path = MakeCatalog();
  ASSERT_EQ(clipcat_open(path.c_str(), &catalog), CLIPCAT_OK);
  EXPECT_EQ(clipcat_search(catalog, "   ", 0, &hits), kInvalidRequest);
  EXPECT_EQ(hits, nullptr);
  EXPECT_EQ(clipcat_search(catalog, nullptr, 0, &hits), kInvalidRequest);
  // A second catalog on the same thread is refused, the first stays usable.
  clipcat_catalog* second = nullptr;
  EXPECT_EQ(clipcat_open(path.c_str(), &second), kInvalidRequest);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(clipcat_search(catalog, "noon", 0, &hits), CLIPCAT_OK);
  EXPECT_EQ(clipcat_hits_count(hits), 1u);
  clipcat_hits_free(hits);
  clipcat_close(catalog);
}

}  // namespace
