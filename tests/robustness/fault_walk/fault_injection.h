// Injected failures for the fault walk. On SQLite: a VFS registered over the default one that
// passes every call through to it, and an allocator installed in front of SQLite's own, each of
// which can be told to make the Nth call of one kind fail. A failed I/O call answers the
// SQLITE_IOERR_* code of its kind (the real call is not made); a failed allocation answers no
// memory. The failure is transient: calls after the Nth pass through again. On PostgreSQL: the
// engine's round-trip hook, which shuts the connection's socket down just before the Nth round
// trip, as if the server had gone; that connection stays broken, later connections work.
// Process-wide, single-threaded.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace clipcat::robustness {

enum class FaultKind { kRead, kWrite, kSync, kTruncate, kLock, kAlloc, kRoundTrip };
// What fails on each engine.
inline constexpr std::array<FaultKind, 6> kSqliteFaultKinds = {
    FaultKind::kRead,     FaultKind::kWrite, FaultKind::kSync,
    FaultKind::kTruncate, FaultKind::kLock,  FaultKind::kAlloc};
inline constexpr std::array<FaultKind, 1> kServerFaultKinds = {FaultKind::kRoundTrip};

// "read", "write", "sync", "truncate", "lock", "alloc", "round trip".
std::string FaultKindName(FaultKind kind);

// Shuts SQLite down, installs the allocator and registers the VFS as the default, then initialises
// SQLite again; sets the PostgreSQL round-trip hook. Call once, with no connection open. Raises
// std::runtime_error on failure.
void InstallFaultInjection();

// From now on the `nth` call (counting from 1) of `kind` fails; any earlier arming is dropped.
void ArmFault(FaultKind kind, int64_t nth);

// No call fails any more. Answers whether the armed failure was injected since ArmFault.
bool DisarmFault();

}  // namespace clipcat::robustness
