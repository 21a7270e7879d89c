// ClippingAccessManager: the registry of one thread's open catalogs. It holds the data access
// object of the default catalog (key "D") and one for each external catalog an item id has been
// routed to (key "P" + the catalog id), creates them on demand and closes them when it ends.
// Private to the component; used by one thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "entities/connection_details.h"
#include "store/data_access.h"
#include "util/variant.h"

namespace clipcat {

class ClippingAccessManager {
 public:
  ClippingAccessManager() = default;
  // Closes every catalog it holds; errors are ignored.
  ~ClippingAccessManager();
  ClippingAccessManager(const ClippingAccessManager&) = delete;
  ClippingAccessManager& operator=(const ClippingAccessManager&) = delete;

  // The number of entries.
  int32_t Count() const;

  // Closes and removes the entry of `key` (a text key, compared without regard to case, or a
  // 1-based position). A missing key does nothing; errors are ignored.
  void Remove(const Variant& key);

  // The entry of `key` (text or 1-based position). Raises 5 for a missing key.
  std::shared_ptr<DataAccess> Item(const Variant& key) const;

  // The entries in insertion order.
  std::vector<std::shared_ptr<DataAccess>> Entries() const;

  // Rolls back whatever transaction any held catalog has left open. Never raises.
  void RollbackLeftoverTransactions();

  // Holds `details` as the default catalog's details. The first call, and any later call whose
  // details differ in DataSourceType, ClippingManagerServerName, ClippingSourceName or
  // ConnectionString, drops every entry and creates the "D" entry anew; equal details keep the
  // open catalogs. REQUIRES: details is not null.
  void SetDefaultConnectionDetails(const std::shared_ptr<ConnectionDetails>& details);

  // Always raises 91: nothing in the component reads the default details back.
  std::shared_ptr<ConnectionDetails> DefaultConnectionDetails() const;

  // The "D" entry. Raises 5 when default details were never set.
  std::shared_ptr<DataAccess> GetDefaultDataAccessObject() const;

  // The data access object that holds `sItemID`: for an id containing "P" the external catalog it
  // names (looked up in the default catalog on every call, created on first use), otherwise the
  // default catalog. Sets the object's ExternalCatalogID and IsPersonalCatalog on every call.
  // Never raises: nullptr when no object could be found or made.
  std::shared_ptr<DataAccess> GetDataAccessObject(const std::string& sItemID,
                                                  bool bIsPersonalCatalog);

  // Closes and forgets the external catalog that `sItemID` belongs to; an id of the default
  // catalog releases nothing. Never raises.
  void ReleaseDataAccessObject(const std::string& sItemID);

  // The data access object for catalog `details`, not yet opened: a file catalog for data source
  // type 1, a server catalog for 2, a file catalog given the details' whole XML for 3, nullptr for
  // any other type.
  static std::shared_ptr<DataAccess> CreateDataAccessObject(const ConnectionDetails& details);

 private:
  using Entry = std::pair<std::string, std::shared_ptr<DataAccess>>;

  void ResetDefaultCatalog(const std::shared_ptr<ConnectionDetails>& details);
  void CloseAllCatalogs();
  // The position (from 0) of `key`, or -1.
  int FindKey(const std::string& key) const;
  int PositionOf(const Variant& key) const;

  std::vector<Entry> entries_;
  std::shared_ptr<ConnectionDetails> default_details_;
};

}  // namespace clipcat
