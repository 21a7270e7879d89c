// The shapes of the read-side catalogs, the same on either engine: the folder tree of the tree
// scenario and the folders, categories and clippings of the search scenario. Each is written
// through a filler (CatalogFiller for a file, PgCatalogFiller for a server), which the caller
// finishes.
#pragma once

#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "entities/search.h"

namespace clipcat_bench {

// `total` folders including the top one, up to six children each, filled breadth first to six
// levels, named out of key order so that a sort by name does real work.
template <typename Filler>
void FillFolderTree(Filler& filler, int total) {
  constexpr int kFanOut = 6;
  std::deque<std::pair<int64_t, int>> parents = {{1, 1}};  // key, level (the root is level 1)
  int made = 1;
  int serial = 0;
  while (made < total && !parents.empty()) {
    const auto [parent, level] = parents.front();
    parents.pop_front();
    for (int i = 0; i < kFanOut && made < total; ++i, ++made) {
      const int64_t key = filler.AddFolder(
          parent, "Folder " + std::to_string((serial++ * 7919) % 100'000), "Folder description");
      if (level + 1 < 6) parents.emplace_back(key, level + 1);
    }
  }
}

// The search catalog: 8 top folders of 50 subfolders each, 10 categories, and `clippings`
// clippings spread over the folders, one in 20 about an invoice, each in one or two categories.
struct SearchCatalog {
  int64_t subtree_top = 0;
  std::vector<int64_t> subtree;  // the top folder and its subfolders
};

// The searches the search scenario times on that catalog: SearchForClippings for "*invoice*" in
// the subtree with two categories, and FindClippings for "invoice" in the subtree's folders.
struct SearchQueries {
  std::shared_ptr<clipcat::Search> search;
  std::shared_ptr<clipcat::Search> find;
};

inline SearchQueries MakeSearchQueries(const SearchCatalog& catalog) {
  SearchQueries queries{clipcat::Search::Create(), clipcat::Search::Create()};
  queries.search->SetSearchText("*invoice*");
  queries.search->FolderIDs()->Add(std::to_string(catalog.subtree_top));
  queries.search->SetSearchSubFolders(true);
  queries.search->CategoryNames()->Add("Work");
  queries.search->CategoryNames()->Add("Personal");
  queries.find->SetSearchText("invoice");
  for (int64_t id : catalog.subtree) queries.find->FolderIDs()->Add(std::to_string(id));
  return queries;
}

inline const char* const kSearchCategories[] = {"Work",    "Personal", "Tax",     "Travel",
                                                "Legal",   "Sales",    "Support", "Finance",
                                                "Letters", "Drafts"};

template <typename Filler>
SearchCatalog FillSearchCatalog(Filler& filler, int clippings) {
  constexpr int kTopFolders = 8;
  constexpr int kSubFolders = 50;
  SearchCatalog catalog;
  std::vector<int64_t> folders;
  for (int t = 0; t < kTopFolders; ++t) {
    const int64_t top = filler.AddFolder(1, "Area " + std::to_string(t), "");
    folders.push_back(top);
    if (t == 0) {
      catalog.subtree_top = top;
      catalog.subtree.push_back(top);
    }
    for (int s = 0; s < kSubFolders; ++s) {
      const int64_t sub = filler.AddFolder(top, "Topic " + std::to_string(s), "");
      folders.push_back(sub);
      if (t == 0) catalog.subtree.push_back(sub);
    }
  }
  std::vector<int64_t> categories;
  for (const char* name : kSearchCategories) categories.push_back(filler.AddCategory(name));
  std::mt19937 random(3);
  static const char* const kNouns[] = {"letter", "memo", "report", "note", "reply", "offer"};
  for (int i = 0; i < clippings; ++i) {
    const bool hit = random() % 20 == 0;
    const std::string name = "Clipping " + std::to_string(i) + " " +
                             (hit && random() % 2 == 0 ? "invoice" : kNouns[random() % 6]);
    const std::string description = std::string(hit ? "about the invoice of " : "about the ") +
                                    kNouns[random() % 6] + " number " + std::to_string(i);
    const int64_t key =
        filler.AddClipping(folders[random() % folders.size()], name, description, {});
    const size_t first = random() % categories.size();
    filler.AddMember(key, categories[first]);
    if (random() % 3 == 0) {
      const size_t second = (first + 1 + random() % (categories.size() - 1)) % categories.size();
      filler.AddMember(key, categories[second]);
    }
  }
  return catalog;
}

}  // namespace clipcat_bench
