// Putting bytes on the desktop's clipboard through the tool the desktop has: wl-copy under
// Wayland, xclip or xsel under X11.
#pragma once

#include <string>

namespace clipcat::cli {

// Writes `bytes` to the clipboard and answers the tool that took them. Refuses (5, "clipcat")
// when no display is there or no tool for it is installed, saying which to install, and when the
// tool fails.
std::string CopyToClipboard(const std::string& bytes);

}  // namespace clipcat::cli
