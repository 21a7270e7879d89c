#include "automation/register_classes.h"

#include <memory>
#include <mutex>

#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "automation/service_objects.h"

namespace clipcat {

void RegisterClasses() {
  static std::once_flag once;
  std::call_once(once, [] {
    RegisterEntityClasses();
    RegisterProgID(kClippingDataReadProgID,
                   [] { return std::make_shared<ClippingDataReadObject>(); });
    RegisterProgID(kClippingDataWriteProgID,
                   [] { return std::make_shared<ClippingDataWriteObject>(); });
  });
}

}  // namespace clipcat
