#include "cli/item_lookup.h"

#include "automation/entity_objects.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::cli {

void Refuse(const std::string& what) {
  throw AutomationError(err::kInvalidProcedureCall, kComponentSource, what);
}

std::shared_ptr<Folder> FolderOrNothing(Session& session, const std::string& id) {
  std::shared_ptr<Folder> folder;
  IgnoreErrors([&] { folder = Unwrap<Folder>(session.Read("GetFolder", {Variant(id)})); });
  return folder;
}

std::shared_ptr<Folder> RequireFolder(Session& session, const std::string& id) {
  const auto folder = FolderOrNothing(session, id);
  if (!folder) Refuse("no folder has the id " + id);
  return folder;
}

std::shared_ptr<Clipping> RequireClipping(Session& session, const std::string& id, bool data) {
  const auto clipping = Unwrap<Clipping>(session.Read("GetClipping", {Variant(id), Variant(data)}));
  if (!clipping) Refuse("no clipping or folder has the id " + id);
  return clipping;
}

std::shared_ptr<Category> CategoryNamed(Session& session, const std::string& item_id,
                                        const std::string& name) {
  const auto categories =
      Unwrap<Categories>(session.Read("GetCategoriesFromFolder", {Variant(item_id)}));
  for (const auto& category : *categories->Items()) {
    if (EqualsIgnoreCase(category->Name(), name)) return category;
  }
  return nullptr;
}

}  // namespace clipcat::cli
