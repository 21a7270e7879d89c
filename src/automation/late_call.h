// Calling a member of a public class late-bound, by ProgID and member name, the way every front
// end offers it (`clipcat call`, the gateway's call route): the default-connection parameters are
// filled with the selected catalog's details, the caller's arguments fill the others in order.
// Single-threaded, like the objects it creates; the caller runs it inside its request.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "automation/member_table.h"
#include "util/dispatch.h"

namespace clipcat {

// What a late-bound call answered: the result and whether the member has one at all.
struct LateCallResult {
  Variant value;
  bool has_value = false;
};

// Sees each argument with the parameter it is for, before anything is called; raises to refuse
// the call. A front end that must not let its callers name some things (a file, a server) passes
// one.
using ArgumentCheck = std::function<void(const ParamInfo& param, const Variant& value)>;

// Calls `member` of `object` with `args` for its declared parameters in order, the parameters
// named oDefaultConnection or oDefualtConnection left out and filled with `connection` (its XML
// for a parameter declared as text). Text given for an object parameter is read as that class's
// XML. Optional parameters after the last argument take their defaults. Raises 424 when `object`
// is not a late-bound object, the unknown-name error (source `progid`) for a member it does not
// have, the bad-parameter-count error for more arguments than parameters, what `check` raises,
// and what the member raises.
LateCallResult CallWithConnection(const std::shared_ptr<Dispatch>& object,
                                  const std::string& progid, const std::string& member,
                                  std::vector<Variant> args,
                                  const std::shared_ptr<Dispatch>& connection,
                                  const ArgumentCheck& check = {});

// CallWithConnection on a new object of `progid`; raises 429 for a ProgID nobody registered.
LateCallResult CallLateBound(const std::string& progid, const std::string& member,
                             std::vector<Variant> args, const std::shared_ptr<Dispatch>& connection,
                             const ArgumentCheck& check = {});

}  // namespace clipcat
