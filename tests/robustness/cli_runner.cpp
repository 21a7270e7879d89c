#include "robustness/cli_runner.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace clipcat::robustness {
namespace {

std::string& LastMountError() {
  static std::string reason;
  return reason;
}

}  // namespace

std::string CliResult::Describe() const {
  return (signal != 0 ? "killed by signal " + std::to_string(signal)
                      : "exit " + std::to_string(status)) +
         ", stderr: " + err;
}

std::string FileBytes(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

CliResult RunClipcat(const std::vector<std::string>& args, const std::string& scratch,
                     std::optional<uid_t> as_user) {
  const std::string out = scratch + "/cli-stdout", err = scratch + "/cli-stderr";
  const std::string data = scratch + "/cli-data";
  std::filesystem::create_directories(data);
  std::vector<std::string> argv_text = {CLIPCAT_BINARY};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& arg : argv_text) argv.push_back(arg.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int in_fd = open("/dev/null", O_RDONLY);
    const int out_fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int err_fd = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (in_fd < 0 || out_fd < 0 || err_fd < 0) _exit(126);
    dup2(in_fd, 0);
    dup2(out_fd, 1);
    dup2(err_fd, 2);
    unsetenv("CLIPCAT_CATALOG");
    setenv("XDG_DATA_HOME", data.c_str(), 1);
    if (as_user && (setgid(*as_user) != 0 || setuid(*as_user) != 0)) _exit(125);
    execv(argv[0], argv.data());
    _exit(127);
  }
  CliResult result;
  int raw = 0;
  if (child < 0 || waitpid(child, &raw, 0) != child) {
    result.err = "the command could not be started";
    return result;
  }
  if (WIFEXITED(raw)) result.status = WEXITSTATUS(raw);
  if (WIFSIGNALED(raw)) result.signal = WTERMSIG(raw);
  result.out = FileBytes(out);
  result.err = FileBytes(err);
  return result;
}

std::optional<ScratchMount> ScratchMount::Make(const std::string& where, size_t bytes) {
  std::filesystem::create_directories(where);
  const std::string options = "size=" + std::to_string(bytes) + ",mode=0777";
  if (mount("tmpfs", where.c_str(), "tmpfs", 0, options.c_str()) != 0) {
    LastMountError() = "mounting a tmpfs is not permitted here: " + std::string(strerror(errno));
    std::filesystem::remove(where);
    return std::nullopt;
  }
  return ScratchMount(where);
}

ScratchMount::ScratchMount(ScratchMount&& other) noexcept : path_(std::move(other.path_)) {
  other.path_.clear();
}

ScratchMount::~ScratchMount() {
  if (path_.empty()) return;
  // A command still holding a file open makes the mount busy: detach it all the same.
  if (umount2(path_.c_str(), 0) != 0) umount2(path_.c_str(), MNT_DETACH);
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

bool ScratchMount::SetReadOnly(bool read_only) {
  const unsigned long flags = MS_REMOUNT | (read_only ? MS_RDONLY : 0);
  return mount("tmpfs", path_.c_str(), "tmpfs", flags, nullptr) == 0;
}

std::string ScratchMount::Reason() { return LastMountError(); }

}  // namespace clipcat::robustness
