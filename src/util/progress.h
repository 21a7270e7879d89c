// How an operation that may take a while (an export, an import, moving a folder tree, building an
// index) reports how far it has come, so that a front end can show it as it likes: a bar on a
// terminal, events to a web page, nothing at all.
#pragma once

#include <cstddef>
#include <functional>

namespace clipcat {

// Called, on the operation's own thread, after each step with the steps done so far and the steps
// the operation expects in all. The total may grow while the operation learns its size, and done
// may pass it; neither ever shrinks. An empty function is not called. It must not call the library
// on the operation's catalog, and what it raises ends the operation as a failure.
using ProgressCallback = std::function<void(size_t done, size_t total)>;

}  // namespace clipcat
