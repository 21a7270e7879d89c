// A Catalog is a front end's handle on the catalog it works on: the connection details that select
// it and the two public services, ClippingDataRead and ClippingDataWrite, called directly. The
// services route each call from these details to the catalog that holds the item it names, the
// selected catalog or one linked into it, so one handle reaches them all.
//
// Requests: neither the handle nor the library's operations on it (catalog_export.h,
// catalog_import.h, item_transfer.h, ...) open a RequestScope. A request is the front end's notion
// (one command of the command line, one HTTP request, one call of a binding), and it may make
// several library calls; the front end runs the whole of it inside one RunRequest
// (library/request_scope.h), so that whatever a service member left open is rolled back when the
// request ends and not between two of its steps.
//
// Not thread-safe: the services keep one set of open catalogs per thread, made with the details of
// the first call, so a thread has one Catalog at a time. Destroying it closes the thread's
// catalogs.
#pragma once

#include <memory>
#include <utility>

#include "entities/connection_details.h"
#include "library/catalog_location.h"
#include "service/clipping_data_read.h"
#include "service/clipping_data_write.h"

namespace clipcat {

class Catalog {
 public:
  // REQUIRES: details is not null.
  explicit Catalog(std::shared_ptr<ConnectionDetails> details) : details_(std::move(details)) {}
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;

  // A handle on the catalog `location` names. Raises the errors of ConnectionDetailsFor (424 for
  // --connection text that is not connection details); the catalog itself is opened by the first
  // call of a service.
  static Catalog Open(const CatalogLocation& location) {
    return Catalog(ConnectionDetailsFor(location));
  }

  // The services, to be called with details() as their default connection.
  ClippingDataRead& read() { return read_; }
  ClippingDataWrite& write() { return write_; }
  const std::shared_ptr<ConnectionDetails>& details() const { return details_; }

 private:
  std::shared_ptr<ConnectionDetails> details_;
  ClippingDataRead read_;
  ClippingDataWrite write_;
};

}  // namespace clipcat
