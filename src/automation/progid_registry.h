// Creates automation objects by ProgID ("TORVEL.ClippingDataRead", ...), the way clients create
// them late-bound. The registry is filled once at start-up and read-only afterwards.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "util/dispatch.h"

namespace clipcat {

using ObjectFactory = std::function<std::shared_ptr<Dispatch>()>;

// Makes `progid` (matched without regard to case) create objects with `factory`. A second
// registration of the same ProgID replaces the first.
void RegisterProgID(const std::string& progid, ObjectFactory factory);

// A new object of the class registered under `progid`. Raises 429 "ActiveX component can't create
// object" for a ProgID nobody registered.
std::shared_ptr<Dispatch> CreateObject(const std::string& progid);

// Every registered ProgID, in registration order.
std::vector<std::string> RegisteredProgIDs();

}  // namespace clipcat
