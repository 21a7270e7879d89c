#include "cli/printing.h"

#include <algorithm>
#include <ostream>

#include "util/values.h"

namespace clipcat::cli {
namespace {

size_t DisplayWidth(const std::string& text) {
  size_t width = 0;
  for (unsigned char c : text) {
    if ((c & 0xC0) != 0x80) ++width;  // count code points, not continuation bytes
  }
  return width;
}

constexpr int32_t kStatusError = 4;

}  // namespace

void Table::Print(std::ostream& out) const {
  std::vector<size_t> widths;
  for (const auto& row : rows_) {
    if (widths.size() < row.size()) widths.resize(row.size(), 0);
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) {
      out << row[i];
      if (i + 1 < row.size()) out << std::string(widths[i] - DisplayWidth(row[i]) + 2, ' ');
    }
    out << "\n";
  }
}

void PrintFolderTree(const Folders& folders, std::ostream& out) {
  struct Pending {
    std::shared_ptr<Folder> folder;
    int depth;
  };
  std::vector<Pending> stack;
  const auto roots = folders.Items()->Snapshot();
  for (auto it = roots.rbegin(); it != roots.rend(); ++it) stack.push_back({*it, 0});
  while (!stack.empty()) {
    const Pending next = stack.back();
    stack.pop_back();
    out << std::string(static_cast<size_t>(next.depth) * 2, ' ') << next.folder->Name() << "  ["
        << next.folder->ID() << "]";
    if (next.folder->Status() == kStatusError) out << " (offline)";
    out << "\n";
    const auto children = next.folder->ChildFolders()->Snapshot();
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
      stack.push_back({*it, next.depth + 1});
    }
  }
}

void PrintClippings(const Clippings& clippings, const Context& context, bool with_accessed) {
  if (context.xml) {
    context.out << clippings.XML() << "\n";
    return;
  }
  std::vector<std::string> header = {"ID", "NAME", "UPDATED"};
  if (with_accessed) header.push_back("ACCESSED");
  Table table(header);
  for (const auto& clipping : *clippings.Items()) {
    std::vector<std::string> row = {clipping->ID(), clipping->Name(),
                                    FormatCatalogDate(clipping->Updated())};
    if (with_accessed) row.push_back(FormatCatalogDate(clipping->Accessed()));
    table.Add(row);
  }
  table.Print(context.out);
}

std::string DescribeCounts(const DocumentCounts& counts) {
  const auto count = [](size_t n, const char* one, const char* many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
  };
  std::string text = count(counts.folders, "folder", "folders") + ", " +
                     count(counts.clippings, "clipping", "clippings") + ", " +
                     count(counts.categories, "category", "categories") + ", " +
                     count(counts.memberships, "membership", "memberships");
  if (counts.links > 0) text += ", " + count(counts.links, "link", "links");
  return text;
}

}  // namespace clipcat::cli
