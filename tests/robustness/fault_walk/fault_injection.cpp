#include "robustness/fault_walk/fault_injection.h"

#include <sqlite3.h>
#include <sys/socket.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "engine/postgres_session.h"

namespace clipcat::robustness {
namespace {

struct Armed {
  bool on = false;
  FaultKind kind = FaultKind::kRead;
  int64_t nth = 0;
  int64_t seen = 0;
  bool injected = false;
};
Armed armed;

// True when this call of `kind` is the one to fail.
bool ShouldFail(FaultKind kind) {
  if (!armed.on || armed.kind != kind) return false;
  if (++armed.seen != armed.nth) return false;
  armed.injected = true;
  return true;
}

// ---- PostgreSQL: the Nth round trip finds its connection shut down ----

void FailingRoundTrip(PGconn* conn) {
  if (ShouldFail(FaultKind::kRoundTrip) && PQsocket(conn) >= 0) shutdown(PQsocket(conn), SHUT_RDWR);
}

// ---- Allocator: SQLite's own, in front of which the Nth allocation fails ----

sqlite3_mem_methods real_memory;

void* FaultyMalloc(int size) {
  return ShouldFail(FaultKind::kAlloc) ? nullptr : real_memory.xMalloc(size);
}
void* FaultyRealloc(void* old, int size) {
  return ShouldFail(FaultKind::kAlloc) ? nullptr : real_memory.xRealloc(old, size);
}
void FaultyFree(void* p) { real_memory.xFree(p); }
int FaultySize(void* p) { return real_memory.xSize(p); }
int FaultyRoundup(int size) { return real_memory.xRoundup(size); }
int FaultyInit(void* data) { return real_memory.xInit(data); }
void FaultyShutdown(void* data) { real_memory.xShutdown(data); }

sqlite3_mem_methods faulty_memory = {&FaultyMalloc,  &FaultyFree, &FaultyRealloc,  &FaultySize,
                                     &FaultyRoundup, &FaultyInit, &FaultyShutdown, nullptr};

// ---- VFS: every call goes to the default VFS; the chosen kind's Nth fails ----

sqlite3_vfs* real_vfs = nullptr;

// Our file, followed in the same allocation by the real VFS's file.
struct ShimFile {
  sqlite3_file base;
  sqlite3_file* real;
};

sqlite3_file* Real(sqlite3_file* file) { return reinterpret_cast<ShimFile*>(file)->real; }

int ShimClose(sqlite3_file* f) { return Real(f)->pMethods->xClose(Real(f)); }
int ShimRead(sqlite3_file* f, void* buffer, int amount, sqlite3_int64 offset) {
  if (ShouldFail(FaultKind::kRead)) return SQLITE_IOERR_READ;
  return Real(f)->pMethods->xRead(Real(f), buffer, amount, offset);
}
int ShimWrite(sqlite3_file* f, const void* buffer, int amount, sqlite3_int64 offset) {
  if (ShouldFail(FaultKind::kWrite)) return SQLITE_IOERR_WRITE;
  return Real(f)->pMethods->xWrite(Real(f), buffer, amount, offset);
}
int ShimTruncate(sqlite3_file* f, sqlite3_int64 size) {
  if (ShouldFail(FaultKind::kTruncate)) return SQLITE_IOERR_TRUNCATE;
  return Real(f)->pMethods->xTruncate(Real(f), size);
}
int ShimSync(sqlite3_file* f, int flags) {
  if (ShouldFail(FaultKind::kSync)) return SQLITE_IOERR_FSYNC;
  return Real(f)->pMethods->xSync(Real(f), flags);
}
int ShimFileSize(sqlite3_file* f, sqlite3_int64* size) {
  return Real(f)->pMethods->xFileSize(Real(f), size);
}
int ShimLock(sqlite3_file* f, int level) {
  if (ShouldFail(FaultKind::kLock)) return SQLITE_IOERR_LOCK;
  return Real(f)->pMethods->xLock(Real(f), level);
}
int ShimUnlock(sqlite3_file* f, int level) { return Real(f)->pMethods->xUnlock(Real(f), level); }
int ShimCheckReservedLock(sqlite3_file* f, int* out) {
  return Real(f)->pMethods->xCheckReservedLock(Real(f), out);
}
int ShimFileControl(sqlite3_file* f, int op, void* arg) {
  return Real(f)->pMethods->xFileControl(Real(f), op, arg);
}
int ShimSectorSize(sqlite3_file* f) { return Real(f)->pMethods->xSectorSize(Real(f)); }
int ShimDeviceCharacteristics(sqlite3_file* f) {
  return Real(f)->pMethods->xDeviceCharacteristics(Real(f));
}
int ShimShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** out) {
  return Real(f)->pMethods->xShmMap(Real(f), region, size, extend, out);
}
// The write-ahead log's locks are locks too.
int ShimShmLock(sqlite3_file* f, int offset, int n, int flags) {
  if ((flags & SQLITE_SHM_LOCK) && ShouldFail(FaultKind::kLock)) return SQLITE_IOERR_SHMLOCK;
  return Real(f)->pMethods->xShmLock(Real(f), offset, n, flags);
}
void ShimShmBarrier(sqlite3_file* f) { Real(f)->pMethods->xShmBarrier(Real(f)); }
int ShimShmUnmap(sqlite3_file* f, int delete_flag) {
  return Real(f)->pMethods->xShmUnmap(Real(f), delete_flag);
}
int ShimFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out) {
  return Real(f)->pMethods->xFetch(Real(f), offset, amount, out);
}
int ShimUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* p) {
  return Real(f)->pMethods->xUnfetch(Real(f), offset, p);
}

