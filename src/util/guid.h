// New GUIDs as the 32-character text the catalogs store.
#pragma once

#include <string>

namespace clipcat {

// A new random (version 4) GUID from the operating system's random source, its 16 bytes in memory
// order, each as two upper-case hexadecimal digits: 32 characters, no braces, no dashes. The
// first three groups therefore read byte-reversed against the registry form; stored GUIDs are
// compared as this text.
std::string CreateGUIDString();

}  // namespace clipcat
