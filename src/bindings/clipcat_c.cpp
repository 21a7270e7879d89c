// The C interface (clipcat/clipcat_c.h) over the C++ one: each call catches what the C++ call
// throws and keeps it as the thread's last error.
#include <clipcat/clipcat.h>
#include <clipcat/clipcat_c.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

struct clipcat_catalog {
  clipcat::Catalog catalog;
};

struct clipcat_hits {
  std::vector<clipcat::SearchHit> hits;
};

namespace {

// Out of memory, as the catalog's runtime numbers it.
constexpr int32_t kOutOfMemory = 7;
// A call made with a null handle or pointer ("Invalid procedure call or argument").
constexpr int32_t kInvalidArgument = 5;

struct LastError {
  int32_t number = 0;
  std::string source;
  std::string message;
};
thread_local LastError last_error;

int32_t Fail(int32_t number, std::string source, std::string message) {
  last_error = {number, std::move(source), std::move(message)};
  return number;
}

// Runs `call`, answering CLIPCAT_OK or the number of what it threw.
template <typename Call>
int32_t Guarded(Call&& call) noexcept {
  try {
    last_error = {};
    call();
    return CLIPCAT_OK;
  } catch (const clipcat::Error& error) {
    return Fail(error.number(), error.source(), error.description());
  } catch (const std::bad_alloc&) {
    return Fail(kOutOfMemory, "clipcat", "Out of memory");
  } catch (const std::exception& error) {
    return Fail(kInvalidArgument, "clipcat", error.what());
  }
}

int32_t NullArgument(const char* which) {
  return Fail(kInvalidArgument, "clipcat", std::string(which) + " must not be NULL");
}

// A copy of `text` for the caller, to be freed with clipcat_free.
char* Copied(const std::string& text) {
  char* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

const clipcat::SearchHit* HitAt(const clipcat_hits* hits, size_t index) {
  if (hits == nullptr || index >= hits->hits.size()) return nullptr;
  return &hits->hits[index];
}

}  // namespace

extern "C" {

const char* clipcat_version(void) { return CLIPCAT_LIBRARY_VERSION; }

int32_t clipcat_open(const char* path_or_uri, clipcat_catalog** catalog) {
  if (catalog == nullptr) return NullArgument("catalog");
  *catalog = nullptr;
  return Guarded([&] {
    *catalog = new clipcat_catalog{clipcat::Catalog::Open(path_or_uri ? path_or_uri : "")};
  });
}

void clipcat_close(clipcat_catalog* catalog) { delete catalog; }

int32_t clipcat_search(clipcat_catalog* catalog, const char* text, int32_t limit,
                       clipcat_hits** hits) {
  if (hits == nullptr) return NullArgument("hits");
  *hits = nullptr;
  if (catalog == nullptr) return NullArgument("catalog");
  if (text == nullptr) return NullArgument("text");
  return Guarded([&] {
    clipcat::SearchOptions options;
    if (limit > 0) options.limit = limit;
    *hits = new clipcat_hits{catalog->catalog.Search(text, options)};
  });
}

size_t clipcat_hits_count(const clipcat_hits* hits) {
  return hits == nullptr ? 0 : hits->hits.size();
}

const char* clipcat_hit_id(const clipcat_hits* hits, size_t index) {
  const auto* hit = HitAt(hits, index);
  return hit ? hit->id.c_str() : nullptr;
}

const char* clipcat_hit_name(const clipcat_hits* hits, size_t index) {
  const auto* hit = HitAt(hits, index);
  return hit ? hit->name.c_str() : nullptr;
}

const char* clipcat_hit_path(const clipcat_hits* hits, size_t index) {
  const auto* hit = HitAt(hits, index);
  return hit ? hit->path.c_str() : nullptr;
}

const char* clipcat_hit_snippet(const clipcat_hits* hits, size_t index) {
  const auto* hit = HitAt(hits, index);
  return hit ? hit->snippet.c_str() : nullptr;
}

double clipcat_hit_score(const clipcat_hits* hits, size_t index) {
  const auto* hit = HitAt(hits, index);
  return hit ? hit->score : 0;
}

void clipcat_hits_free(clipcat_hits* hits) { delete hits; }

int32_t clipcat_clipping_text(clipcat_catalog* catalog, const char* clipping, char** text,
                              size_t* length) {
  if (text == nullptr) return NullArgument("text");
  *text = nullptr;
  if (catalog == nullptr) return NullArgument("catalog");
  if (clipping == nullptr) return NullArgument("clipping");
  return Guarded([&] {
    const std::string content = catalog->catalog.Text(clipping);
    *text = Copied(content);
    if (length != nullptr) *length = content.size();
  });
}

int32_t clipcat_add_clipping(clipcat_catalog* catalog, const char* folder, const char* name,
                             const char* text, char** id) {
  if (id != nullptr) *id = nullptr;
  if (catalog == nullptr) return NullArgument("catalog");
  if (folder == nullptr || name == nullptr || text == nullptr) {
    return NullArgument(folder == nullptr ? "folder" : name == nullptr ? "name" : "text");
  }
  return Guarded([&] {
    const clipcat::Clipping added = catalog->catalog.AddClipping(folder, name, text);
    if (id != nullptr) *id = Copied(added.id);
  });
}

void clipcat_free(char* text) { std::free(text); }

int32_t clipcat_last_error_number(void) { return last_error.number; }

const char* clipcat_last_error_source(void) { return last_error.source.c_str(); }

const char* clipcat_last_error_message(void) { return last_error.message.c_str(); }

}  // extern "C"
