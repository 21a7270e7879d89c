// The clipping routes through HTTP: reading with items as text or one item's bytes, adding with
// text or items, changing, moving, deleting, counting a use, and tagging.
#include "gateway_fixture.h"
#include "util/base64.h"

namespace clipcat::gateway_test {
namespace {

class GatewayClippings : public GatewayTest {
 protected:
  void SetUp() override {
    GatewayTest::SetUp();
    folder_ = NewFolder("1", "Work");
  }
  std::string folder_;
};

TEST_F(GatewayClippings, AddWithTextAnswers201WithTheClipping) {
  const Answer added =
      Post("/api/clippings",
           {{"folder", folder_}, {"name", "Reply"}, {"description", "short"}, {"text", "Thanks"}});
  ASSERT_EQ(added.status, 201) << added.text;
  EXPECT_EQ(added.body["name"], "Reply");
  EXPECT_EQ(added.body["description"], "short");
  EXPECT_EQ(added.body["folder"], folder_);
  ASSERT_EQ(added.body["items"].size(), 1u);
  EXPECT_EQ(added.body["items"][0]["type"], 2);
  EXPECT_EQ(added.body["items"][0]["typename"], "text");
  EXPECT_EQ(added.body["items"][0]["text"], "Thanks");

  const Answer read = Get("/api/clippings/" + added.body["id"].get<std::string>());
  ASSERT_EQ(read.status, 200);
  EXPECT_EQ(read.body["items"][0]["text"], "Thanks");
  EXPECT_TRUE(read.body["accessed"].is_null());
  EXPECT_TRUE(read.body["categories"].empty());
  // The path is its folder's, the whole of it.
  const std::string folder_path = Get("/api/folders/" + folder_).body["path"];
  EXPECT_NE(folder_path.find("Work"), std::string::npos);
  EXPECT_EQ(read.body["path"], folder_path);
}

TEST_F(GatewayClippings, ItemsByNameOrNumberWithTextOrBase64) {
  const std::string rtf = R"({\rtf1\ansi Hello {\b bold} world})";
  const std::string bytes("\x01\x00\xff<x/>", 6);
  const Answer added =
      Post("/api/clippings",
           {{"folder", folder_},
            {"name", "Rich"},
            {"items",
             {{{"type", "rtf"}, {"text", rtf}}, {{"type", 5}, {"base64", EncodeBase64(bytes)}}}}});
  ASSERT_EQ(added.status, 201) << added.text;
  const std::string id = added.body["id"];
  const json items = Get("/api/clippings/" + id).body["items"];
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0]["typename"], "rtf");
  // Rich text is shown as its text.
  EXPECT_NE(items[0]["text"].get<std::string>().find("Hello bold world"), std::string::npos)
      << items[0]["text"];
  EXPECT_EQ(items[1]["type"], 5);
  EXPECT_EQ(items[1]["bytes"], bytes.size());

  // Raw bytes, exactly, with their content type.
  const Answer first = Get("/api/clippings/" + id + "?raw=1");
  EXPECT_EQ(first.text, rtf);
  EXPECT_EQ(first.content_type, "application/rtf");
  const Answer fifth = Get("/api/clippings/" + id + "?raw=1&type=5");
  EXPECT_EQ(fifth.status, 200);
  EXPECT_EQ(fifth.text, bytes);
  EXPECT_EQ(fifth.content_type, "application/xml");
  EXPECT_EQ(Get("/api/clippings/" + id + "?raw=1&type=text").status, 404);
  for (const std::string type : {"nonsense", "5x", "0", "-1"}) {
    EXPECT_EQ(Get("/api/clippings/" + id + "?raw=1&type=" + type).status, 400) << type;
  }
}

TEST_F(GatewayClippings, AddRefusesBadBodiesAndAddsNothing) {
  const std::vector<json> bad = {
      {{"folder", folder_}, {"name", "A"}},  // no content
      {{"folder", folder_}, {"text", "x"}},  // no name
      {{"folder", folder_}, {"name", "A"}, {"text", "x"}, {"items", json::array()}},
      {{"folder", folder_}, {"name", "A"}, {"items", {{{"type", "gif"}, {"text", "x"}}}}},
      {{"folder", folder_}, {"name", "A"}, {"items", {{{"type", 2}}}}},
      {{"folder", folder_}, {"name", "A"}, {"items", {{{"type", 2}, {"base64", "!!"}}}}},
      {{"folder", folder_}, {"name", "A"}, {"items", {{{"type", 0}, {"text", "x"}}}}},
      {{"folder", folder_}, {"name", "A"}, {"items", "text"}},
  };
  for (const json& body : bad) {
    const Answer answer = Post("/api/clippings", body);
    EXPECT_EQ(answer.status, 400) << body.dump();
    ErrorNumber(answer);
  }
  EXPECT_EQ(Post("/api/clippings", {{"folder", "999"}, {"name", "A"}, {"text", "x"}}).status, 404);
  EXPECT_TRUE(Get("/api/folders/" + folder_ + "/clippings").body.empty());
}

