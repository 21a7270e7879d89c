// The access manager's registry: keys without case or by position, the default catalog kept
// while its details are the same, and the errors of a manager that holds nothing.
#include "service/clipping_access_manager.h"
#include "service/service_fixture.h"

namespace clipcat::service_test {
namespace {

TEST(AccessManager, KeysPositionsAndTheDefaultCatalogKeptWhileItsDetailsAreTheSame) {
  ClippingAccessManager manager;
  EXPECT_EQ(manager.Count(), 0);
  EXPECT_EQ(RaisedNumber([&] { manager.GetDefaultDataAccessObject(); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(RaisedNumber([&] { manager.Item(Variant("D")); }), err::kInvalidProcedureCall);
  EXPECT_EQ(RaisedNumber([&] { manager.DefaultConnectionDetails(); }), err::kObjectVariableNotSet);

  manager.SetDefaultConnectionDetails(FileDetails("/nowhere/a.db"));
  const auto first = manager.GetDefaultDataAccessObject();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(manager.Item(Variant("d")), first);
  EXPECT_EQ(manager.Item(Variant(int32_t{1})), first);
  EXPECT_EQ(RaisedNumber([&] { manager.Item(Variant(int32_t{2})); }), err::kInvalidProcedureCall);
  // Equal details (another object) keep the catalog; other details make a new one.
  manager.SetDefaultConnectionDetails(FileDetails("/nowhere/a.db"));
  EXPECT_EQ(manager.GetDefaultDataAccessObject(), first);
  manager.SetDefaultConnectionDetails(FileDetails("/nowhere/b.db"));
  EXPECT_NE(manager.GetDefaultDataAccessObject(), first);
  EXPECT_EQ(manager.Count(), 1);

  manager.Remove(Variant("P9"));  // missing: nothing happens
  EXPECT_EQ(manager.Count(), 1);
  manager.Remove(Variant("D"));
  EXPECT_EQ(manager.Count(), 0);

  // The kind of catalog follows the data source type; unknown types make none.
  for (const int32_t type : {1, 2, 3, 0, 7}) {
    auto details = FileDetails("/nowhere/c.db");
    details->SetDataSourceType(type);
    EXPECT_EQ(ClippingAccessManager::CreateDataAccessObject(*details) != nullptr,
              type >= 1 && type <= 3)
        << type;
  }
}

}  // namespace
}  // namespace clipcat::service_test
