// clipcat::Catalog, a program's handle on one catalog: a file, or a catalog on a PostgreSQL
// server, with the catalogs linked into it. Every call is one request to the catalog; a call that
// fails raises clipcat::Error and leaves the catalog as it was.
//
// A Catalog belongs to the thread that opened it, and a thread has one open Catalog at a time:
// a call from another thread, or opening a second catalog on the same thread, raises Error 5.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "clipcat/error.h"
#include "clipcat/export.h"
#include "clipcat/items.h"

CLIPCAT_BEGIN_NAMESPACE

class CLIPCAT_API Catalog {
 public:
  // Opens the catalog `path_or_uri` names: a file path (relative to the current directory), a
  // "postgresql://" (or "postgres://") URI, or connection details as XML
  // ("<connectiondetails .../>"). Empty: $CLIPCAT_CATALOG, else the default personal catalog,
  // which is made on first use. Raises -2147220994 for a catalog that cannot be opened (a file
  // that does not exist is never made here).
  static Catalog Open(const std::string& path_or_uri = {});

  // Makes a new catalog where `path_or_uri` says, with its top folder named `top_folder` (by
  // default the file's name without its extension, or "Shared" on a server), and opens it. An
  // existing file, or a database that holds a catalog already, is refused.
  static Catalog Create(const std::string& path_or_uri, const std::string& top_folder = {});

  Catalog(Catalog&& other) noexcept;
  Catalog& operator=(Catalog&& other) noexcept;
  Catalog(const Catalog&) = delete;
  Catalog& operator=(const Catalog&) = delete;
  // Closes the catalog and the catalogs linked into it.
  ~Catalog();

  // The folder tree: the top folder with every folder below it in `children`, linked catalogs
  // under their linking folder (offline when they do not answer).
  std::vector<Folder> Folders();

  // The clippings of one folder (id or path), without their items, in the catalog's order.
  std::vector<Clipping> ClippingsIn(const std::string& folder);

  // The clipping (id or path) with its items.
  Clipping GetClipping(const std::string& clipping);

  // The clipping's text: its plain text item byte for byte, else the text of its first rich
  // text or XML item. Raises Error 5 for a clipping without one.
  std::string Text(const std::string& clipping);

  // The clippings whose name, description or content hold the words of `text` (quoted phrases,
  // "-word" to leave out, "prefix*"), best first. Raises Error 5 for a text without a word to
  // look for.
  std::vector<SearchHit> Search(const std::string& text, const SearchOptions& options = {});

  // Counts the clipping (id or path) as used now: it comes first in History. Reading a clipping
  // does not count as a use; a program calls this when it pastes or copies one.
  void RecordUse(const std::string& clipping);

  // The clippings used most recently, most recent first.
  std::vector<Clipping> History(int32_t limit = 20);

  // Adds a folder named `name` under `parent` (id or path); the name must be unique there.
  Folder AddFolder(const std::string& parent, const std::string& name);

  // Adds a clipping to `folder` (id or path); its name must be unique there. Answers it as added.
  Clipping AddClipping(const std::string& folder, const NewClipping& clipping);
  // Adds a clipping holding one plain text item.
  Clipping AddClipping(const std::string& folder, const std::string& name, const std::string& text);

 private:
  struct State;
  explicit Catalog(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

CLIPCAT_END_NAMESPACE
