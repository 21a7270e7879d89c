// ODBC data source definitions read from odbc.ini files, as far as the probes need them to find
// the machine behind a data source name. Internal to the probes. Stateless; safe to call from any
// thread.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace clipcat {

// The keys and values of section `section` of `ini_text`, keys lower-cased, keys and values trimmed
// of blanks. Section names compare without regard to case. Lines starting with ";" or "#" are
// comments; within a section the first value of a key wins, and a section given twice adds to
// the first. Empty when the section is absent.
std::map<std::string, std::string> OdbcIniSection(std::string_view ini_text,
                                                  std::string_view section);

// The odbc.ini files in lookup order: $ODBCINI (when set), the user's ~/.odbc.ini, then the
// system's /etc/odbc.ini. The same order the driver manager uses, so that a user definition
// shadows a system one.
std::vector<std::string> DefaultOdbcIniPaths();

// Where data source `data_source` keeps its catalog, from the first of `ini_paths` whose
// definition of it holds one, in this order: "DBQ" (a database file), "Database" when it is a
// path (contains "/" or "\"; otherwise it is the name of a database on a server), "Server" or
// "Servername" (a host, answered as "\\" + upper-cased host + "\"), "DefaultDir". UNC values are
// upper-cased; local paths keep their case, which the file system needs. "" when no file defines
// any of them; unreadable files are skipped.
std::string DataSourceLocation(std::string_view data_source,
                               const std::vector<std::string>& ini_paths);

}  // namespace clipcat
