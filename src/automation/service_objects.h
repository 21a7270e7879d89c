// The late-bound face of the two public services: ClippingDataReadObject and
// ClippingDataWriteObject publish every member of ClippingDataRead and ClippingDataWrite by name,
// with the parameter names, declared types and optional parameters clients know. Each object owns
// its service, so destroying it drops the thread's open catalogs as the service does. Use an
// object from one thread only.
#pragma once

#include "automation/automation_object.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"

namespace clipcat {

// The ProgIDs clients create the services by. Frozen: client programs name them.
inline constexpr const char* kClippingDataReadProgID = "TORVEL.ClippingDataRead";
inline constexpr const char* kClippingDataWriteProgID = "TORVEL.ClippingDataWrite";

// "ClippingDataRead" by name: its 41 members in the interface's order, errors of late binding
// with "TORVEL.ClippingDataRead" as their source. Entities travel as entity objects (see
// entity_objects.h); a member whose service answers nullptr answers an Object Variant holding
// nothing. Errors of the service reach the caller unchanged.
class ClippingDataReadObject final : public AutomationObject {
 public:
  ClippingDataReadObject() = default;
  ClippingDataReadObject(const ClippingDataReadObject&) = delete;
  ClippingDataReadObject& operator=(const ClippingDataReadObject&) = delete;

  // The service the members call.
  ClippingDataRead& service() { return service_; }

  // Shared by every object of the class, built on first use.
  const MemberTable& Members() const override;

 private:
  ClippingDataRead service_;
};

// "ClippingDataWrite" by name: its 25 members in the interface's order, errors of late binding
// with "TORVEL.ClippingDataWrite" as their source. Members without a result are subs (their
// table entries have returns_value false) and answer Empty.
class ClippingDataWriteObject final : public AutomationObject {
 public:
  ClippingDataWriteObject() = default;
  ClippingDataWriteObject(const ClippingDataWriteObject&) = delete;
  ClippingDataWriteObject& operator=(const ClippingDataWriteObject&) = delete;

  ClippingDataWrite& service() { return service_; }

  const MemberTable& Members() const override;

 private:
  ClippingDataWrite service_;
};

}  // namespace clipcat
