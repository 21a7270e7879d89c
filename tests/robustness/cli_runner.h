// Runs the built clipcat command for the robustness tests that drive it from outside: its exit
// status (or the signal that ended it) and both output streams, with a private data directory so
// that no user's catalog is touched. Optionally as another user, for storage that user may not
// write. Used from the test thread only.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace clipcat::robustness {

struct CliResult {
  int status = -1;  // the exit status; -1 when a signal ended the command
  int signal = 0;   // the signal that ended it, if one did
  std::string out, err;

  // "exit 1" or "killed by signal 11", with standard error, for messages.
  std::string Describe() const;
};

// Runs clipcat with `args` (standard input empty). `scratch` is a directory for the output files
// and the data directory. With `as_user` the command runs as that user and group id.
CliResult RunClipcat(const std::vector<std::string>& args, const std::string& scratch,
                     std::optional<uid_t> as_user = std::nullopt);

// The whole content of a file; empty when it cannot be read.
std::string FileBytes(const std::string& path);

// A file system of its own (tmpfs) of `bytes` mounted on a new directory, unmounted and removed
// when the object goes, whatever path the test takes out. Needs the right to mount (root).
class ScratchMount {
 public:
  // Mounts; answers nothing and leaves no mount when mounting is not permitted (see Reason()).
  static std::optional<ScratchMount> Make(const std::string& where, size_t bytes);
  ScratchMount(ScratchMount&& other) noexcept;
  ScratchMount& operator=(ScratchMount&&) = delete;
  ScratchMount(const ScratchMount&) = delete;
  ~ScratchMount();

  const std::string& path() const { return path_; }
  std::string File(const std::string& name) const { return path_ + "/" + name; }
  // Remounts read-only or writable again; answers false when the kernel refuses.
  bool SetReadOnly(bool read_only);
  // Why the last Make failed.
  static std::string Reason();

 private:
  explicit ScratchMount(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

}  // namespace clipcat::robustness
