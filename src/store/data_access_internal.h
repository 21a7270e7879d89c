// Members of DataAccess that only the library itself may call: the key generator, for the
// service layer's own checks and for tests. Not part of the public interface.
#pragma once

#include <cstdint>
#include <string>

#include "store/data_access.h"

namespace clipcat {

class DataAccessInternal {
 public:
  static int32_t GetNextID(DataAccess& data_access, const std::string& sTableBaseName,
                           const std::string& sGUID) {
    return data_access.GetNextID(sTableBaseName, sGUID);
  }
};

}  // namespace clipcat
