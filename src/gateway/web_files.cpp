#include "gateway/web_files.h"

namespace clipcat::gateway {

std::string_view ContentTypeOf(std::string_view path) {
  const auto ends_with = [&](std::string_view suffix) {
    return path.size() >= suffix.size() && path.substr(path.size() - suffix.size()) == suffix;
  };
  if (ends_with(".html")) return "text/html; charset=utf-8";
  if (ends_with(".js")) return "text/javascript; charset=utf-8";
  if (ends_with(".css")) return "text/css; charset=utf-8";
  if (ends_with(".svg")) return "image/svg+xml";
  if (ends_with(".png")) return "image/png";
  return "application/octet-stream";
}

}  // namespace clipcat::gateway
