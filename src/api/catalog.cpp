#include "library/catalog.h"

#include <clipcat/catalog.h>

#include <thread>
#include <utility>

#include "api/guarded_call.h"
#include "api/public_values.h"
#include "entities/connection_details.h"
#include "entities/plain_text.h"
#include "library/catalog_location.h"
#include "library/clipping_content.h"
#include "library/clipping_search.h"
#include "library/item_edits.h"
#include "library/item_lookup.h"
#include "library/item_paths.h"
#include "util/errors.h"

namespace clipcat {
namespace {

// The one open catalog of this thread (the services keep one set of open catalogs per thread).
thread_local bool thread_has_catalog = false;

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// A file path, a PostgreSQL URI or connection details as XML, as the command line's --catalog
// and --connection take them.
CatalogLocation LocationOf(const std::string& path_or_uri) {
  if (StartsWith(path_or_uri, "postgresql://") || StartsWith(path_or_uri, "postgres://")) {
    const auto details = ConnectionDetails::Create();
    details->SetDataSourceType(2);
    details->SetConnectionString(path_or_uri);
    return SelectCatalog("", details->XML());
  }
  if (StartsWith(path_or_uri, "<")) return SelectCatalog("", path_or_uri);
  return SelectCatalog(path_or_uri, "");
}

}  // namespace

namespace v0 {

struct Catalog::State {
  explicit State(std::shared_ptr<ConnectionDetails> details) : handle(std::move(details)) {
    thread_has_catalog = true;
  }
  ~State() { thread_has_catalog = false; }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The services' handle of `state`, refusing a moved-from Catalog and a call from another
  // thread.
  static ::clipcat::Catalog& HandleOf(const std::unique_ptr<State>& state) {
    if (state == nullptr) Refuse("the catalog was moved away or closed");
    if (state->thread != std::this_thread::get_id()) {
      Refuse("a catalog is used on the thread that opened it");
    }
    return state->handle;
  }

  ::clipcat::Catalog handle;
  std::thread::id thread = std::this_thread::get_id();
};

namespace {

std::string FolderIdOf(::clipcat::Catalog& handle, const std::string& folder) {
  return ResolveItem(handle, folder, ItemKind::kFolder);
}

}  // namespace

Catalog::Catalog(std::unique_ptr<State> state) : state_(std::move(state)) {}
Catalog::Catalog(Catalog&& other) noexcept = default;
Catalog& Catalog::operator=(Catalog&& other) noexcept = default;
Catalog::~Catalog() = default;

Catalog Catalog::Open(const std::string& path_or_uri) {
  return api::GuardedCall([&] {
    if (thread_has_catalog) {
      Refuse("this thread has a catalog open already: close it before opening another");
    }
    const CatalogLocation location = LocationOf(path_or_uri);
    EnsureDefaultCatalog(location);
    auto state = std::make_unique<State>(ConnectionDetailsFor(location));
    RequireReachable(state->handle);
    return Catalog(std::move(state));
  });
}

Catalog Catalog::Create(const std::string& path_or_uri, const std::string& top_folder) {
  api::GuardedCall([&] {
    if (thread_has_catalog) {
      Refuse("this thread has a catalog open already: close it before making another");
    }
    CreateCatalogAt(LocationOf(path_or_uri), top_folder);
  });
  return Open(path_or_uri);
}

std::vector<Folder> Catalog::Folders() {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    RequireReachable(handle);
    std::vector<Folder> tree;
    const auto folders = handle.read().GetFolders(handle.details(), true);
    for (const auto& top : *folders->Items()) {
      tree.push_back(api::PublicFolder(*top, "", true));
    }
    return tree;
  });
}

std::vector<Clipping> Catalog::ClippingsIn(const std::string& folder) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    const std::string id = FolderIdOf(handle, folder);
    RequireFolder(handle, id);
    const std::string path = FolderPath(handle, id);
    std::vector<Clipping> clippings;
    const auto found = handle.read().GetClippingsFromFolder(id, handle.details());
    for (const auto& clipping : *found->Items()) {
      clippings.push_back(api::PublicClipping(*clipping, path, false));
    }
    return clippings;
  });
}

Clipping Catalog::GetClipping(const std::string& clipping) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    const std::string id = ResolveItem(handle, clipping, ItemKind::kClipping);
    const auto found = RequireClipping(handle, id, true);
    return api::PublicClipping(*found, FolderPath(handle, found->FolderID()), true);
  });
}

std::string Catalog::Text(const std::string& clipping) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    const std::string id = ResolveItem(handle, clipping, ItemKind::kClipping);
    return BestContent(*RequireClipping(handle, id, true)).bytes;
  });
}

std::vector<SearchHit> Catalog::Search(const std::string& text, const SearchOptions& options) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    ContentQueryOptions query;
    query.text = text;
    if (!options.folder.empty()) query.folder = FolderIdOf(handle, options.folder);
    query.category = options.category;
    query.limit = options.limit;
    std::vector<SearchHit> hits;
    for (const FoundClipping& found : SearchContent(handle, query)) {
      hits.push_back(api::PublicHit(found, FolderPath(handle, found.clipping->FolderID())));
    }
    return hits;
  });
}

void Catalog::RecordUse(const std::string& clipping) {
  api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    const std::string id = ResolveItem(handle, clipping, ItemKind::kClipping);
    handle.write().UpdateClippingHistory(RequireClipping(handle, id, false), handle.details());
  });
}

std::vector<Clipping> Catalog::History(int32_t limit) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    RequireReachable(handle);
    std::vector<Clipping> used;
    const auto recent = handle.read().GetClippingsHistroy(limit, handle.details());
    for (const auto& clipping : *recent->Items()) {
      used.push_back(
          api::PublicClipping(*clipping, FolderPath(handle, clipping->FolderID()), false));
    }
    return used;
  });
}

Folder Catalog::AddFolder(const std::string& parent, const std::string& name) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    const std::string parent_id = FolderIdOf(handle, parent);
    const auto added = AddFolderNamed(handle, parent_id, name);
    return api::PublicFolder(*added, FolderPath(handle, added->ID()), false);
  });
}

Clipping Catalog::AddClipping(const std::string& folder, const NewClipping& clipping) {
  return api::GuardedCall([&] {
    auto& handle = State::HandleOf(state_);
    if (clipping.items.empty()) Refuse("a clipping needs at least one item to add");
    const std::string folder_id = FolderIdOf(handle, folder);
    const auto entity = ::clipcat::Clipping::Create();
    entity->SetName(clipping.name);
    entity->SetDescription(clipping.description);
    for (const DataItem& item : clipping.items) {
      if (item.type < kRichTextDataType || item.type > kCatalogXmlDataType) {
        Refuse("an item's type must be 1 to 5, not " + std::to_string(item.type));
      }
      const auto data = ClippingData::Create();
      data->SetClippingDataType(item.type);
      data->SetRawData(item.content);
      entity->ClippingData()->Add(data);
    }
    const auto added = AddClippingTo(handle, folder_id, entity);
    return api::PublicClipping(*added, FolderPath(handle, folder_id), true);
  });
}

Clipping Catalog::AddClipping(const std::string& folder, const std::string& name,
                              const std::string& text) {
  return AddClipping(folder, NewClipping{name, {}, {DataItem{2, {}, text}}});
}

}  // namespace v0
}  // namespace clipcat
