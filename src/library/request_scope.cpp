#include "library/request_scope.h"

#include "service/connection_handler.h"

namespace clipcat {

RequestScope::~RequestScope() { RollbackLeftoverTransactions(); }

}  // namespace clipcat
