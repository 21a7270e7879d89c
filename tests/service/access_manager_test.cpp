// ClippingAccessManager: the default details and routing of item ids to the default or an external
// catalog. Releasing entries is checked through the services that release them.
#include "service/clipping_access_manager.h"
#include "service/service_fixture.h"
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

using Entries = std::vector<std::shared_ptr<DataAccess>>;

TEST(ClippingAccessManager, EqualDetailsKeepTheDefaultObjectAnyDifferenceReplacesIt) {
  const std::string cs = FileCatalogConnectionString("/a/b.db");
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(Details(1, "srv", "src", cs));
  const auto first = manager.GetDefaultDataAccessObject();
  for (const Variant& key : {Variant("d"), Variant(1.0)}) EXPECT_EQ(manager.Item(key), first);
  // The personal flag is not compared.
  auto equal = Details(1, "srv", "src", cs);
  equal->SetIsPersonalCatalog(true);
  manager.SetDefaultConnectionDetails(equal);
  EXPECT_EQ(manager.GetDefaultDataAccessObject(), first);
  // Each property on its own, including differences of letter case only, replaces it.
  for (const auto& different :
       {Details(2, "srv", "src", cs), Details(1, "SRV", "src", cs), Details(1, "srv", "Src", cs),
        Details(1, "srv", "src", FileCatalogConnectionString("/a/B.db"))}) {
    manager.SetDefaultConnectionDetails(Details(1, "srv", "src", cs));
    const auto before = manager.GetDefaultDataAccessObject();
    manager.SetDefaultConnectionDetails(different);
    const auto after = manager.GetDefaultDataAccessObject();
    ASSERT_NE(after, nullptr);
    EXPECT_NE(after, before);
    EXPECT_EQ(after->ConnectionString(), different->ConnectionString());
    EXPECT_EQ(manager.Count(), 1);
  }
}

class ClippingAccessManagerCatalogs : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    path_a_ = NewCatalog("a", "A root");
    pa_ = "P" + std::to_string(Link(path_a_, "Alpha")->ExternalCatalogID());
    pb_ = "P" + std::to_string(Link(NewCatalog("b", "B root"), "Beta")->ExternalCatalogID());
    manager_.SetDefaultConnectionDetails(personal_);
    d_ = manager_.GetDefaultDataAccessObject();
  }

  std::string path_a_, pa_, pb_;
  ClippingAccessManager manager_;
  std::shared_ptr<DataAccess> d_;
};

TEST_F(ClippingAccessManagerCatalogs, RoutesPlainIdsToTheDefaultAndTaggedIdsToTheirCatalog) {
  // Ids without an upper-case "P" belong to the default catalog.
  for (const std::string id : {"15", "", "C15", "p1c5"}) {
    d_->SetExternalCatalogID(Variant(77));
    EXPECT_EQ(manager_.GetDataAccessObject(id, false), d_) << id;
    EXPECT_EQ(d_->ExternalCatalogID(), 0) << id;
  }
  const auto in_a = manager_.GetDataAccessObject(pa_ + "C15", false);
  ASSERT_NE(in_a, nullptr);
  EXPECT_EQ(in_a->ConnectionString(), FileCatalogConnectionString(path_a_));
  EXPECT_EQ(manager_.Item(Variant("p" + pa_.substr(1))), in_a);
  // Any item of the same catalog reuses the object; its catalog id and the caller's personal
  // flag are set again on every call, after the row was read again.
  in_a->SetExternalCatalogID(Variant(0));
  d_->CloseCatalog();
  EXPECT_EQ(manager_.GetDataAccessObject(pa_ + "C1", true), in_a);
  EXPECT_EQ("P" + std::to_string(in_a->ExternalCatalogID()), pa_);
  EXPECT_TRUE(in_a->IsPersonalCatalog());
  EXPECT_TRUE(d_->IsOpen());
  const auto in_b = manager_.GetDataAccessObject(pb_ + "C3", false);
  EXPECT_EQ(manager_.Entries(), (Entries{d_, in_a, in_b}));
  EXPECT_EQ(in_a->GetCatalogsRootFolder(pa_ + "C1")->Name(), "A root");
  // Unknown or unreadable catalog ids give nothing and add no entry.
  for (const std::string id : {"P999C1", "P0C1", "PC1", "P12", "XP1C2", "P1xC2", "P-1C1"}) {
    std::shared_ptr<DataAccess> routed;
    EXPECT_EQ(RaisedNumber([&] { routed = manager_.GetDataAccessObject(id, false); }), 0) << id;
    EXPECT_EQ(routed, nullptr) << id;
  }
  EXPECT_EQ(manager_.Count(), 3);
}

}  // namespace
}  // namespace clipcat::service_test
