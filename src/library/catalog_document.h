// The catalog document: one XML document holding a folder tree with its clippings and their data,
// categories with their members, and linked catalogs. An export writes it and an import reads it,
// so that a catalog can be saved, moved to another machine or merged into another catalog; moving
// a folder carries its subtree across in one. A document is a value: it belongs to one thread at
// a time.
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
// A document with history also holds the versions of each clipping, after its data, and the
// trash: the folders and clippings that were deleted, where they were, each deleted one marked
// with when and by whom (a deleted folder holds what went with it). Times are the catalog's own,
// local wall-clock times as "yyyy-mm-dd hh:nn:ss":
//
//         <clipping id="12" name="Greeting" description="">
//           <data type="2">Dear Sir or Madam,</data>
//           <version number="1" saved="2026-11-20 09:15:00" saved-by="ann" name="Greeting"
//                    description=""><data type="2">Dear Sir,</data></version>
//         </clipping>
//         <clipping id="13" name="Old" description="" deleted="1"
//                   deleted-at="2026-11-21 10:00:00" deleted-by="ann">...</clipping>
//
// Each folder holds its clippings, then its child folders. Clipping ids only tie members to
// clippings within one document; a catalog that imports it gives every folder and clipping a new
// id, GUID and update time. A portable document (catalog_portable.h) has no ids: its members name
// clippings by path, <member path="Letters/Greeting"/>. A name or description that XML cannot
// carry is written in base64 with NAME-encoding="base64" beside it, as data is.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <pugixml.hpp>
#include <string>

namespace clipcat {

namespace internal {
struct CheckedDocument;
}  // namespace internal

// Element and attribute names of the document and its version. Frozen: exported files must stay
// readable by later versions.
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
inline constexpr const char* kMemberPath = "path";
inline constexpr const char* kEncodingSuffix = "-encoding";  // "name-encoding" and the like
inline constexpr const char* kConnection = "connection";
inline constexpr const char* kVersionElement = "version";
inline constexpr const char* kNumber = "number";
inline constexpr const char* kSaved = "saved";
inline constexpr const char* kSavedBy = "saved-by";
inline constexpr const char* kDeleted = "deleted";
inline constexpr const char* kDeletedAt = "deleted-at";
inline constexpr const char* kDeletedBy = "deleted-by";
}  // namespace doc

// How much a document holds, or how much an import added.
struct DocumentCounts {
  size_t folders = 0;
  size_t clippings = 0;
  size_t categories = 0;
  size_t memberships = 0;
  size_t links = 0;
  size_t versions = 0;  // kept states of clippings
  size_t deleted = 0;   // folders and clippings marked deleted (trash entries)
};

class CatalogDocument {
 public:
  // A document holding nothing, not even its root.
  CatalogDocument() = default;
  CatalogDocument(CatalogDocument&&) = default;
  CatalogDocument& operator=(CatalogDocument&&) = default;
  CatalogDocument(const CatalogDocument&) = delete;
  CatalogDocument& operator=(const CatalogDocument&) = delete;

  // Reads a document from UTF-8 `text` and checks all of it, so that an import of it fails only
  // on what the catalog refuses: the root and its version, element and attribute names, that
  // every folder, clipping, category and link has a name (blank ones are the import's to fix
  // up), data types, base64 data and texts, that every member names a clipping of the document
  // once (by id or by path), that each link holds connection details, and the versions and
  // deletion marks of a document with history. Raises 5 "Invalid procedure call or argument: not
  // a clipcat catalog document: " and what is wrong. The document keeps `text` and is parsed in
  // place in it, so that a large document is held once, not as its text and a copy.
  static CatalogDocument Parse(std::string text);

  // Checks `xml` as Parse checks a text, for documents built from other formats.
  static CatalogDocument FromXml(pugi::xml_document xml);

  // Checks the document in the file `path` as Parse checks a text, but reads the file as a stream
  // and keeps only what an import needs besides the tree (counts, clipping ids and paths,
  // categories and links): an import reads the file again, so memory does not grow with the
  // document. The file must not change until the import is done. A file the stream reader does
  // not take (see StreamDocument in catalog_document_internal.h) is read whole with Parse instead,
  // so that every document is refused or taken exactly as Parse does. Raises 53 "File not found:
  // PATH" (source "clipcat") for a file that cannot be opened, and Parse's errors.
  static CatalogDocument Open(const std::string& path);

  // What the document holds.
  const DocumentCounts& counts() const { return counts_; }

  // The document as text: an XML declaration, then the elements indented by two spaces; any XML
  // parser reads back exactly the names and data it holds. A document opened from a file writes
  // the file's text as it is.
  void Write(std::ostream& out) const;

  // Writes the document to the file `path`, first beside it (PATH.partial) and then renamed into
  // place, so that a failure never leaves half a document where a complete one was. Raises 75
  // "Cannot write FILE" (source "clipcat") when the file cannot be written; the partial file is
  // removed again.
  void WriteFile(const std::string& path) const;

  // The document itself; empty for a document opened from a file (see file()).
  const pugi::xml_document& xml() const { return xml_; }

  // The file the document is read from as a stream by an import; "" for a document held whole.
  const std::string& file() const { return file_; }

  // What the check kept for an import; null for a document an export made (not checked).
  const internal::CheckedDocument* checked() const { return checked_.get(); }

 private:
  friend CatalogDocument MakeCatalogDocument(pugi::xml_document xml, DocumentCounts counts);

  std::unique_ptr<std::string> text_;  // what Parse read, which xml_ points into; else null
  pugi::xml_document xml_;
  std::string file_;
  std::shared_ptr<const internal::CheckedDocument> checked_;
  DocumentCounts counts_;
};

}  // namespace clipcat
