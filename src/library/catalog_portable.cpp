// Rewriting a catalog document into its portable form: members by path, ids dropped, children
// ordered by name.
#include "library/catalog_portable.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "library/catalog_document_internal.h"

namespace clipcat {
namespace {

using internal::TextAttribute;

// The key items are ordered by: the name, then live before deleted, then the deletion time.
std::pair<std::string, std::string> OrderKey(pugi::xml_node element) {
  const bool deleted = static_cast<bool>(element.attribute(doc::kDeleted));
  return {TextAttribute(element, doc::kName),
          deleted ? std::string("1") + element.attribute(doc::kDeletedAt).value() : "0"};
}

// Moves the children of `parent` named `tag` to its end, ordered by `key`.
template <typename Key>
void AppendOrdered(pugi::xml_node parent, const char* tag, Key key) {
  std::vector<std::pair<decltype(key(pugi::xml_node())), pugi::xml_node>> children;
  for (pugi::xml_node child : parent.children(tag)) children.push_back({key(child), child});
  std::stable_sort(children.begin(), children.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& entry : children) parent.append_move(entry.second);
}

// Each category's members by path instead of id, those of the trash left out, in path order.
// Answers how many memberships remain.
size_t MembersByPath(pugi::xml_node root) {
  const internal::ClippingReferences references(root);
  size_t memberships = 0;
  for (pugi::xml_node category : root.children(doc::kCategory)) {
    std::vector<std::string> paths;
    std::vector<pugi::xml_node> members;
    for (pugi::xml_node member : category.children(doc::kMember)) {
      members.push_back(member);
      const std::optional<std::string> path = references.LivePath(references.Find(member));
      if (path) paths.push_back(*path);
    }
    for (pugi::xml_node member : members) category.remove_child(member);
    std::sort(paths.begin(), paths.end());
    for (const std::string& path : paths) {
      category.append_child(doc::kMember)
          .append_attribute(doc::kMemberPath)
          .set_value(path.c_str());
    }
    memberships += paths.size();
  }
  return memberships;
}

void OrderTree(pugi::xml_node top) {
  std::vector<pugi::xml_node> pending = {top};
  while (!pending.empty()) {
    const pugi::xml_node folder = pending.back();
    pending.pop_back();
    for (pugi::xml_node clipping : folder.children(doc::kClipping)) {
      clipping.remove_attribute(doc::kId);
    }
    AppendOrdered(folder, doc::kClipping, OrderKey);
    AppendOrdered(folder, doc::kFolder, OrderKey);
    for (pugi::xml_node child : folder.children(doc::kFolder)) pending.push_back(child);
  }
}

}  // namespace

CatalogDocument PortableDocument(const CatalogDocument& document) {
  pugi::xml_document xml;
  xml.reset(document.xml());
  const pugi::xml_node root = xml.child(doc::kRoot);
  DocumentCounts counts = document.counts();
  counts.memberships = MembersByPath(root);
  OrderTree(root.child(doc::kFolder));
  const auto by_name = [](pugi::xml_node element) { return TextAttribute(element, doc::kName); };
  AppendOrdered(root, doc::kCategory, by_name);
  AppendOrdered(root, doc::kLink, by_name);
  return MakeCatalogDocument(std::move(xml), counts);
}

}  // namespace clipcat
