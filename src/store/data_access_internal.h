// Members of DataAccess that only the library itself may call: the key generator, for the
// service layer's own checks and for tests, and opening a catalog through an engine of the
// caller's own, for tests that watch the statements an operation runs. Not part of the public
// interface.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "engine/db_connection.h"
#include "store/data_access.h"

namespace clipcat {

class DataAccessInternal {
 public:
  static int32_t GetNextID(DataAccess& data_access, const std::string& sTableBaseName,
                           const std::string& sGUID) {
    return data_access.GetNextID(sTableBaseName, sGUID);
  }

  // Opens the catalog of `data_access` with its kept settings as OpenCatalog does, but through
  // `opener` instead of the engine the connection string names. A later CloseCatalog and reopen
  // goes back to the ordinary engine. Raises what DBConnection::OpenConnection raises.
  static void OpenCatalogThrough(DataAccess& data_access, BackendOpener opener) {
    auto connection = std::make_unique<DBConnection>(std::move(opener));
    connection->OpenConnection(data_access.connection_string_, data_access.user_name_,
                               data_access.password_);
    data_access.connection_ = std::move(connection);
    data_access.is_open_ = true;
  }
};

}  // namespace clipcat
