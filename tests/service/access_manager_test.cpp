// ClippingAccessManager: the keyed entries, the default details, the kinds of data access objects
// it creates, and routing of item ids to the default or an external catalog.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "service/clipping_access_manager.h"
#include "service/service_fixture.h"
#include "util/item_id.h"
#include "util/variant.h"

namespace clipcat::service_test {
namespace {

std::shared_ptr<ConnectionDetails> Details(int32_t type, const std::string& server,
                                           const std::string& source,
                                           const std::string& connection_string) {
  auto details = ConnectionDetails::Create();
  details->SetDataSourceType(type);
  details->SetClippingManagerServerName(server);
  details->SetClippingSourceName(source);
  details->SetConnectionString(connection_string);
  return details;
}

TEST(ClippingAccessManager, NewManagerIsEmptyAndRaisesFiveForMissingEntries) {
  ClippingAccessManager manager;
  EXPECT_EQ(manager.Count(), 0);
  EXPECT_TRUE(manager.Entries().empty());
  EXPECT_EQ(RaisedBy([&] { manager.GetDefaultDataAccessObject(); }).number,
            err::kInvalidProcedureCall);
  for (const Variant& key : {Variant("D"), Variant("P1"), Variant(1), Variant(0), Variant(-1)}) {
    EXPECT_EQ(RaisedBy([&] { manager.Item(key); }).number, err::kInvalidProcedureCall)
        << key.ToText();
  }
  // Nothing to remove: not an error.
  EXPECT_EQ(RaisedBy([&] { manager.Remove(Variant("D")); }).number, 0);
  EXPECT_EQ(RaisedBy([&] { manager.Remove(Variant(1)); }).number, 0);
  EXPECT_EQ(manager.Count(), 0);
}

TEST(ClippingAccessManager, DefaultConnectionDetailsGetterAlwaysRaises91) {
  ClippingAccessManager manager;
  EXPECT_EQ(RaisedBy([&] { manager.DefaultConnectionDetails(); }).number,
            err::kObjectVariableNotSet);
  manager.SetDefaultConnectionDetails(Details(1, "", "", "Data Source=x;"));
  EXPECT_EQ(RaisedBy([&] { manager.DefaultConnectionDetails(); }).number,
            err::kObjectVariableNotSet);
  // The failed read leaves the default catalog in place.
  EXPECT_EQ(manager.Count(), 1);
}

TEST(ClippingAccessManager, FirstDetailsCreateTheDefaultEntryFoundByKeyAnyCaseOrPosition) {
  ClippingAccessManager manager;
  const auto details = Details(1, "server", "source", FileCatalogConnectionString("/a/b.db"));
  manager.SetDefaultConnectionDetails(details);
  ASSERT_EQ(manager.Count(), 1);
  const auto d = manager.GetDefaultDataAccessObject();
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(manager.Item(Variant("D")), d);
  EXPECT_EQ(manager.Item(Variant("d")), d);
  EXPECT_EQ(manager.Item(Variant(1)), d);
  EXPECT_EQ(manager.Item(Variant(1.0)), d);
  EXPECT_EQ(RaisedBy([&] { manager.Item(Variant(2)); }).number, err::kInvalidProcedureCall);
  EXPECT_EQ(d->ConnectionString(), details->ConnectionString());
  // Created, not opened: the catalog opens on first use.
  EXPECT_FALSE(d->IsOpen());
}

TEST(ClippingAccessManager, EqualDetailsKeepTheDefaultObjectAnyDifferenceReplacesIt) {
  const std::string cs = FileCatalogConnectionString("/a/b.db");
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(Details(1, "srv", "src", cs));
  const auto first = manager.GetDefaultDataAccessObject();

  // Another object with the four compared properties equal: the same "D" object. The personal
  // flag is not one of them.
  auto equal = Details(1, "srv", "src", cs);
  equal->SetIsPersonalCatalog(true);
  manager.SetDefaultConnectionDetails(equal);
  EXPECT_EQ(manager.GetDefaultDataAccessObject(), first);
  EXPECT_EQ(manager.Count(), 1);

  // Each property on its own, including differences of letter case only, replaces it.
  const std::vector<std::shared_ptr<ConnectionDetails>> different = {
      Details(2, "srv", "src", cs),
      Details(1, "SRV", "src", cs),
      Details(1, "srv2", "src", cs),
      Details(1, "srv", "Src", cs),
      Details(1, "srv", "", cs),
      Details(1, "srv", "src", cs + " "),
      Details(1, "srv", "src", FileCatalogConnectionString("/a/B.db")),
  };
  for (size_t i = 0; i < different.size(); ++i) {
    SCOPED_TRACE(i);
    manager.SetDefaultConnectionDetails(Details(1, "srv", "src", cs));
    const auto before = manager.GetDefaultDataAccessObject();
    manager.SetDefaultConnectionDetails(different[i]);
    const auto after = manager.GetDefaultDataAccessObject();
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after, before);
    EXPECT_EQ(after->ConnectionString(), different[i]->ConnectionString());
    EXPECT_EQ(manager.Count(), 1);
  }
}

TEST(ClippingAccessManager, CreatesTheObjectKindOfEachDataSourceType) {
  const std::string cs = FileCatalogConnectionString("/a/b.db");
  for (int32_t type : {1, 2, 3}) {
    SCOPED_TRACE(type);
    const auto details = Details(type, "srv", "src", cs);
    const auto made = ClippingAccessManager::CreateDataAccessObject(*details);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(dynamic_cast<DataAccessSQL*>(made.get()) != nullptr, type == 2);
    EXPECT_EQ(dynamic_cast<DataAccessMDB*>(made.get()) != nullptr, type != 2);
    // The clipping manager kind is given the whole XML text, not the connection string.
    EXPECT_EQ(made->ConnectionString(), type == 3 ? details->XML() : cs);
    EXPECT_FALSE(made->IsOpen());
  }
  for (int32_t type : {0, 4, -1, 100}) {
    EXPECT_EQ(ClippingAccessManager::CreateDataAccessObject(*Details(type, "", "", cs)), nullptr)
        << type;
  }
}

TEST(ClippingAccessManager, TypeThreeDefaultCatalogIsAFileCatalogNamedByTheXML) {
  ClippingAccessManager manager;
  const auto details = Details(3, "srv", "src", FileCatalogConnectionString("/a/b.db"));
  const std::string xml = details->XML();
  manager.SetDefaultConnectionDetails(details);
  const auto d = manager.GetDefaultDataAccessObject();
  ASSERT_NE(dynamic_cast<DataAccessMDB*>(d.get()), nullptr);
  EXPECT_EQ(d->ConnectionString(), xml);
  EXPECT_NE(d->ConnectionString(), details->ConnectionString());
}

TEST(ClippingAccessManager, UnknownDataSourceTypeLeavesAnEmptyDefaultAndRoutesNowhere) {
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(Details(0, "", "", "Data Source=x;"));
  EXPECT_EQ(manager.Count(), 1);
  EXPECT_EQ(manager.GetDefaultDataAccessObject(), nullptr);
  // Without a default catalog there is no row to read an external catalog from either.
  for (const std::string& id : std::vector<std::string>{"15", "1", "", "P1C1", "P7C15", "XP1C2"}) {
    std::shared_ptr<DataAccess> routed;
    EXPECT_EQ(RaisedBy([&] { routed = manager.GetDataAccessObject(id, true); }).number, 0) << id;
    EXPECT_EQ(routed, nullptr) << id;
  }
  EXPECT_EQ(manager.Count(), 1);
}

using ClippingAccessManagerCatalogs = ServiceFixture;

TEST_F(ClippingAccessManagerCatalogs, ResetReleasesTheDroppedObjectsWithoutClosingThem) {
  const std::string other = NewCatalog("other", "Other");
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  const auto first = manager.GetDefaultDataAccessObject();
  first->OpenCatalog("", "", "");
  ASSERT_TRUE(first->IsOpen());

  manager.SetDefaultConnectionDetails(FileDetails(other));
  const auto second = manager.GetDefaultDataAccessObject();
  EXPECT_NE(second, first);
  EXPECT_EQ(manager.Count(), 1);
  // Only released: whoever still holds it finds it open.
  EXPECT_TRUE(first->IsOpen());
  EXPECT_EQ(second->GetPersonalCatalogRootFolder()->Name(), "Other");
  EXPECT_EQ(first->GetPersonalCatalogRootFolder()->Name(), "Personal");
}

TEST_F(ClippingAccessManagerCatalogs, RoutesPlainIdsToTheDefaultAndTaggedIdsToTheirCatalog) {
  const std::string path_a = NewCatalog("a", "A root");
  const std::string path_b = NewCatalog("b", "B root");
  const int32_t a = Link(path_a, "Alpha")->ExternalCatalogID();
  const int32_t b = Link(path_b, "Beta")->ExternalCatalogID();
  ASSERT_GT(a, 0);
  ASSERT_GT(b, 0);
  ASSERT_NE(a, b);
  const std::string pa = "P" + std::to_string(a);
  const std::string pb = "P" + std::to_string(b);

  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  const auto d = manager.GetDefaultDataAccessObject();

  // Ids without an upper-case "P" belong to the default catalog.
  for (const std::string& id :
       std::vector<std::string>{"15", "1", "0", "", "C15", "p1c5", "999999"}) {
    d->SetExternalCatalogID(Variant(77));
    EXPECT_EQ(manager.GetDataAccessObject(id, false), d) << id;
    EXPECT_EQ(d->ExternalCatalogID(), 0) << id;
  }
  EXPECT_EQ(manager.Count(), 1);

  const auto in_a = manager.GetDataAccessObject(pa + "C15", false);
  ASSERT_NE(in_a, nullptr);
  EXPECT_NE(in_a, d);
  EXPECT_EQ(in_a->ExternalCatalogID(), a);
  EXPECT_EQ(in_a->ConnectionString(), FileCatalogConnectionString(path_a));
  EXPECT_NE(dynamic_cast<DataAccessMDB*>(in_a.get()), nullptr);
  EXPECT_EQ(manager.Item(Variant(pa)), in_a);
  EXPECT_EQ(manager.Item(Variant("p" + std::to_string(a))), in_a);

  // Any item of the same catalog reuses the object; its catalog id is set again on every call.
  in_a->SetExternalCatalogID(Variant(0));
  EXPECT_EQ(manager.GetDataAccessObject(pa + "C1", false), in_a);
  EXPECT_EQ(in_a->ExternalCatalogID(), a);

  const auto in_b = manager.GetDataAccessObject(pb + "C3", false);
  ASSERT_NE(in_b, nullptr);
  EXPECT_NE(in_b, in_a);
  EXPECT_EQ(in_b->ExternalCatalogID(), b);
  EXPECT_EQ(in_b->ConnectionString(), FileCatalogConnectionString(path_b));

  EXPECT_EQ(manager.Count(), 3);
  EXPECT_EQ(manager.Entries(), (std::vector<std::shared_ptr<DataAccess>>{d, in_a, in_b}));
  EXPECT_EQ(manager.Item(Variant(2)), in_a);
  EXPECT_EQ(manager.Item(Variant(3)), in_b);

  // The routed objects serve their own catalogs, and tag what they answer.
  EXPECT_EQ(in_a->GetCatalogsRootFolder(pa + "C1")->Name(), "A root");
  EXPECT_EQ(in_a->GetCatalogsRootFolder(pa + "C1")->ID(), pa + "C1");
  EXPECT_EQ(in_b->GetCatalogsRootFolder(pb + "C1")->ID(), pb + "C1");
  EXPECT_EQ(d->GetCatalogsRootFolder("1")->Name(), "Personal");
}

TEST_F(ClippingAccessManagerCatalogs, SetsThePersonalFlagOfTheCallerOnEveryCall) {
  const int32_t a = Link(NewCatalog("a", "A root"), "Alpha")->ExternalCatalogID();
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  for (const std::string& id :
       std::vector<std::string>{std::string("15"), "P" + std::to_string(a) + "C15"}) {
    for (bool flag : {true, false, true, false}) {
      const auto routed = manager.GetDataAccessObject(id, flag);
      ASSERT_NE(routed, nullptr) << id;
      EXPECT_EQ(routed->IsPersonalCatalog(), flag) << id;
    }
  }
}

TEST_F(ClippingAccessManagerCatalogs, ReadsTheExternalCatalogRowOnEveryCall) {
  const int32_t a = Link(NewCatalog("a", "A root"), "Alpha")->ExternalCatalogID();
  const std::string id = "P" + std::to_string(a) + "C1";
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  const auto first = manager.GetDataAccessObject(id, false);
  ASSERT_NE(first, nullptr);
  const auto d = manager.GetDefaultDataAccessObject();
  d->CloseCatalog();
  // The held object is reused, but the default catalog was asked for the row again.
  EXPECT_EQ(manager.GetDataAccessObject(id, false), first);
  EXPECT_TRUE(d->IsOpen());
}

TEST_F(ClippingAccessManagerCatalogs, UnknownOrUnreadableCatalogIdsGiveNothingAndAddNoEntry) {
  Link(NewCatalog("a", "A root"), "Alpha");
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  for (const std::string& id :
       std::vector<std::string>{"P999C1", "P0C1", "PC1", "P12", "XP1C2", "P1xC2", "P-1C1"}) {
    std::shared_ptr<DataAccess> routed;
    EXPECT_EQ(RaisedBy([&] { routed = manager.GetDataAccessObject(id, false); }).number, 0) << id;
    EXPECT_EQ(routed, nullptr) << id;
    EXPECT_EQ(manager.Count(), 1) << id;
  }
}

TEST_F(ClippingAccessManagerCatalogs, ReleaseClosesAndForgetsOnlyTheCatalogOfATaggedId) {
  const int32_t a = Link(NewCatalog("a", "A root"), "Alpha")->ExternalCatalogID();
  const int32_t b = Link(NewCatalog("b", "B root"), "Beta")->ExternalCatalogID();
  const std::string pa = "P" + std::to_string(a);
  const std::string pb = "P" + std::to_string(b);
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  const auto d = manager.GetDefaultDataAccessObject();
  const auto in_a = manager.GetDataAccessObject(pa + "C1", false);
  const auto in_b = manager.GetDataAccessObject(pb + "C1", false);
  ASSERT_NE(in_a, nullptr);
  ASSERT_NE(in_b, nullptr);
  in_a->OpenCatalog("", "", "");
  in_b->OpenCatalog("", "", "");
  ASSERT_TRUE(d->IsOpen());

  // Ids of the default catalog release nothing.
  for (const std::string& id :
       std::vector<std::string>{"15", "1", "", "0", "p" + std::to_string(a) + "c1"}) {
    manager.ReleaseDataAccessObject(id);
    EXPECT_EQ(manager.Count(), 3) << id;
  }
  EXPECT_TRUE(d->IsOpen());
  EXPECT_TRUE(in_a->IsOpen());

  // Any item of catalog a releases catalog a, and only it.
  manager.ReleaseDataAccessObject(pa + "C999");
  EXPECT_EQ(manager.Entries(), (std::vector<std::shared_ptr<DataAccess>>{d, in_b}));
  EXPECT_FALSE(in_a->IsOpen());
  EXPECT_TRUE(in_b->IsOpen());
  EXPECT_TRUE(d->IsOpen());
  // A second release, or one of a catalog never held, does nothing.
  manager.ReleaseDataAccessObject(pa + "C1");
  manager.ReleaseDataAccessObject("P999C1");
  EXPECT_EQ(manager.Count(), 2);

  // The next call for catalog a makes a fresh object.
  const auto again = manager.GetDataAccessObject(pa + "C1", false);
  ASSERT_NE(again, nullptr);
  EXPECT_NE(again, in_a);
  EXPECT_EQ(manager.Item(Variant(3)), again);
}

TEST_F(ClippingAccessManagerCatalogs, RemoveClosesTheEntryByKeyInAnyCaseOrByPosition) {
  const int32_t a = Link(NewCatalog("a", "A root"), "Alpha")->ExternalCatalogID();
  const int32_t b = Link(NewCatalog("b", "B root"), "Beta")->ExternalCatalogID();
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(personal_);
  const auto d = manager.GetDefaultDataAccessObject();
  const auto in_a = manager.GetDataAccessObject("P" + std::to_string(a) + "C1", false);
  const auto in_b = manager.GetDataAccessObject("P" + std::to_string(b) + "C1", false);
  in_a->OpenCatalog("", "", "");
  in_b->OpenCatalog("", "", "");

  manager.Remove(Variant("p" + std::to_string(b)));
  EXPECT_FALSE(in_b->IsOpen());
  EXPECT_EQ(manager.Entries(), (std::vector<std::shared_ptr<DataAccess>>{d, in_a}));
  for (const Variant& missing : {Variant("P999"), Variant(3), Variant(0), Variant("")}) {
    manager.Remove(missing);
    EXPECT_EQ(manager.Count(), 2);
  }
  manager.Remove(Variant(2));
  EXPECT_FALSE(in_a->IsOpen());
  EXPECT_EQ(manager.Entries(), (std::vector<std::shared_ptr<DataAccess>>{d}));
}

TEST_F(ClippingAccessManagerCatalogs, DestructionClosesEveryCatalogItHolds) {
  const int32_t a = Link(NewCatalog("a", "A root"), "Alpha")->ExternalCatalogID();
  std::shared_ptr<DataAccess> d;
  std::shared_ptr<DataAccess> in_a;
  {
    ClippingAccessManager manager;
    manager.SetDefaultConnectionDetails(personal_);
    d = manager.GetDefaultDataAccessObject();
    in_a = manager.GetDataAccessObject("P" + std::to_string(a) + "C1", false);
    ASSERT_NE(in_a, nullptr);
    in_a->OpenCatalog("", "", "");
    ASSERT_TRUE(d->IsOpen());
    ASSERT_TRUE(in_a->IsOpen());
  }
  EXPECT_FALSE(d->IsOpen());
  EXPECT_FALSE(in_a->IsOpen());
}

}  // namespace
}  // namespace clipcat::service_test
