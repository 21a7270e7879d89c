// The late-bound call route through HTTP: what `clipcat call` runs, with JSON arguments and
// results, and its refusals.
#include "gateway_fixture.h"

namespace clipcat::gateway_test {
namespace {

class GatewayCall : public GatewayTest {};

TEST_F(GatewayCall, EntityResultsComeAsXmlAndJson) {
  const std::string folder = NewFolder("1", "Work");
  const std::string id = NewClipping(folder, "Reply", "Thanks");
  const Answer answer =
      Post("/api/call/TORVEL.ClippingDataRead/GetClipping", json::array({id, true}));
  ASSERT_EQ(answer.status, 200) << answer.text;
  const json& result = answer.body["result"];
  EXPECT_EQ(result["type"], "Clipping");
  EXPECT_NE(result["xml"].get<std::string>().find("Name=\"Reply\""), std::string::npos);
  EXPECT_EQ(result["object"]["id"], id);
  EXPECT_EQ(result["object"]["items"][0]["text"], "Thanks");

  const Answer exists =
      Post("/api/call/TORVEL.ClippingDataRead/ClippingNameExists", json::array({"Reply", folder}));
  EXPECT_EQ(exists.body["result"], true);
  const Answer path =
      Post("/api/call/TORVEL.ClippingDataRead/GetFolderPathName", json::array({folder}));
  EXPECT_NE(path.body["result"].get<std::string>().find("Work"), std::string::npos);
}

TEST_F(GatewayCall, ListsComeAsArraysAndWritesWork) {
  NewFolder("1", "Work");
  const Answer added = Post("/api/call/TORVEL.ClippingDataWrite/AddFolder",
                            json::array({"<Folder name=\"Home\"/>", "1"}));
  ASSERT_EQ(added.status, 200) << added.text;
  EXPECT_EQ(added.body["result"]["object"]["name"], "Home");
  const Answer children =
      Post("/api/call/TORVEL.ClippingDataRead/GetChildrenFolders", json::array({"1"}));
  ASSERT_EQ(children.status, 200) << children.text;
  EXPECT_EQ(children.body["result"]["type"], "Folders");
  EXPECT_EQ(children.body["result"]["object"].size(), 2u);
}

TEST_F(GatewayCall, Refusals) {
  EXPECT_EQ(Post("/api/call/TORVEL.Nothing/GetFolder", json::array()).status, 404);
  EXPECT_EQ(Post("/api/call/TORVEL.ClippingDataRead/NoSuchMember", json::array()).status, 404);
  const Answer too_many =
      Post("/api/call/TORVEL.ClippingDataRead/GetFolder", json::array({"1", "2", "3", "4"}));
  EXPECT_EQ(too_many.status, 400);
  EXPECT_EQ(ErrorNumber(too_many), -2147352562);
  EXPECT_EQ(Post("/api/call/TORVEL.ClippingDataRead/GetFolder", {{"a", 1}}).status, 400);
  EXPECT_EQ(
      Post("/api/call/TORVEL.ClippingDataRead/GetFolder", json::array({json::array()})).status,
      400);
  // No request names a catalog of its own: connection details are refused before any call.
  const Answer link =
      Post("/api/call/TORVEL.ClippingDataWrite/AddLinkedFolder",
           json::array({"<connectiondetails connectionstring=\"Provider=Microsoft.Jet.OLEDB.4.0;"
                        "Data Source=/etc/passwd\" datasourcetype=\"1\"/>",
                        "Evil"}));
  EXPECT_EQ(link.status, 400);
  EXPECT_EQ(Get("/api/folders").body[0]["children"].size(), 0u);
}

}  // namespace
}  // namespace clipcat::gateway_test
