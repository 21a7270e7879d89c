// The files of the page the gateway serves at "/": made from web/ at build time and compiled into
// the binary, so that the page needs nothing installed beside it. Immutable; thread-safe.
#pragma once

#include <span>
#include <string_view>

namespace clipcat::gateway {

struct WebFile {
  std::string_view path;     // where it is served: "/" plus its name in web/
  std::string_view content;  // its bytes
};

// Every file of the page (index.html, app.js, app.css, ...).
std::span<const WebFile> WebFiles();

// The content type a file is served with, from its name's extension.
std::string_view ContentTypeOf(std::string_view path);

}  // namespace clipcat::gateway
