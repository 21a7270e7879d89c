// The category routes, the content search, and the trash and versions routes through HTTP.
#include "gateway_fixture.h"

namespace clipcat::gateway_test {
namespace {

class GatewayCategories : public GatewayTest {};

TEST_F(GatewayCategories, AddListRenameDelete) {
  const Answer added = Post("/api/categories", {{"name", "Mail"}, {"description", "letters"}});
  ASSERT_EQ(added.status, 201) << added.text;
  const std::string id = added.body["id"];
  EXPECT_EQ(Post("/api/categories", {{"name", "Notes"}}).status, 201);
  const Answer list = Get("/api/categories");
  ASSERT_EQ(list.body.size(), 2u);

  const Answer renamed = Patch("/api/categories/" + id, {{"name", "Letters"}});
  ASSERT_EQ(renamed.status, 200) << renamed.text;
  EXPECT_EQ(Get("/api/categories/" + id).body["name"], "Letters");
  EXPECT_EQ(Get("/api/categories/" + id).body["description"], "letters");

  const Answer taken = Post("/api/categories", {{"name", "notes"}});
  EXPECT_EQ(taken.status, 409);
  EXPECT_EQ(ErrorNumber(taken), -2147220995);

  EXPECT_EQ(Delete("/api/categories/" + id).status, 204);
  EXPECT_EQ(Get("/api/categories/" + id).status, 404);
  EXPECT_EQ(Get("/api/categories").body.size(), 1u);
  EXPECT_EQ(Delete("/api/categories/999").status, 404);
  EXPECT_EQ(Get("/api/categories/999/clippings").status, 404);
  EXPECT_EQ(Get("/api/categories?folder=999").status, 404);
  EXPECT_EQ(Post("/api/categories", {{"name", "Elsewhere"}, {"folder", "999"}}).status, 404);
  EXPECT_EQ(Patch("/api/categories/999", {{"name", "x"}}).status, 404);
  EXPECT_EQ(Post("/api/categories", json::object()).status, 400);
}

class GatewaySearch : public GatewayTest {};

TEST_F(GatewaySearch, FindsByContentBestFirst) {
  const std::string folder = NewFolder("1", "Work");
  const std::string hit = NewClipping(folder, "Reply", "thanks for the quick answer");
  NewClipping(folder, "Other", "nothing to see here");
  const Answer found = Get("/api/search?q=quick");
  ASSERT_EQ(found.status, 200) << found.text;
  ASSERT_EQ(found.body.size(), 1u);
  EXPECT_EQ(found.body[0]["id"], hit);
  EXPECT_TRUE(found.body[0].contains("score"));
  EXPECT_NE(found.body[0]["snippet"].get<std::string>().find("quick"), std::string::npos);
  EXPECT_TRUE(Get("/api/search?q=absent").body.empty());
  EXPECT_EQ(Get("/api/search?q=").status, 400);
  EXPECT_EQ(Get("/api/search?q=quick&limit=-1").status, 400);
}

class GatewayTrash : public GatewayTest {};

TEST_F(GatewayTrash, RestoreAndEmpty) {
  const std::string folder = NewFolder("1", "Work");
  const std::string first = NewClipping(folder, "First");
  const std::string second = NewClipping(folder, "Second");
  Delete("/api/clippings/" + first);
  Delete("/api/clippings/" + second);
  ASSERT_EQ(Get("/api/trash").body.size(), 2u);

  const Answer restored = Post("/api/trash/" + first + "/restore", json::object());
  ASSERT_EQ(restored.status, 200) << restored.text;
  EXPECT_EQ(restored.body["name"], "First");
  EXPECT_EQ(Get("/api/folders/" + folder + "/clippings").body.size(), 1u);
  EXPECT_EQ(Post("/api/trash/" + first + "/restore", json::object()).status, 404);

  // A name taken meanwhile: 409, or a free name with rename=1.
  NewClipping(folder, "Second");
  EXPECT_EQ(Post("/api/trash/" + second + "/restore", json::object()).status, 409);
  const Answer renamed = Post("/api/trash/" + second + "/restore?rename=1", json::object());
  ASSERT_EQ(renamed.status, 200) << renamed.text;
  EXPECT_NE(renamed.body["name"], "Second");

  const std::string third = NewClipping(folder, "Third");
  Delete("/api/clippings/" + third);
  EXPECT_EQ(Delete("/api/trash?olderthan=30d").body["removed"], 0);
  EXPECT_EQ(Delete("/api/trash?olderthan=soon").status, 400);
  EXPECT_EQ(Delete("/api/trash").body["removed"], 1);
  EXPECT_TRUE(Get("/api/trash").body.empty());
}

TEST_F(GatewayTrash, VersionsListShowAndRevert) {
  const std::string folder = NewFolder("1", "Work");
  const std::string id = NewClipping(folder, "Note", "first text");
  ASSERT_EQ(Patch("/api/clippings/" + id, {{"text", "second text"}}).status, 200);
  const Answer versions = Get("/api/clippings/" + id + "/versions");
  ASSERT_EQ(versions.status, 200);
  ASSERT_EQ(versions.body.size(), 1u) << versions.text;
  EXPECT_EQ(versions.body[0]["version"], 1);
  EXPECT_EQ(versions.body[0]["name"], "Note");

  const Answer old = Get("/api/clippings/" + id + "/versions/1");
  ASSERT_EQ(old.status, 200) << old.text;
  EXPECT_EQ(old.body["items"][0]["text"], "first text");
  EXPECT_EQ(Get("/api/clippings/" + id + "/versions/7").status, 404);

  const Answer reverted = Post("/api/clippings/" + id + "/versions/1/revert", json::object());
  ASSERT_EQ(reverted.status, 200) << reverted.text;
  EXPECT_EQ(Get("/api/clippings/" + id).body["items"][0]["text"], "first text");
  EXPECT_EQ(Get("/api/clippings/" + id + "/versions").body.size(), 2u);
  EXPECT_EQ(Post("/api/clippings/" + id + "/versions/9/revert", json::object()).status, 404);
}

}  // namespace
}  // namespace clipcat::gateway_test
