// The names people may give folders, clippings and categories through the library: not empty,
// not only spaces, and without control characters (a newline or tab in a name breaks every list
// and document that shows it). The services keep taking any name for their in-process callers.
// Stateless; thread-safe.
#pragma once

#include <string>

namespace clipcat {

// Refuses (error 5, source "clipcat") a name that is empty, holds only white space, or holds a
// control character (U+0000 ... U+001F, U+007F ... U+009F), saying which; `what` names the kind
// of item in the sentence ("folder", "clipping", "category").
void RequireUsableName(const std::string& name, const std::string& what);

}  // namespace clipcat
