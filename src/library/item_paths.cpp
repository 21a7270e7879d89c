// Paths to ids: the folder tree is read once and walked segment by segment.
#include "library/item_paths.h"

#include <vector>

#include "engine/case_folding.h"
#include "library/item_lookup.h"
#include "util/errors.h"
#include "util/item_id.h"

namespace clipcat {
namespace {

// The steps of `path` with their escapes undone (see PathStep); empty steps are left out.
std::vector<std::string> Segments(const std::string& path) {
  std::vector<std::string> segments;
  std::string step;
  for (size_t at = 0; at < path.size(); ++at) {
    const char c = path[at];
    if (c == '\\' && at + 1 < path.size() && (path[at + 1] == '/' || path[at + 1] == '\\')) {
      step += path[++at];
    } else if (c == '/') {
      if (!step.empty()) segments.push_back(step);
      step.clear();
    } else {
      step += c;
    }
  }
  if (!step.empty()) segments.push_back(step);
  return segments;
}

// `steps` joined by "/"; a path that would read as an id ("12") starts with "/".
std::string JoinSteps(const std::vector<std::string>& steps) {
  std::string path;
  for (const std::string& step : steps) path += (path.empty() ? "" : "/") + step;
  return IsItemIdForm(path) ? "/" + path : path;
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

std::string PathStep(const std::string& name) {
  std::string step;
  for (char c : name) {
    if (c == '\\' || c == '/') step += '\\';
    step += c;
  }
  return step;
}

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
  std::vector<std::string> steps;
  std::string id = folder_id;
  for (int depth = 0; depth < 100000; ++depth) {
    const auto folder = RequireFolder(catalog, id);
    if (IsTopFolder(*folder)) {
      // A linked catalog's top folder goes by its linked folder's name.
      if (GetCatalogIDFromItemID(id) != "0") {
        for (const auto& top :
             catalog.read().GetFolders(catalog.details(), true)->Items()->Snapshot()) {
          if (top->ID() == id) steps.push_back(PathStep(top->Name()));
        }
      }
      break;
    }
    steps.push_back(PathStep(folder->Name()));
    id = folder->ParentID();
  }
  return JoinSteps({steps.rbegin(), steps.rend()});
}

std::string FolderPaths::Of(const std::string& folder_id) {
  if (!read_) {
    read_ = true;
    IgnoreErrors([&] {
      const std::string top_id = RequireTopFolder(catalog_)->ID();
      struct Pending {
        std::shared_ptr<Folder> folder;
        std::vector<std::string> steps;
      };
      std::vector<Pending> stack;
      for (const auto& top :
           catalog_.read().GetFolders(catalog_.details(), true)->Items()->Snapshot()) {
        // The selected catalog's top folder is the empty path; a linked catalog is a step.
        stack.push_back({top, top->ID() == top_id
                                  ? std::vector<std::string>{}
                                  : std::vector<std::string>{PathStep(top->Name())}});
      }
      while (!stack.empty()) {
        Pending next = std::move(stack.back());
        stack.pop_back();
        paths_[next.folder->ID()] = JoinSteps(next.steps);
        for (const auto& child : next.folder->ChildFolders()->Snapshot()) {
          std::vector<std::string> steps = next.steps;
          steps.push_back(PathStep(child->Name()));
          stack.push_back({child, std::move(steps)});
        }
      }
    });
  }
  const auto known = paths_.find(folder_id);
  if (known != paths_.end()) return known->second;
  std::string path;
  IgnoreErrors([&] { path = FolderPath(catalog_, folder_id); });
  paths_[folder_id] = path;
  return path;
}

std::string FolderPaths::Below(const std::string& folder_id, const std::string& name) {
  std::string folder = Of(folder_id);
  // A folder path that starts with "/" only so as not to read as an id needs it no more.
  if (!folder.empty() && folder.front() == '/') folder.erase(0, 1);
  return JoinSteps(folder.empty() ? std::vector<std::string>{PathStep(name)}
                                  : std::vector<std::string>{folder, PathStep(name)});
}

}  // namespace clipcat
