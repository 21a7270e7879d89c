// Per-thread sharing of the ClippingAccessManager: every service object of a thread uses the one
// manager that the thread's first service call created, until a service object of the thread is
// destroyed. No two threads ever share a manager.
#pragma once

#include <memory>

#include "entities/connection_details.h"
#include "service/clipping_access_manager.h"

namespace clipcat {

// The calling thread's manager, created with `details` as its default catalog on first use. An
// existing manager is answered as it is: later details are not applied to it. Raises 91 when a
// manager must be created and `details` is null.
std::shared_ptr<ClippingAccessManager> GetAccessManager(
    const std::shared_ptr<ConnectionDetails>& details);

// Drops the calling thread's manager; its catalogs close when the last reference goes.
void ReleaseAccessManager();

// Rolls back whatever transaction the calling thread's catalogs were left with; nothing when the
// thread has no manager. Never raises.
void RollbackLeftoverTransactions();

// Whether every call gets a manager of its own instead of the thread's: always false.
bool UseAccessManagerPerCall();

}  // namespace clipcat
