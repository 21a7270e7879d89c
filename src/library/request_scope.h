// The boundary of one request made over kept catalog connections: a command of the command line,
// a call of a long-running program that embeds the library, a request to a server. Whatever a
// service member left open inside the request (a refused category rename stays pending in its
// transaction, as the member is described) is rolled back when the request ends, so that it is
// never committed by a later, unrelated write and never holds a catalog's write lock between
// requests. One scope per thread at a time; it acts on the calling thread's catalogs.
#pragma once

#include <utility>

namespace clipcat {

class RequestScope {
 public:
  RequestScope() = default;
  // Rolls back every transaction the thread's catalogs have open. Never raises.
  ~RequestScope();
  RequestScope(const RequestScope&) = delete;
  RequestScope& operator=(const RequestScope&) = delete;
};

// Runs `request` inside a RequestScope and answers what it answers; its errors pass unchanged,
// after the rollback.
template <typename Request>
decltype(auto) RunRequest(Request&& request) {
  RequestScope scope;
  return std::forward<Request>(request)();
}

}  // namespace clipcat
