#include "cli/session.h"

#include "automation/progid_registry.h"
#include "cli/call_command.h"
#include "library/request_scope.h"

namespace clipcat::cli {
namespace {

constexpr const char* kReadProgID = "TORVEL.ClippingDataRead";
constexpr const char* kWriteProgID = "TORVEL.ClippingDataWrite";

}  // namespace

Session::Session(const CatalogSelection& selection)
    : connection_(ConnectionObject(selection)),
      read_(CreateObject(kReadProgID)),
      write_(CreateObject(kWriteProgID)) {}

void Session::RequireCatalog() { Read("GetPersonalCatalogRootFolder"); }

Variant Session::Read(const std::string& member, std::vector<Variant> args) {
  return RunRequest([&] {
    return CallWithConnection(read_, kReadProgID, member, std::move(args), connection_).first;
  });
}

Variant Session::Write(const std::string& member, std::vector<Variant> args) {
  return RunRequest([&] {
    return CallWithConnection(write_, kWriteProgID, member, std::move(args), connection_).first;
  });
}

}  // namespace clipcat::cli
