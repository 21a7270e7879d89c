// The passkey that guards the setters of properties only the catalog store may fill (a folder's
// status, a clipping's dates ...). Clients can read those properties but cannot name a StoreKey,
// so they cannot call the setters. Stateless.
#pragma once

namespace clipcat {

class DataAccess;

// Only DataAccess can make one; it passes `StoreKey()` to the guarded setters, e.g.
// `folder->SetStatus(StoreKey(), 3)`.
class StoreKey {
  friend class DataAccess;
  StoreKey() = default;
};

}  // namespace clipcat
