// Paths to ids: the folder tree is read once and walked segment by segment.
#include "library/item_paths.h"

#include <vector>

#include "engine/case_folding.h"
#include "library/item_lookup.h"
#include "util/item_id.h"

namespace clipcat {
namespace {

std::vector<std::string> Segments(const std::string& path) {
  std::vector<std::string> segments;
  size_t start = 0;
  while (start <= path.size()) {
    size_t slash = path.find('/', start);
    if (slash == std::string::npos) slash = path.size();
    if (slash > start) segments.push_back(path.substr(start, slash - start));
    start = slash + 1;
  }
  return segments;
}

using FolderList = std::vector<std::shared_ptr<Folder>>;

FolderList Named(const FolderList& folders, const std::string& name) {
  FolderList named;
  for (const auto& folder : folders) {
    if (CompareFoldedCase(folder->Name(), name) == 0) named.push_back(folder);
  }
  return named;
}

FolderList Children(const Folder& folder) { return folder.ChildFolders()->Snapshot(); }

[[noreturn]] void Ambiguous(const std::string& path, const std::vector<std::string>& candidates) {
  std::string list;
  for (const std::string& candidate : candidates) list += (list.empty() ? "" : ", ") + candidate;
  Refuse("\"" + path + "\" names more than one item: " + list + "; use an id");
}

}  // namespace

std::string ResolveItem(Catalog& catalog, const std::string& text, ItemKind kind) {
  if (IsItemIdForm(text)) return text;
  const std::string top_id = RequireTopFolder(catalog)->ID();
  const std::vector<std::string> segments = Segments(text);
  if (segments.empty()) {
    if (kind == ItemKind::kClipping) Refuse("\"" + text + "\" names no clipping");
    return top_id;
  }
  // At the top: the top folder's children and the linked catalogs.
  const auto tree = catalog.read().GetFolders(catalog.details(), true);
  FolderList level;
  for (const auto& top : tree->Items()->Snapshot()) {
    if (top->ID() == top_id) {
      for (const auto& child : Children(*top)) level.push_back(child);
    } else {
      level.push_back(top);
    }
  }
  std::string parent = top_id;
  std::string walked;
  for (size_t i = 0; i + 1 < segments.size(); ++i) {
    walked += (walked.empty() ? "" : "/") + segments[i];
    const FolderList named = Named(level, segments[i]);
    if (named.empty()) Refuse("no folder \"" + walked + "\"");
    if (named.size() > 1) {
      std::vector<std::string> candidates;
      for (const auto& folder : named) candidates.push_back("folder " + folder->ID());
      Ambiguous(walked, candidates);
    }
    parent = named.front()->ID();
    level = Children(*named.front());
  }
  const std::string& last = segments.back();
  std::vector<std::string> candidates;
  std::string found;
  if (kind != ItemKind::kClipping) {
    for (const auto& folder : Named(level, last)) {
      candidates.push_back("folder " + folder->ID());
      found = folder->ID();
    }
  }
  if (kind != ItemKind::kFolder) {
    const auto clipping = catalog.read().GetClippingByName(last, parent, false, catalog.details());
    if (clipping) {
      candidates.push_back("clipping " + clipping->ID());
      found = clipping->ID();
    }
  }
  if (candidates.size() > 1) Ambiguous(text, candidates);
  if (found.empty()) {
    Refuse(std::string("no ") +
           (kind == ItemKind::kFolder     ? "folder"
            : kind == ItemKind::kClipping ? "clipping"
                                          : "folder or clipping") +
           " \"" + text + "\"");
  }
  return found;
}

std::string FolderPath(Catalog& catalog, const std::string& folder_id) {
  std::vector<std::string> names;
  std::string id = folder_id;
  for (int depth = 0; depth < 100000; ++depth) {
    const auto folder = RequireFolder(catalog, id);
    if (IsTopFolder(*folder)) {
      // A linked catalog's top folder goes by its linked folder's name.
      if (GetCatalogIDFromItemID(id) != "0") {
        for (const auto& top :
             catalog.read().GetFolders(catalog.details(), true)->Items()->Snapshot()) {
          if (top->ID() == id) names.push_back(top->Name());
        }
      }
      break;
    }
    names.push_back(folder->Name());
    id = folder->ParentID();
  }
  std::string path;
  for (auto it = names.rbegin(); it != names.rend(); ++it) path += (path.empty() ? "" : "/") + *it;
  return path;
}

}  // namespace clipcat
