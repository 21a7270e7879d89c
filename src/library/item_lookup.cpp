#include "library/item_lookup.h"

#include "engine/case_folding.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/text.h"

namespace clipcat {

bool IsItemIdForm(const std::string& id) {
  size_t at = 0;
  const auto digits = [&] {
    const size_t start = at;
    while (at < id.size() && id[at] >= '0' && id[at] <= '9') ++at;
    return at > start;
  };
  if (!id.empty() && (id[0] == 'P' || id[0] == 'p')) {
    ++at;
    if (!digits() || at >= id.size() || (id[at] != 'C' && id[at] != 'c')) return false;
    ++at;
  }
  return digits() && at == id.size();
}

void Refuse(const std::string& what) {
  throw AutomationError(err::kInvalidProcedureCall, kComponentSource, what);
}

std::shared_ptr<Folder> FolderOrNothing(Catalog& catalog, const std::string& id) {
  try {
    return catalog.read().GetFolder(id, catalog.details());
  } catch (const AutomationError& e) {
    // The read service says "no such folder" with these; any other failure (a catalog that
    // could not be opened or read) says nothing about whether the folder is there.
    if (e.number() != err::kObjectVariableNotSet && e.number() != err::kTypeMismatch) throw;
  }
  return nullptr;
}

bool IsTopFolder(const Folder& folder) {
  const std::string& parent = folder.ParentID();
  return parent.empty() || GetLocalItemID(parent, std::stoi(GetCatalogIDFromItemID(parent))) == "0";
}

void RequireIdForm(const std::string& id) {
  if (!IsItemIdForm(id)) {
    Refuse("\"" + id +
           "\" is not an id: ids are numbers such as 12 (P1C12 for an item of a linked " +
           "catalog)");
  }
}

std::shared_ptr<Folder> RequireFolder(Catalog& catalog, const std::string& id) {
  RequireIdForm(id);
  auto folder = FolderOrNothing(catalog, id);
  if (!folder) {
    // A catalog that does not open says so, rather than that its folder is missing.
    RequireReachable(catalog);
    Refuse("no folder has the id " + id);
  }
  return folder;
}

std::shared_ptr<Clipping> RequireClipping(Catalog& catalog, const std::string& id, bool data) {
  RequireIdForm(id);
  auto clipping = catalog.read().GetClipping(id, catalog.details(), data);
  if (!clipping) Refuse("no clipping or folder has the id " + id);
  return clipping;
}

void RequireReachable(Catalog& catalog) {
  catalog.read().GetPersonalCatalogRootFolder(catalog.details());
}

std::shared_ptr<Folder> RequireTopFolder(Catalog& catalog) {
  auto top = catalog.read().GetPersonalCatalogRootFolder(catalog.details());
  if (!top) Refuse("the catalog has no top folder");
  return top;
}

std::shared_ptr<Category> CategoryNamed(Catalog& catalog, const std::string& item_id,
                                        const std::string& name) {
  const auto categories = catalog.read().GetCategoriesFromFolder(item_id, catalog.details());
  for (const auto& category : *categories->Items()) {
    if (CompareFoldedCase(category->Name(), name) == 0) return category;
  }
  return nullptr;
}

}  // namespace clipcat
