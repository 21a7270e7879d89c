#include "library/linked_catalog_status.h"

#include <exception>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "library/request_scope.h"
#include "service/clipping_data_read.h"
#include "util/item_id.h"
#include "util/text.h"

namespace clipcat {
namespace {

bool Mentions(const std::string& text, std::string_view part) {
  return ToLowerAscii(text).find(part) != std::string::npos;
}

// Runs `work` on a thread of its own (with its own open catalogs, closed when it ends) and
// answers the error it raised, if any.
template <typename Work>
std::thread Start(Work work, std::optional<AutomationError>& failure) {
  return std::thread([work = std::move(work), &failure] {
    try {
      RunRequest(work);
    } catch (const AutomationError& error) {
      failure = error;
    } catch (const std::exception& error) {
      failure = AutomationError(err::kDatabaseError, kComponentSource, error.what());
    }
  });
}

}  // namespace

std::string OfflineReason(const AutomationError& error) {
  const std::string& text = error.description();
  const std::pair<std::string_view, std::string_view> reasons[] = {
      {"connection refused", "the server refused the connection"},
      {"no server answered", "the server does not answer"},
      {"does not answer", "the server does not answer"},
      {"in time", "the server does not answer"},
      {"no route to host", "no route to the server"},
      {"network is unreachable", "no route to the server"},
      {"could not translate host name", "no route to the server"},
      {"no such file or directory", "no server at that address"},
      {"password", "authentication failed"},
      {"authentication", "authentication failed"},
      {"pg_hba.conf", "authentication failed"},
      {"role \"", "authentication failed"},
      {"database \"", "the database does not exist"},
      {"permission denied", "missing rights"},
      {"must be owner", "missing rights"},
      {"relation \"", "not a catalog"},
      {"holds no catalog", "not a catalog"},
  };
  for (const auto& [part, reason] : reasons) {
    if (Mentions(text, part)) return std::string(reason);
  }
  return text;
}

void RequireCatalogReachable(const std::shared_ptr<ConnectionDetails>& details) {
  std::optional<AutomationError> failure;
  Start(
      [&details] {
        ClippingDataRead read;
        if (!read.GetPersonalCatalogRootFolder(details)) {
          throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                                "the database holds no catalog (no top folder)");
        }
      },
      failure)
      .join();
  if (failure) throw *failure;
}

std::vector<LinkedCatalogStatus> ProbeLinkedCatalogs(Catalog& catalog) {
  std::vector<LinkedCatalogStatus> statuses;
  const auto folders = catalog.read().GetLinkingFolders(catalog.details());
  for (const auto& folder : *folders->Items()) {
    LinkedCatalogStatus status;
    status.folder_id = folder->ID();
    status.probe_id = ComposeItemID(folder->ID(), folder->ExternalCatalogID());
    status.name = folder->Name();
    statuses.push_back(std::move(status));
  }
  std::vector<std::optional<AutomationError>> failures(statuses.size());
  std::vector<std::thread> probes;
  const auto details = catalog.details();
  for (size_t i = 0; i < statuses.size(); ++i) {
    probes.push_back(Start(
        [&details, &status = statuses[i]] {
          ClippingDataRead read;
          const auto top = read.GetCatalogsRootFolder(status.probe_id, details);
          if (!top) {
            throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                                  "the database holds no catalog (no top folder)");
          }
          status.item_id = top->ID();
        },
        failures[i]));
  }
  for (auto& probe : probes) probe.join();
  for (size_t i = 0; i < statuses.size(); ++i) {
    statuses[i].online = !failures[i].has_value();
    if (failures[i]) {
      statuses[i].reason = OfflineReason(*failures[i]);
      statuses[i].detail = failures[i]->description();
    }
  }
  return statuses;
}

}  // namespace clipcat