// The shim's methods for files whose real methods are version 3; files whose real methods are
// version 1 (no shared memory, no mapping) get the same table cut to version 1. The real file's
// version decides.
constexpr sqlite3_io_methods shim_methods_v3 = {3,
                                                &ShimClose,
                                                &ShimRead,
                                                &ShimWrite,
                                                &ShimTruncate,
                                                &ShimSync,
                                                &ShimFileSize,
                                                &ShimLock,
                                                &ShimUnlock,
                                                &ShimCheckReservedLock,
                                                &ShimFileControl,
                                                &ShimSectorSize,
                                                &ShimDeviceCharacteristics,
                                                &ShimShmMap,
                                                &ShimShmLock,
                                                &ShimShmBarrier,
                                                &ShimShmUnmap,
                                                &ShimFetch,
                                                &ShimUnfetch};

constexpr sqlite3_io_methods VersionOne(sqlite3_io_methods methods) {
  methods.iVersion = 1;
  methods.xShmMap = nullptr;
  methods.xShmLock = nullptr;
  methods.xShmBarrier = nullptr;
  methods.xShmUnmap = nullptr;
  methods.xFetch = nullptr;
  methods.xUnfetch = nullptr;
  return methods;
}
constexpr sqlite3_io_methods shim_methods_v1 = VersionOne(shim_methods_v3);

int ShimOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* out_flags) {
  auto* shim = reinterpret_cast<ShimFile*>(file);
  shim->real = reinterpret_cast<sqlite3_file*>(shim + 1);
  shim->real->pMethods = nullptr;
  const int rc = real_vfs->xOpen(real_vfs, name, shim->real, flags, out_flags);
  // SQLite closes a file whose methods are set even when the open failed.
  const sqlite3_io_methods* real_methods = shim->real->pMethods;
  if (real_methods == nullptr) {
    shim->base.pMethods = nullptr;
  } else {
    shim->base.pMethods = real_methods->iVersion >= 3 ? &shim_methods_v3 : &shim_methods_v1;
  }
  return rc;
}
int ShimDelete(sqlite3_vfs*, const char* name, int sync_dir) {
  return real_vfs->xDelete(real_vfs, name, sync_dir);
}
int ShimAccess(sqlite3_vfs*, const char* name, int flags, int* out) {
  return real_vfs->xAccess(real_vfs, name, flags, out);
}
int ShimFullPathname(sqlite3_vfs*, const char* name, int size, char* out) {
  return real_vfs->xFullPathname(real_vfs, name, size, out);
}
void* ShimDlOpen(sqlite3_vfs*, const char* name) { return real_vfs->xDlOpen(real_vfs, name); }
void ShimDlError(sqlite3_vfs*, int size, char* out) { real_vfs->xDlError(real_vfs, size, out); }
void (*ShimDlSym(sqlite3_vfs*, void* handle, const char* symbol))(void) {
  return real_vfs->xDlSym(real_vfs, handle, symbol);
}
void ShimDlClose(sqlite3_vfs*, void* handle) { real_vfs->xDlClose(real_vfs, handle); }
int ShimRandomness(sqlite3_vfs*, int size, char* out) {
  return real_vfs->xRandomness(real_vfs, size, out);
}
int ShimSleep(sqlite3_vfs*, int microseconds) { return real_vfs->xSleep(real_vfs, microseconds); }
int ShimCurrentTime(sqlite3_vfs*, double* out) { return real_vfs->xCurrentTime(real_vfs, out); }
int ShimGetLastError(sqlite3_vfs*, int size, char* out) {
  return real_vfs->xGetLastError ? real_vfs->xGetLastError(real_vfs, size, out) : 0;
}
int ShimCurrentTimeInt64(sqlite3_vfs*, sqlite3_int64* out) {
  return real_vfs->xCurrentTimeInt64(real_vfs, out);
}

