#include "engine/server_failures.h"

#include <map>
#include <mutex>

namespace clipcat {
namespace {

using Clock = std::chrono::steady_clock;

struct Failure {
  Clock::time_point at;
  AutomationError error;
};

std::mutex& FailuresLock() {
  static auto* lock = new std::mutex;
  return *lock;
}

std::map<std::string, Failure>& Failures() {
  static auto* failures = new std::map<std::string, Failure>;
  return *failures;
}

}  // namespace

std::optional<AutomationError> RememberedServerFailure(const std::string& key) {
  const std::lock_guard<std::mutex> hold(FailuresLock());
  const auto found = Failures().find(key);
  if (found == Failures().end()) return std::nullopt;
  if (Clock::now() - found->second.at >= kServerFailureMemory) {
    Failures().erase(found);
    return std::nullopt;
  }
  return found->second.error;
}

void RememberServerFailure(const std::string& key, const AutomationError& error) {
  const std::lock_guard<std::mutex> hold(FailuresLock());
  Failures().insert_or_assign(key, Failure{Clock::now(), error});
}

void ForgetServerFailure(const std::string& key) {
  const std::lock_guard<std::mutex> hold(FailuresLock());
  Failures().erase(key);
}

}  // namespace clipcat
