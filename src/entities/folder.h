// Folder is one node of a catalog's folder tree as the services hand it out, optionally with its
// child folders so that a whole subtree travels as one XML text; Folders is a flat list of
// folders. Both are reference objects (std::shared_ptr) without any tie to the store. Not
// thread-safe: use an object from one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "entities/collection.h"
#include "entities/store_key.h"
#include "util/date.h"

namespace clipcat {

// The status the services give the folder of a linked catalog that did not answer (catalogs
// store status 4 for folders in error; listings leave such rows out).
inline constexpr int32_t kFolderStatusOffline = 4;

class Folder;
using FolderCollection = Collection<std::shared_ptr<Folder>>;

namespace internal {
struct FolderXml;
}

class Folder {
 public:
  // A folder with empty texts, status 0, no external catalog, no children, and `Updated` the
  // moment of construction.
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  static std::shared_ptr<Folder> Create() { return std::make_shared<Folder>(); }

  // The item identifier, in whatever form the routing layer gives it ("15", "P7C15").
  const std::string& ID() const { return id_; }
  void SetID(std::string sNewValue) { id_ = std::move(sNewValue); }

  const std::string& Name() const { return name_; }
  void SetName(std::string sNewValue) { name_ = std::move(sNewValue); }

  const std::string& Description() const { return description_; }
  void SetDescription(std::string sNewValue) { description_ = std::move(sNewValue); }

  // Read-only to clients; filled by the store from the folder's row.
  const std::string& GUID() const { return guid_; }
  void SetGUID(StoreKey, std::string sNewValue) { guid_ = std::move(sNewValue); }

  const std::string& ParentID() const { return parent_id_; }
  void SetParentID(StoreKey, std::string sNewValue) { parent_id_ = std::move(sNewValue); }

  // One of the folder status codes of the catalog (1 active ... 4 error).
  int32_t Status() const { return status_; }
  void SetStatus(StoreKey, int32_t lNewValue) { status_ = lNewValue; }

  // The external catalog a linked folder stands for; 0 for an ordinary folder.
  int32_t ExternalCatalogID() const { return external_catalog_id_; }
  void SetExternalCatalogID(StoreKey, int32_t lNewValue) { external_catalog_id_ = lNewValue; }

  Date Updated() const { return updated_; }
  void SetUpdated(StoreKey, Date tNewValue) { updated_ = tNewValue; }

  // The child folders, in order. Never null. The same list object is answered until it is
  // replaced by SetChildFolders or by SetXML, which gives the folder a new list and leaves the
  // old one, and anyone holding it, untouched.
  const std::shared_ptr<FolderCollection>& ChildFolders() const { return child_folders_; }
  // Raises 91 "Object variable or With block variable not set" for nullptr.
  void SetChildFolders(std::shared_ptr<FolderCollection> vNewValue);

  // The folder as one "Folder" element with its child folders nested in it, e.g.
  // <Folder Folderid="15" guid="" parentid="1" name="A" description="" status="1"
  // updated="14:05:09 3 Mar 2002" isleaf="0"/>. Raises 5 when a text holds a character XML
  // cannot carry, 91 when a child is nullptr, and 5 when a folder is its own descendant.
  std::string XML() const;

  // Replaces every property and the whole child tree from `sNewValue`. Missing attributes take
  // empty texts, 0 and the current time; unknown attributes are ignored. The child list is
  // replaced by a new empty one first, so it stays empty when the text is refused. Raises 424
  // "Object required" for text that is not well formed, whose root is not "Folder", or whose
  // element holds anything but "Folder" elements; 13 "Type mismatch" (or 6 "Overflow") for a
  // "status" or "isleaf" that is not a 32-bit number, keeping the properties read before it.
  void SetXML(const std::string& sNewValue);

 private:
  friend struct internal::FolderXml;

  std::string id_;
  std::string guid_;
  std::string parent_id_;
  int32_t status_ = 0;
  int32_t external_catalog_id_ = 0;
  std::string name_;
  std::string description_;
  Date updated_;
  std::shared_ptr<FolderCollection> child_folders_;
};

// A flat, ordered list of folders (positions from 1, no keys, duplicates allowed).
class Folders {
 public:
  Folders();
  Folders(const Folders&) = delete;
  Folders& operator=(const Folders&) = delete;

  static std::shared_ptr<Folders> Create() { return std::make_shared<Folders>(); }

  // The underlying collection (the interface's "Folders" property). Never null; ClearFolders and
  // SetXML replace it with a new one.
  const std::shared_ptr<FolderCollection>& Items() const { return folders_; }

  // "<Folders>", each member's XML in order, "</Folders>". Raises as Folder::XML does.
  std::string XML() const;

  // Clears the list, then appends a folder for each "Folder" element under the root "Folders".
  // Raises 424 "Object required" for text that is not well formed, a root other than "Folders",
  // or a member that is not a "Folder" element (the members read before it stay); otherwise
  // raises as Folder::SetXML does.
  void SetXML(const std::string& sNewValue);

  // Drops the collection and starts a new empty one.
  void ClearFolders();

  // Appends each folder of `colFolders`, in its order: the same objects, not copies. Appending a
  // list to itself doubles it. Raises 91 for nullptr.
  void AddFolders(const std::shared_ptr<Folders>& colFolders);

  // Appends `oFolder` (nullptr included, which then makes XML raise 91).
  void AddFolder(std::shared_ptr<Folder> oFolder);

 private:
  std::shared_ptr<FolderCollection> folders_;
};

}  // namespace clipcat
