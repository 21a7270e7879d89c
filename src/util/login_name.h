// Who runs this process, as the records a catalog keeps of its writers name them.
#pragma once

#include <string>

namespace clipcat {

// The login name of the process's user: the password database's name for its user id, else
// $USER or $LOGNAME; the empty text when none is known.
std::string CurrentLoginName();

}  // namespace clipcat
