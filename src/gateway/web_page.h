// The page the gateway serves at "/": for now a short page that says what the server is and
// where its API is described.
#pragma once

#include <string_view>

namespace clipcat::gateway {

inline constexpr std::string_view kIndexPage = R"(<!DOCTYPE html>
<html lang="en">
<head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>clipcat</title></head>
<body>
<h1>clipcat</h1>
<p>This is a clipcat catalog served over HTTP. Programs use its JSON API under
<code>/api/</code>, for example <a href="/api/folders"><code>/api/folders</code></a>;
docs/http.md describes every route.</p>
</body>
</html>
)";

}  // namespace clipcat::gateway