sqlite3_vfs shim_vfs;

void Check(int rc, const char* what) {
  if (rc != SQLITE_OK) {
    throw std::runtime_error(std::string("fault injection: ") + what + ": " + sqlite3_errstr(rc));
  }
}

}  // namespace

std::string FaultKindName(FaultKind kind) {
  switch (kind) {
    case FaultKind::kRead:
      return "read";
    case FaultKind::kWrite:
      return "write";
    case FaultKind::kSync:
      return "sync";
    case FaultKind::kTruncate:
      return "truncate";
    case FaultKind::kLock:
      return "lock";
    case FaultKind::kAlloc:
      return "alloc";
    case FaultKind::kRoundTrip:
      return "round trip";
  }
  return "?";
}

void InstallFaultInjection() {
  if (real_vfs != nullptr) return;
  SetPostgresRoundTripHook(&FailingRoundTrip);
  Check(sqlite3_shutdown(), "shutdown");
  Check(sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real_memory), "reading the allocator");
  Check(sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty_memory), "installing the allocator");
  // Lookaside slots would hide small allocations from the allocator.
  Check(sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0), "turning lookaside off");
  Check(sqlite3_initialize(), "initialise");
  real_vfs = sqlite3_vfs_find(nullptr);
  if (real_vfs == nullptr) throw std::runtime_error("fault injection: no default VFS");
  std::memset(&shim_vfs, 0, sizeof shim_vfs);
  shim_vfs.iVersion = 2;
  shim_vfs.szOsFile = static_cast<int>(sizeof(ShimFile)) + real_vfs->szOsFile;
  shim_vfs.mxPathname = real_vfs->mxPathname;
  shim_vfs.zName = "clipcat-faults";
  shim_vfs.xOpen = &ShimOpen;
  shim_vfs.xDelete = &ShimDelete;
  shim_vfs.xAccess = &ShimAccess;
  shim_vfs.xFullPathname = &ShimFullPathname;
  shim_vfs.xDlOpen = &ShimDlOpen;
  shim_vfs.xDlError = &ShimDlError;
  shim_vfs.xDlSym = &ShimDlSym;
  shim_vfs.xDlClose = &ShimDlClose;
  shim_vfs.xRandomness = &ShimRandomness;
  shim_vfs.xSleep = &ShimSleep;
  shim_vfs.xCurrentTime = &ShimCurrentTime;
  shim_vfs.xGetLastError = &ShimGetLastError;
  shim_vfs.xCurrentTimeInt64 = &ShimCurrentTimeInt64;
  Check(sqlite3_vfs_register(&shim_vfs, 1), "registering the VFS");
}

void ArmFault(FaultKind kind, int64_t nth) { armed = Armed{true, kind, nth, 0, false}; }

bool DisarmFault() {
  const bool injected = armed.injected;
  armed = Armed{};
  return injected;
}

}  // namespace clipcat::robustness
