// ClippingAccessManager: when new default details replace the default catalog's object. Routing
// and releasing entries are checked through the services that route and release.
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

TEST(ClippingAccessManager, EqualDetailsKeepTheDefaultObjectAnyDifferenceReplacesIt) {
  const std::string cs = FileCatalogConnectionString("/a/b.db");
  ClippingAccessManager manager;
  manager.SetDefaultConnectionDetails(Details(1, "srv", "src", cs));
  const auto first = manager.GetDefaultDataAccessObject();
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

}  // namespace
}  // namespace clipcat::service_test
