// Catalog path names and the one file-system test the component makes.
#pragma once

#include <string>

namespace clipcat {

// Joins a catalog folder path and a name with exactly one "\" (the catalog's own separator; it
// joins folder names, not file-system paths).
std::string AppendPath(const std::string& path, const std::string& name);

// True for an existing path that is not a directory. Never raises.
bool FileExists(const std::string& path);

}  // namespace clipcat
