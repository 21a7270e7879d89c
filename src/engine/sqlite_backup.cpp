#include "engine/sqlite_backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>

#include "engine/sqlite_file_header.h"
#include "engine/sqlite_session.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// The byte of the shared-memory file on which every connection of the unix VFS holds a shared
// lock while it has the database open ("DMS", after the 8 lock bytes that begin at 120). Frozen
// by SQLite's unix VFS.
constexpr off_t kShmOpenLockByte = 128;

// How long the copy waits for a lock on the source: as long as a statement may.
constexpr int kWaitMs = 5;
constexpr int kMaxWaits = static_cast<int>(kStatementTimeout.count() / kWaitMs);

struct CloseDatabase {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};

[[noreturn]] void RaiseText(const std::string& text) {
  throw AutomationError(err::kDatabaseError, kSqliteSource, text);
}

// Removes the file (and what the engine kept beside it) unless the copy was completed.
class PartialFile {
 public:
  explicit PartialFile(std::string path) : path_(std::move(path)) {}
  ~PartialFile() {
    if (kept_) return;
    std::error_code ignored;
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
      std::filesystem::remove(path_ + suffix, ignored);
    }
  }
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;
  const std::string& path() const { return path_; }
  void Keep() { kept_ = true; }

 private:
  std::string path_;
  bool kept_ = false;
};

}  // namespace

void BackupSqliteFile(const std::string& source, const std::string& target) {
  SqliteSession from(source, SqliteOpenOptions{.read_only = true});
  PartialFile partial(target + ".partial-" + std::to_string(getpid()));
  {
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(partial.path().c_str(), &raw,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    std::unique_ptr<sqlite3, CloseDatabase> to(raw);
    if (rc != SQLITE_OK) RaiseText(raw != nullptr ? sqlite3_errmsg(raw) : sqlite3_errstr(rc));
    sqlite3_backup* backup = sqlite3_backup_init(to.get(), "main", from.db(), "main");
    if (backup == nullptr) RaiseText(sqlite3_errmsg(to.get()));
    // All pages in one step: the source's read transaction spans the whole copy, so writers
    // that commit meanwhile (to the log) cannot make the copy start over or mix two states.
    int step = SQLITE_OK;
    for (int waits = 0; waits < kMaxWaits; ++waits) {
      step = sqlite3_backup_step(backup, -1);
      if (step != SQLITE_BUSY && step != SQLITE_LOCKED) break;
      sqlite3_sleep(kWaitMs);
    }
    sqlite3_backup_finish(backup);
    const int primary = step & 0xff;
    if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB) {
      throw AutomationError(err::kCatalogDamaged, kSqliteSource,
                            CatalogDamagedDescription(source, sqlite3_errstr(step)));
    }
    if (step != SQLITE_DONE) RaiseText(sqlite3_errstr(step));
  }
  std::error_code error;
  std::filesystem::rename(partial.path(), target, error);
  if (error) RaiseText("the copy cannot be renamed to " + target + ": " + error.message());
  partial.Keep();
}

bool SqliteFileInUse(const std::string& path) {
  if (SqliteLogHoldsFrames(path)) return true;
  const int fd = open((path + "-shm").c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;  // no shared memory: nobody has it open in WAL mode
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = kShmOpenLockByte;
  lock.l_len = 1;
  const bool held = fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  close(fd);
  return held;
}

}  // namespace clipcat
