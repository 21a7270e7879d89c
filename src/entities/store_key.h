// The passkey that guards the setters of properties only the catalog store may fill (a folder's
// status, a clipping's dates ...). Clients can read those properties but cannot name a StoreKey,
// so they cannot call the setters. Stateless.
#pragma once

namespace clipcat {

class DataAccess;
class ClippingDataRead;
class ClippingDataWrite;

// Only DataAccess can make one; it passes `StoreKey()` to the guarded setters, e.g.
// `folder->SetStatus(StoreKey(), 3)`. The two services may too: they mark unreachable linked
// catalogs (status 4) and show a linked catalog's root under the linking folder's dates.
class StoreKey {
  friend class DataAccess;
  friend class ClippingDataRead;
  friend class ClippingDataWrite;
  class ClippingDataRead;
  class ClippingDataWrite;
  StoreKey() = default;
};

}  // namespace clipcat
