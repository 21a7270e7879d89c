// How the read and write services find the data access object for a call: by item id, the
// default catalog, or the catalog a linked folder points to. Internal to the service layer.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "entities/connection_details.h"
#include "entities/folder.h"
#include "store/data_access.h"

namespace clipcat::service_internal {

// The data access object of the catalog holding `item_id`, from the thread's manager. Raises 91
// when there is none (an unknown catalog, unreadable connection details).
std::shared_ptr<DataAccess> ItemDataAccess(const std::shared_ptr<ConnectionDetails>& connection,
                                           const std::string& item_id);

// The default catalog's data access object.
std::shared_ptr<DataAccess> DefaultDataAccess(const std::shared_ptr<ConnectionDetails>& connection);

// The data access object of the catalog that the linked folder `folder_id` points to: the folder
// is read from its own catalog and its id composed with its external catalog id. Raises 91 when
// the folder does not exist.
std::shared_ptr<DataAccess> LinkedDataAccess(const std::shared_ptr<ConnectionDetails>& connection,
                                             const std::string& folder_id);

// The id of the folder composed with its external catalog id ("P7C1" for folder 1 linking
// catalog 7): the id that routes to the linked catalog.
std::string LinkedItemID(const Folder& folder);

// The catalog id an item id names, as a number (0 for the default catalog or an unreadable id).
int32_t CatalogIDOf(const std::string& item_id);

// Raises 91 when `object` is null, else answers it: using "nothing" fails as it does for clients.
template <typename T>
const std::shared_ptr<T>& Require(const std::shared_ptr<T>& object);

}  // namespace clipcat::service_internal

#include "util/errors.h"

namespace clipcat::service_internal {

template <typename T>
const std::shared_ptr<T>& Require(const std::shared_ptr<T>& object) {
  if (!object) RaiseRuntimeError(err::kObjectVariableNotSet);
  return object;
}

}  // namespace clipcat::service_internal
