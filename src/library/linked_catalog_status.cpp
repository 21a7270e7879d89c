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

// The top folder a catalog's database answered; raises when it holds none.
std::shared_ptr<Folder> RequireTop(std::shared_ptr<Folder> top) {
  if (!top) {
    throw AutomationError(err::kInvalidProcedureCall, kComponentSource,
                          "the database holds no catalog (no top folder)");
  }
  return top;
}

LinkedCatalogStatus StatusOf(const Folder& linking) {
  LinkedCatalogStatus status;
  status.folder_id = linking.ID();
  status.probe_id = ComposeItemID(linking.ID(), linking.ExternalCatalogID());
  status.name = linking.Name();
  return status;
}

// Tries each catalog on a thread of its own and fills in what was found.
void Probe(const std::shared_ptr<ConnectionDetails>& details,
           std::vector<LinkedCatalogStatus>& statuses) {
  std::vector<std::optional<AutomationError>> failures(statuses.size());
  std::vector<std::thread> probes;
  for (size_t i = 0; i < statuses.size(); ++i) {
    probes.push_back(Start(
        [&details, &status = statuses[i]] {
          status.item_id =
              RequireTop(ClippingDataRead().GetCatalogsRootFolder(status.probe_id, details))->ID();
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
  Start([&details] { RequireTop(ClippingDataRead().GetPersonalCatalogRootFolder(details)); },
        failure)
      .join();
  if (failure) throw *failure;
}

std::vector<LinkedCatalogStatus> ProbeLinkedCatalogs(Catalog& catalog) {
  std::vector<LinkedCatalogStatus> statuses;
  const auto folders = catalog.read().GetLinkingFolders(catalog.details());
  for (const auto& folder : *folders->Items()) statuses.push_back(StatusOf(*folder));
  Probe(catalog.details(), statuses);
  return statuses;
}

LinkedCatalogStatus ProbeLinkedCatalog(Catalog& catalog, const Folder& linking) {
  std::vector<LinkedCatalogStatus> statuses{StatusOf(linking)};
  Probe(catalog.details(), statuses);
  return statuses.front();
}

}  // namespace clipcat
