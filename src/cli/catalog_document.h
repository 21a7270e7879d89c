// The catalog document that `export` writes and `import` reads: one XML document holding a folder
// tree with its clippings and their data, categories with their members, and linked catalogs.
// `mv` of a folder uses the same document in memory to copy a subtree. Every read and write goes
// through the public services of a Session. Not thread-safe: a document belongs to one thread.
//
//   <clipcat-catalog version="1">
//     <folder name="Personal" description="">
//       <folder name="Letters" description="">
//         <clipping id="12" name="Greeting" description="">
//           <data type="2">Dear Sir or Madam,</data>
//           <data type="1" encoding="base64">e1xydGYxIH0=</data>
//         </clipping>
//       </folder>
//     </folder>
//     <category name="Correspondence" description=""><member clipping="12"/></category>
//     <link name="Shared" connection="&lt;connectiondetails .../&gt;"/>
//   </clipcat-catalog>
//
// Clipping ids only tie members to clippings within one document; a catalog that imports it gives
// every folder and clipping a new id, GUID and update time.
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>

#include "cli/progress.h"
#include "cli/session.h"

namespace clipcat::cli {

// Element and attribute names of the document and its version. Frozen: exported files must
// stay readable by later versions.
namespace doc {
inline constexpr const char* kRoot = "clipcat-catalog";
inline constexpr const char* kVersionAttribute = "version";
inline constexpr const char* kVersion = "1";
inline constexpr const char* kFolder = "folder";
inline constexpr const char* kClipping = "clipping";
inline constexpr const char* kData = "data";
inline constexpr const char* kCategory = "category";
inline constexpr const char* kMember = "member";
inline constexpr const char* kLink = "link";
inline constexpr const char* kId = "id";
inline constexpr const char* kName = "name";
inline constexpr const char* kDescription = "description";
inline constexpr const char* kType = "type";
inline constexpr const char* kEncoding = "encoding";
inline constexpr const char* kBase64 = "base64";
inline constexpr const char* kMemberClipping = "clipping";
inline constexpr const char* kConnection = "connection";
}  // namespace doc

// How much a document holds.
struct DocumentCounts {
  size_t folders = 0;
  size_t clippings = 0;
  size_t categories = 0;
  size_t memberships = 0;
  size_t links = 0;
};

// The steps an import of a document with these counts takes, for its progress bar.
inline size_t ImportSteps(const DocumentCounts& counts) {
  return counts.folders + counts.clippings + counts.categories + counts.memberships + counts.links;
}

// "3 folders, 12 clippings, 2 categories, 5 memberships" (and ", 1 link" when there are any).
std::string DescribeCounts(const DocumentCounts& counts);

// Replaces `document` with the subtree of folder `folder_id`: the folder, the folders below it
// and their clippings that are not deleted, each clipping with all of its data items. With
// `whole_catalog`, every category of the catalog and every linked catalog is written too;
// otherwise only the categories that hold one of the written clippings. Memberships are written
// for the written clippings only. Data that XML text cannot carry is written in base64.
// Raises the services' errors, and 5 for a name or description that XML cannot carry.
DocumentCounts ExportFolderTree(Session& session, const std::string& folder_id, bool whole_catalog,
                                pugi::xml_document& document, ProgressBar& progress);

// Reads a catalog document from `text` into `document` and checks all of it before anything is
// written: the root and its version, element and attribute names, data types, base64 data, and
// that every member names a clipping of the document. Raises 5 "Invalid procedure call or
// argument" saying what is wrong.
DocumentCounts LoadDocument(const std::string& text, pugi::xml_document& document);

// What an import made.
struct ImportResult {
  std::string folder_id;  // the document's folder in the catalog (new unless merged)
  DocumentCounts counts;  // what was added; categories found by name are not counted
};

// Writes a document that LoadDocument accepted into the catalog. With `as_child` the document's
// folder becomes a new child of `target`; otherwise its contents (child folders, clippings) are
// added to `target` itself, and when `target` is the catalog's empty top folder it also takes
// the document folder's name and description, so that importing an export into a new catalog
// gives the same catalog. Categories are matched by name (without regard to case) with those of
// the target's catalog and made when missing; linked catalogs are linked again only when merging
// into the top folder. Names are checked as `add` and `mkdir` check them. On any failure
// everything the import added is removed again before the error is raised.
ImportResult ImportDocument(Session& session, const pugi::xml_document& document,
                            const std::string& target, bool as_child, ProgressBar& progress);

}  // namespace clipcat::cli
