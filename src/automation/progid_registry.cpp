#include "automation/progid_registry.h"

#include <mutex>
#include <utility>

#include "util/errors.h"
#include "util/text.h"

namespace clipcat {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::pair<std::string, ObjectFactory>> entries;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

}  // namespace

void RegisterProgID(const std::string& progid, ObjectFactory factory) {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  for (auto& entry : r.entries) {
    if (EqualsIgnoreCase(entry.first, progid)) {
      entry.second = std::move(factory);
      return;
    }
  }
  r.entries.emplace_back(progid, std::move(factory));
}

std::shared_ptr<Dispatch> CreateObject(const std::string& progid) {
  ObjectFactory factory;
  {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (const auto& entry : r.entries) {
      if (EqualsIgnoreCase(entry.first, progid)) factory = entry.second;
    }
  }
  if (!factory) {
    throw AutomationError(err::kCannotCreateObject, kComponentSource,
                          "ActiveX component can't create object: " + progid);
  }
  return factory();
}

std::vector<std::string> RegisteredProgIDs() {
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mutex);
  std::vector<std::string> ids;
  for (const auto& entry : r.entries) ids.push_back(entry.first);
  return ids;
}

}  // namespace clipcat
