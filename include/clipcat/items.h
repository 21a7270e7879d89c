// What the C++ interface answers: folders, clippings, their content items and search hits, as
// plain values. Each is a copy of what the catalog held when it was read; changing one changes
// nothing in the catalog. Ids are the catalog's item ids ("15", "P7C15" in a linked catalog);
// every call that takes an id takes a path as well ("Mail/Replies/Signature").
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "clipcat/export.h"

CLIPCAT_BEGIN_NAMESPACE

// One content item of a clipping.
struct DataItem {
  // 1 rtf, 2 text, 3 excel-xml, 4 word-xml, 5 catalog-xml.
  int32_t type = 2;
  // The short name of `type` ("text", "rtf", ...); filled when read, ignored when added.
  std::string type_name;
  // The content byte for byte (UTF-8 for text).
  std::string content;
};

struct Folder {
  std::string id;
  std::string name;
  std::string description;
  std::string parent_id;  // empty for a top folder
  // The path that names it ("Mail/Replies"; "" for the top folder), linked catalogs under their
  // linking folder's name.
  std::string path;
  bool linked = false;   // the top of a linked catalog
  bool offline = false;  // a linked catalog that does not answer
  std::chrono::sys_seconds updated{};
  // The folders below it, in the catalog's order; filled by Catalog::Folders.
  std::vector<Folder> children;
};

struct Clipping {
  std::string id;
  std::string folder_id;
  std::string name;
  std::string description;
  // The path that names it ("Mail/Replies/Signature"), as Folder::path with its name after it.
  std::string path;
  std::chrono::sys_seconds updated{};
  std::optional<std::chrono::sys_seconds> accessed;  // nothing when it was never used
  // Filled by Catalog::GetClipping; empty in lists.
  std::vector<DataItem> items;
};

// One clipping that a content search found, best first.
struct SearchHit {
  std::string id;
  std::string name;
  std::string path;     // as Clipping::path
  std::string snippet;  // the words around what matched
  double score = 0;
};

// What a content search may be narrowed to.
struct SearchOptions {
  std::string folder;    // a folder id or path: it and the folders below it; empty: everything
  std::string category;  // a category name; empty: any
  int32_t limit = 50;    // at most this many hits
};

// A clipping to add: a name unique in its folder and at least one item.
struct NewClipping {
  std::string name;
  std::string description;
  std::vector<DataItem> items;
};

CLIPCAT_END_NAMESPACE
