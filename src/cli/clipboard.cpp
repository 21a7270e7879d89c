#include "cli/clipboard.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "library/item_lookup.h"

namespace clipcat::cli {
namespace {

struct Tool {
  const char* name;
  const char* command;  // run by the shell with the bytes on standard input
  bool wayland;
};

constexpr Tool kTools[] = {
    {"wl-copy", "wl-copy", true},
    {"xclip", "xclip -selection clipboard -in", false},
    {"xsel", "xsel --clipboard --input", false},
};

bool Set(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

// True when `name` is an executable file in a folder of $PATH.
bool OnPath(std::string_view name) {
  const char* path = std::getenv("PATH");
  if (path == nullptr) return false;
  std::string_view rest(path);
  while (!rest.empty()) {
    const size_t colon = rest.find(':');
    const std::string folder(rest.substr(0, colon));
    const std::string file = (folder.empty() ? "." : folder) + "/" + std::string(name);
    if (access(file.c_str(), X_OK) == 0) return true;
    if (colon == std::string_view::npos) break;
    rest.remove_prefix(colon + 1);
  }
  return false;
}

}  // namespace

std::string CopyToClipboard(const std::string& bytes) {
  const bool wayland = Set("WAYLAND_DISPLAY");
  const bool x11 = Set("DISPLAY");
  if (!wayland && !x11) {
    Refuse(
        "there is no desktop to copy to (neither WAYLAND_DISPLAY nor DISPLAY is set); "
        "clipcat cat prints the content instead");
  }
  for (const Tool& tool : kTools) {
    if ((tool.wayland ? !wayland : !x11) || !OnPath(tool.name)) continue;
    FILE* pipe = popen(tool.command, "w");
    if (pipe == nullptr) Refuse(std::string("cannot start ") + tool.name);
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), pipe) == bytes.size();
    const int status = pclose(pipe);
    if (!written || status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      Refuse(std::string(tool.name) + " could not take the content");
    }
    return tool.name;
  }
  Refuse(wayland && !x11 ? "no clipboard tool: install wl-clipboard (wl-copy)"
         : !wayland      ? "no clipboard tool: install xclip or xsel"
                         : "no clipboard tool: install wl-clipboard (wl-copy), xclip or xsel");
}

}  // namespace clipcat::cli
