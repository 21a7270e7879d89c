// The generic late-bound call of the command line:
//   clipcat [--catalog PATH | --connection XML] call PROGID MEMBER [ARG ...]
// One ARG per declared parameter, in order, leaving out the default-connection parameters, which
// the command fills with the selected catalog's connection details.
#pragma once

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "util/dispatch.h"

namespace clipcat::cli {

// A command line that does not follow the command's form; the command exits with status 64.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Calls MEMBER of a new PROGID object and prints its result to `out` (see PrintResult). Raises
// AutomationError for failures of the call; the caller reports them. The caller runs it inside
// its request (library/request_scope.h).
void RunCall(const std::shared_ptr<Dispatch>& connection, const std::string& progid,
             const std::string& member, const std::vector<std::string>& args, std::ostream& out);

// The value an ARG stands for: "@nothing" is no object, "@file:PATH" the file's content, "@@..."
// the text less one "@"; text not beginning with "@" is itself. Raises 53 "File not found" for an
// unreadable file and UsageError for any other "@" form.
Variant ArgumentValue(const std::string& arg);

// Prints a result followed by one newline: an object's XML, "Nothing" for no object,
// True/False, decimal numbers, dates in the catalog form, text as it is; a list of external
// catalogs one per line (ID, GUID, IsOnline, ConnectionSpeed, ConnectionStringXML, tab-separated).
// Prints nothing at all when `has_result` is false.
void PrintResult(const Variant& result, bool has_result, std::ostream& out);

}  // namespace clipcat::cli
