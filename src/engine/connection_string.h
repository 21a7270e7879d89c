// Reading the connection strings that name a catalog: OLE DB "key=value;..." strings such as
// "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/home/ann/clips.db", and data link (.udl) files
// that hold one. Stateless; thread-safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace clipcat {

// The provider whose catalogs are SQLite files. Frozen: stored connection strings name it.
inline constexpr std::string_view kFileCatalogProvider = "Microsoft.Jet.OLEDB.4.0";

// "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" followed by `path`: the connection string of the
// file catalog at `path`.
std::string FileCatalogConnectionString(const std::string& path);

// The items of an OLE DB connection string in order, as (key, value) pairs read by the rules of
// ConnectionStringValue. Keys keep their spelling; items without "=" are skipped.
std::vector<std::pair<std::string, std::string>> ConnectionStringItems(
    std::string_view connection_string);

// The value of `key` in an OLE DB connection string: items are separated by ";", keys compared
// without regard to ASCII case and trimmed of blanks, values trimmed and, when they are in double
// or single quotes, unquoted (a doubled quote standing for one). Answers nothing when the key is
// absent; a later item with the same key wins.
std::optional<std::string> ConnectionStringValue(std::string_view connection_string,
                                                 std::string_view key);

// The connection string that a data link file with `file_content` holds: the file is UTF-16LE
// with a byte order mark or UTF-8 (with or without one); the string is the first line after the
// "[oledb]" line that is neither blank nor a comment (";"). Answers nothing when there is none.
std::optional<std::string> DataLinkConnectionString(std::string_view file_content);

// The connection string that the data link file `path` holds, by DataLinkConnectionString. Raises
// err::kDatabaseError, source "clipcat", when the file cannot be read or holds no connection
// string.
std::string ReadDataLinkFile(const std::string& path);

}  // namespace clipcat
