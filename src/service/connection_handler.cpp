#include "service/connection_handler.h"

#include "util/errors.h"

namespace clipcat {
namespace {

thread_local std::shared_ptr<ClippingAccessManager> t_manager;

std::shared_ptr<ClippingAccessManager> NewManager(
    const std::shared_ptr<ConnectionDetails>& details) {
  if (!details) RaiseRuntimeError(err::kObjectVariableNotSet);
  auto manager = std::make_shared<ClippingAccessManager>();
  manager->SetDefaultConnectionDetails(details);
  return manager;
}

}  // namespace

bool UseAccessManagerPerCall() { return false; }

std::shared_ptr<ClippingAccessManager> GetAccessManager(
    const std::shared_ptr<ConnectionDetails>& details) {
  if (UseAccessManagerPerCall()) return NewManager(details);
  if (!t_manager) t_manager = NewManager(details);
  return t_manager;
}

void ReleaseAccessManager() { t_manager.reset(); }

void RollbackLeftoverTransactions() {
  if (t_manager) t_manager->RollbackLeftoverTransactions();
}

}  // namespace clipcat
