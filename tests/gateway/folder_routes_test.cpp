// The folder routes through HTTP: the tree, one folder, its clippings, adding, changing, moving
// and deleting, with the statuses of what they refuse.
#include <filesystem>
#include <map>
#include <regex>

#include "gateway_fixture.h"

namespace clipcat::gateway_test {
namespace {

class GatewayFolders : public GatewayTest {};

TEST_F(GatewayFolders, TreeHoldsAddedFoldersUnderTheirParents) {
  const std::string work = NewFolder("1", "Work");
  const std::string mail = NewFolder(work, "Mail");
  const Answer tree = Get("/api/folders");
  ASSERT_EQ(tree.status, 200);
  ASSERT_EQ(tree.body.size(), 1u);
  const json& top = tree.body[0];
  EXPECT_EQ(top["id"], "1");
  EXPECT_EQ(top["name"], "Personal");
  EXPECT_EQ(top["linked"], false);
  EXPECT_EQ(top["online"], true);
  ASSERT_EQ(top["children"].size(), 1u);
  EXPECT_EQ(top["children"][0]["id"], work);
  EXPECT_EQ(top["children"][0]["children"][0]["id"], mail);
  EXPECT_EQ(top["children"][0]["children"][0]["name"], "Mail");
  // ISO 8601 in UTC.
  EXPECT_TRUE(std::regex_match(top["updated"].get<std::string>(),
                               std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)")));
}

TEST_F(GatewayFolders, LinkedCatalogsShowInTheTreeWithTheirStatus) {
  const std::string team = dir_.File("team.db");
  CreateCatalog(team, "Team");
  const std::string gone = dir_.File("gone.db");
  CreateCatalog(gone, "Gone");
  LinkCatalog("Team", team);
  LinkCatalog("Gone", gone);
  std::filesystem::remove(gone);

  const Answer tree = Get("/api/folders");
  ASSERT_EQ(tree.status, 200);
  std::map<std::string, json> by_name;
  // Linked catalogs are top folders beside the catalog's own.
  for (const json& folder : tree.body) by_name[folder["name"]] = folder;
  ASSERT_EQ(by_name.size(), 3u) << tree.text;
  EXPECT_EQ(by_name["Personal"]["linked"], false);
  EXPECT_EQ(by_name["Team"]["linked"], true);
  EXPECT_EQ(by_name["Team"]["online"], true);
  EXPECT_EQ(by_name["Gone"]["linked"], true);
  EXPECT_EQ(by_name["Gone"]["online"], false);
  EXPECT_EQ(by_name["Gone"]["status"], 4);

  // One folder says the same as the tree, and why a linked catalog is offline.
  const Answer gone_folder = Get("/api/folders/" + by_name["Gone"]["id"].get<std::string>());
  ASSERT_EQ(gone_folder.status, 200) << gone_folder.text;
  EXPECT_EQ(gone_folder.body["online"], false) << gone_folder.text;
  EXPECT_EQ(gone_folder.body["status"], 4);
  EXPECT_FALSE(gone_folder.body.value("offline_reason", "").empty()) << gone_folder.text;
  const Answer team_folder = Get("/api/folders/" + by_name["Team"]["id"].get<std::string>());
  ASSERT_EQ(team_folder.status, 200) << team_folder.text;
  EXPECT_EQ(team_folder.body["online"], true);
  EXPECT_FALSE(team_folder.body.contains("offline_reason"));

  // A clipping added under the linked folder lands in the linked catalog, with an id that says so.
  const std::string id = NewClipping(by_name["Team"]["id"], "Shared");
  EXPECT_EQ(Get("/api/clippings/" + id).body["name"], "Shared");
  EXPECT_NE(id.find('P'), std::string::npos) << id;
}

TEST_F(GatewayFolders, OneFolderWithPathChildrenAndClippings) {
  const std::string work = NewFolder("1", "Work");
  NewFolder(work, "Mail");
  const std::string reply = NewClipping(work, "Reply");
  const Answer folder = Get("/api/folders/" + work);
  ASSERT_EQ(folder.status, 200);
  EXPECT_EQ(folder.body["name"], "Work");
  EXPECT_EQ(folder.body["parent"], "1");
  EXPECT_NE(folder.body["path"].get<std::string>().find("Work"), std::string::npos);
  ASSERT_EQ(folder.body["children"].size(), 1u);
  EXPECT_EQ(folder.body["children"][0]["name"], "Mail");

  const Answer clippings = Get("/api/folders/" + work + "/clippings");
  ASSERT_EQ(clippings.status, 200);
  ASSERT_EQ(clippings.body.size(), 1u);
  EXPECT_EQ(clippings.body[0]["id"], reply);
  EXPECT_EQ(clippings.body[0]["name"], "Reply");
  EXPECT_TRUE(clippings.body[0]["accessed"].is_null());
}

TEST_F(GatewayFolders, UnknownFolderIs404) {
  for (const std::string path : {"/api/folders/999", "/api/folders/999/clippings"}) {
    const Answer answer = Get(path);
    EXPECT_EQ(answer.status, 404) << path;
    EXPECT_EQ(ErrorNumber(answer), 5) << path;
  }
  EXPECT_EQ(Patch("/api/folders/999", {{"name", "X"}}).status, 404);
  EXPECT_EQ(Delete("/api/folders/999").status, 404);
  EXPECT_EQ(Post("/api/folders", {{"parent", "999"}, {"name", "X"}}).status, 404);
}

TEST_F(GatewayFolders, AddRefusesBadInputAndTakenNames) {
  NewFolder("1", "Work");
  const Answer taken = Post("/api/folders", {{"parent", "1"}, {"name", "work"}});
  EXPECT_EQ(taken.status, 409);
  EXPECT_EQ(ErrorNumber(taken), -2147220997);
  EXPECT_EQ(Post("/api/folders", {{"parent", "1"}}).status, 400);
  EXPECT_EQ(Post("/api/folders", {{"parent", "1"}, {"name", 7}}).status, 400);
  EXPECT_EQ(PostText("/api/folders", "{not json").status, 400);
  EXPECT_EQ(PostText("/api/folders", "[1]").status, 400);
  // Nothing of the refused requests was added.
  EXPECT_EQ(Get("/api/folders").body[0]["children"].size(), 1u);
}

TEST_F(GatewayFolders, PatchRenamesDescribesAndMoves) {
  const std::string work = NewFolder("1", "Work");
  const std::string home = NewFolder("1", "Home");
  const Answer renamed = Patch("/api/folders/" + work, {{"name", "Job"}, {"description", "d"}});
  ASSERT_EQ(renamed.status, 200) << renamed.text;
  EXPECT_EQ(renamed.body["name"], "Job");
  EXPECT_EQ(renamed.body["description"], "d");
  EXPECT_EQ(Get("/api/folders/" + work).body["name"], "Job");

  EXPECT_EQ(Patch("/api/folders/" + work, {{"name", "Home"}}).status, 409);
  EXPECT_EQ(Get("/api/folders/" + work).body["name"], "Job");

  const Answer moved = Patch("/api/folders/" + work, {{"parent", home}});
  ASSERT_EQ(moved.status, 200) << moved.text;
  EXPECT_EQ(moved.body["parent"], home);
  EXPECT_EQ(moved.body["name"], "Job");
  EXPECT_EQ(Get("/api/folders/" + home).body["children"][0]["name"], "Job");
}

TEST_F(GatewayFolders, DeleteIsSoftUnlessPermanently) {
  const std::string work = NewFolder("1", "Work");
  const std::string home = NewFolder("1", "Home");
  EXPECT_EQ(Delete("/api/folders/" + work).status, 204);
  const Answer trash = Get("/api/trash");
  ASSERT_EQ(trash.body.size(), 1u);
  EXPECT_EQ(trash.body[0]["id"], work);
  EXPECT_EQ(trash.body[0]["kind"], "folder");

  EXPECT_EQ(Delete("/api/folders/" + home + "?permanently=1").status, 204);
  EXPECT_EQ(Get("/api/folders/" + home).status, 404);
  EXPECT_EQ(Get("/api/trash").body.size(), 1u);  // the permanent delete left nothing to restore
}

}  // namespace
}  // namespace clipcat::gateway_test
