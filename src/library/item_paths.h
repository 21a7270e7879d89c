// Naming folders and clippings by path as well as by id: "Mail/Replies/Signature", relative to
// the personal catalog's top folder, with a linked catalog's folders under its linked folder's
// name ("Team/Shared/Greeting"). The same paths are what front ends print, so that a path shown
// can be given back as an argument. Not thread-safe: works through a Catalog.
#pragma once

#include <map>
#include <string>

#include "library/catalog.h"

namespace clipcat {

// What a name may stand for.
enum class ItemKind { kFolder, kClipping, kAny };

// `name` as one step of a path: "\/" for a slash and "\\" for a backslash inside it, so that a
// path splits at its other slashes. Every path this unit prints or reads is made of such steps.
std::string PathStep(const std::string& name);

// The id of the item that `text` names. An id ("12", "P1C12") is answered as it is; anything
// else is a path: steps separated by "/" (empty ones and a leading "/" are ignored; "" and "/"
// name the top folder; "\/" and "\\" in a step stand for a slash and a backslash of the name,
// a backslash before anything else for itself), each compared with the names of the folders
// there as the catalog compares names, without regard to case; the last one may name a clipping
// when `kind` allows. Refuses (5, "clipcat") a path that names nothing, naming the first step
// not found, and a path that names more than one item, listing each with its id ("folder 4,
// clipping 9").
std::string ResolveItem(Catalog& catalog, const std::string& text, ItemKind kind);

// A folder's path as ResolveItem reads it ("Mail/Replies"; "" for the top folder; a linked
// catalog's folders under the linked folder's name). Raises what RequireFolder raises.
std::string FolderPath(Catalog& catalog, const std::string& folder_id);

// The paths of folders for a front end that prints many of them (a listing, a search, the
// trash): the folder tree, linked catalogs included, is read once, on the first call of
// Of. A folder that is not in the tree (a deleted one) is found by its parents.
class FolderPaths {
 public:
  explicit FolderPaths(Catalog& catalog) : catalog_(catalog) {}
  FolderPaths(const FolderPaths&) = delete;
  FolderPaths& operator=(const FolderPaths&) = delete;

  // FolderPath of `folder_id`, or "" when it cannot be read. Never raises.
  std::string Of(const std::string& folder_id);

  // The path of the item named `name` in folder `folder_id` ("Mail/Replies/Signature").
  std::string Below(const std::string& folder_id, const std::string& name);

 private:
  Catalog& catalog_;
  bool read_ = false;
  std::map<std::string, std::string> paths_;  // folder id -> path, filled from the tree
};

}  // namespace clipcat
