// The access manager's registry: keys without case or by position, the default catalog kept
// while its details are the same, and the errors of a manager that holds nothing.
#include <functional>
#include <vector>

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
  for (const int32_t position : {0, 2}) {
    EXPECT_EQ(RaisedNumber([&] { manager.Item(Variant(position)); }), err::kInvalidProcedureCall);
  }
  EXPECT_EQ(RaisedNumber([&] { manager.SetDefaultConnectionDetails(nullptr); }),
            err::kObjectVariableNotSet);
  // Equal details (another object) keep the catalog; details that differ in anything make a new
  // one.
  manager.SetDefaultConnectionDetails(FileDetails("/nowhere/a.db"));
  EXPECT_EQ(manager.GetDefaultDataAccessObject(), first);
  const std::vector<std::function<void(ConnectionDetails&)>> changes = {
      [](ConnectionDetails& d) { d.SetDataSourceType(3); },
      [](ConnectionDetails& d) { d.SetClippingManagerServerName("other"); },
      [](ConnectionDetails& d) { d.SetClippingSourceName("other"); },
      [](ConnectionDetails& d) { d.SetConnectionString(FileCatalogConnectionString("/b.db")); },
  };
  for (size_t i = 0; i < changes.size(); ++i) {
    const auto held = manager.GetDefaultDataAccessObject();
    auto details = FileDetails("/nowhere/a.db");
    changes[i](*details);
    manager.SetDefaultConnectionDetails(details);
    EXPECT_NE(manager.GetDefaultDataAccessObject(), held) << i;
    manager.SetDefaultConnectionDetails(FileDetails("/nowhere/a.db"));
  }
  EXPECT_EQ(manager.Count(), 1);

  manager.Remove(Variant("P9"));  // missing: nothing happens
  EXPECT_EQ(manager.Count(), 1);
  manager.Remove(Variant("D"));
  EXPECT_EQ(manager.Count(), 0);

  // A default catalog of an unknown kind is none: every id routes to nothing, and whatever
  // walks the entries (the teardown too) passes over it.
  {
    ClippingAccessManager unknown_kind;
    auto unknown = FileDetails("/nowhere/u.db");
    unknown->SetDataSourceType(0);
    unknown_kind.SetDefaultConnectionDetails(unknown);
    EXPECT_EQ(unknown_kind.GetDefaultDataAccessObject(), nullptr);
    EXPECT_EQ(unknown_kind.GetDataAccessObject("5", true), nullptr);
    EXPECT_EQ(unknown_kind.GetDataAccessObject("P1C5", false), nullptr);
    unknown_kind.ReleaseDataAccessObject("5");
    unknown_kind.RollbackLeftoverTransactions();
    EXPECT_EQ(unknown_kind.Count(), 1);
    unknown_kind.Remove(Variant("D"));
    EXPECT_EQ(unknown_kind.Count(), 0);
    unknown_kind.SetDefaultConnectionDetails(unknown);
  }

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