TEST_F(GatewayClippings, TakenNameIs409) {
  NewClipping(folder_, "Reply");
  const Answer again =
      Post("/api/clippings", {{"folder", folder_}, {"name", "Reply"}, {"text", "other"}});
  EXPECT_EQ(again.status, 409);
  EXPECT_EQ(ErrorNumber(again), -2147220996);
  EXPECT_EQ(Get("/api/folders/" + folder_ + "/clippings").body.size(), 1u);
}

TEST_F(GatewayClippings, PatchChangesNameDescriptionDataAndFolder) {
  const std::string id = NewClipping(folder_, "Reply", "old");
  NewClipping(folder_, "Other");
  const Answer patched =
      Patch("/api/clippings/" + id, {{"name", "Answer"}, {"description", "d"}, {"text", "new"}});
  ASSERT_EQ(patched.status, 200) << patched.text;
  const Answer read = Get("/api/clippings/" + id);
  EXPECT_EQ(read.body["name"], "Answer");
  EXPECT_EQ(read.body["description"], "d");
  EXPECT_EQ(read.body["items"][0]["text"], "new");

  EXPECT_EQ(Patch("/api/clippings/" + id, {{"name", "Other"}}).status, 409);
  EXPECT_EQ(Get("/api/clippings/" + id).body["name"], "Answer");

  const std::string home = NewFolder("1", "Home");
  const Answer moved = Patch("/api/clippings/" + id, {{"folder", home}});
  ASSERT_EQ(moved.status, 200) << moved.text;
  EXPECT_EQ(moved.body["folder"], home);
  EXPECT_EQ(moved.body["items"][0]["text"], "new");
  EXPECT_EQ(moved.body["path"], Get("/api/folders/" + home).body["path"]);
  EXPECT_EQ(Get("/api/clippings/" + id).body["path"], Get("/api/folders/" + home).body["path"]);
  EXPECT_EQ(Get("/api/folders/" + home + "/clippings").body.size(), 1u);
}

TEST_F(GatewayClippings, UnknownClippingIs404OnEveryRoute) {
  for (const std::string path : {"/api/clippings/999", "/api/clippings/999/categories",
                                 "/api/clippings/999/versions", "/api/clippings/999?raw=1"}) {
    EXPECT_EQ(Get(path).status, 404) << path;
  }
  EXPECT_EQ(Patch("/api/clippings/999", {{"name", "x"}}).status, 404);
  EXPECT_EQ(Delete("/api/clippings/999").status, 404);
  EXPECT_EQ(Post("/api/clippings/999/use", json::object()).status, 404);
  EXPECT_EQ(Post("/api/clippings/999/categories", {{"name", "x"}}).status, 404);
}

TEST_F(GatewayClippings, DeleteIsSoftUnlessPermanently) {
  const std::string soft = NewClipping(folder_, "Soft");
  const std::string hard = NewClipping(folder_, "Hard");
  EXPECT_EQ(Delete("/api/clippings/" + soft).status, 204);
  EXPECT_EQ(Delete("/api/clippings/" + hard + "?permanently=1").status, 204);
  EXPECT_EQ(Get("/api/clippings/" + hard).status, 404);
  const Answer trash = Get("/api/trash");
  ASSERT_EQ(trash.body.size(), 1u);
  EXPECT_EQ(trash.body[0]["id"], soft);
  EXPECT_FALSE(trash.body[0]["deleted"].is_null());
}

TEST_F(GatewayClippings, UseCountsInTheHistory) {
  const std::string first = NewClipping(folder_, "First");
  const std::string second = NewClipping(folder_, "Second");
  EXPECT_TRUE(Get("/api/history").body.empty());
  EXPECT_EQ(Post("/api/clippings/" + first + "/use", json::object()).status, 204);
  EXPECT_EQ(Post("/api/clippings/" + second + "/use", json::object()).status, 204);
  const Answer history = Get("/api/history");
  ASSERT_EQ(history.status, 200);
  ASSERT_EQ(history.body.size(), 2u);
  for (const json& used : history.body) EXPECT_FALSE(used["accessed"].is_null());
  EXPECT_EQ(Get("/api/history?max=1").body.size(), 1u);
  EXPECT_EQ(Get("/api/history?max=zero").status, 400);
}

TEST_F(GatewayClippings, TagAndUntag) {
  const std::string id = NewClipping(folder_, "Reply");
  const Answer tagged = Post("/api/clippings/" + id + "/categories", {{"name", "Mail"}});
  ASSERT_EQ(tagged.status, 201) << tagged.text;
  EXPECT_EQ(tagged.body["name"], "Mail");
  const std::string category = tagged.body["id"];
  EXPECT_EQ(Get("/api/clippings/" + id + "/categories").body[0]["name"], "Mail");
  EXPECT_EQ(Get("/api/clippings/" + id).body["categories"][0]["id"], category);
  EXPECT_EQ(Get("/api/categories/" + category + "/clippings").body[0]["id"], id);

  EXPECT_EQ(Delete("/api/clippings/" + id + "/categories/Nothing").status, 404);
  EXPECT_EQ(Delete("/api/clippings/" + id + "/categories/mail").status, 204);
  EXPECT_TRUE(Get("/api/clippings/" + id + "/categories").body.empty());
  // The category stays, without the clipping.
  EXPECT_EQ(Get("/api/categories/" + category).status, 200);
}

}  // namespace
}  // namespace clipcat::gateway_test
