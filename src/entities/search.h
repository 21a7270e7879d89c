// Search carries the criteria of a clipping search: a search text, the folders to search
// (optionally with their subfolders) and category names, with a switch that makes belonging to
// one of the categories an alternative to matching the text. A reference object
// (std::shared_ptr) that clients pass as XML. Not thread-safe: use an object from one thread at
// a time.
#pragma once

#include <memory>
#include <string>

#include "entities/collection.h"

namespace clipcat {

using TextCollection = Collection<std::string>;

class Search {
 public:
  Search();
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  static std::shared_ptr<Search> Create() { return std::make_shared<Search>(); }

  const std::string& SearchText() const { return search_text_; }
  void SetSearchText(std::string sNewValue) { search_text_ = std::move(sNewValue); }

  bool SearchSubFolders() const { return search_sub_folders_; }
  void SetSearchSubFolders(bool bNewValue) { search_sub_folders_ = bNewValue; }

  bool OrClippingBelongsToCategory() const { return or_clipping_belongs_to_category_; }
  void SetOrClippingBelongsToCategory(bool bNewValue) {
    or_clipping_belongs_to_category_ = bNewValue;
  }

  // The folder ids to search, in order; clients add to the list itself. Never null.
  const std::shared_ptr<TextCollection>& FolderIDs() const { return folder_ids_; }
  // Raises 91 "Object variable or With block variable not set" for nullptr.
  void SetFolderIDs(std::shared_ptr<TextCollection> vNewValue);

  // The category names, in order; clients add to the list itself. Never null.
  const std::shared_ptr<TextCollection>& CategoryNames() const { return category_names_; }
  // Raises 91 "Object variable or With block variable not set" for nullptr.
  void SetCategoryNames(std::shared_ptr<TextCollection> vNewValue);

  // Drop the list and start a new empty one.
  void ClearFolderIDs();
  void ClearCategoryNames();

  // One "search" element with "searchtext", "searchsubfolders" and "OrClippingBelongsToCategory"
  // ("true"/"false"), then a "folderid" child per folder id and a "categoryname" child per
  // category name, e.g. <search searchtext="tax" searchsubfolders="true"
  // OrClippingBelongsToCategory="false"><folderid>15</folderid></search>. Raises 5 when a text
  // holds a character XML cannot carry.
  std::string XML() const;

  // Clears FolderIDs, then reads the text and the switches (missing: empty and false; "Yes" and
  // "No" understood) and appends each "folderid" child to FolderIDs and each "categoryname"
  // child to CategoryNames, in document order; other children are skipped. CategoryNames is NOT
  // cleared: names already held stay in front of those read, so a caller reusing an object
  // calls ClearCategoryNames first. Raises 424 "Object required" for text that is not well
  // formed or whose root is not "search", after FolderIDs has been cleared.
  void SetXML(const std::string& sNewValue);

 private:
  std::string search_text_;
  std::shared_ptr<TextCollection> folder_ids_;
  std::shared_ptr<TextCollection> category_names_;
  bool search_sub_folders_ = false;
  bool or_clipping_belongs_to_category_ = false;
};

}  // namespace clipcat
