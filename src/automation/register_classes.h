// Fills the ProgID registry with every class clipcat publishes: the two services and the entity
// and list classes. Safe to call from any thread and any number of times.
#pragma once

namespace clipcat {

// Registers "TORVEL.ClippingDataRead", "TORVEL.ClippingDataWrite" and "TORVEL." plus the name of
// every entity and list class. Only the first call does anything; later calls return at once.
void RegisterClasses();

}  // namespace clipcat
