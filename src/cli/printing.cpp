#include "cli/printing.h"

#include <wchar.h>

#include <algorithm>
#include <iostream>
#include <ostream>

#include "util/values.h"

namespace clipcat::cli {
namespace {

// The next code point of UTF-8 `text` at `at`, which moves past it; a byte that does not begin
// a well-formed sequence stands for itself (and is one column wide).
char32_t NextCodePoint(const std::string& text, size_t& at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  const int extra = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
  if (extra == 0 || at + extra > text.size()) return lead;
  char32_t code = lead & (0x3F >> extra);
  for (int i = 0; i < extra; ++i) {
    const auto next = static_cast<unsigned char>(text[at + i]);
    if ((next & 0xC0) != 0x80) return lead;
    code = (code << 6) | (next & 0x3F);
  }
  at += extra;
  return code;
}

// Columns on a terminal, as wcwidth counts them: East Asian wide characters take two, combining
// marks none. A character wcwidth does not know counts one.
size_t DisplayWidth(const std::string& text) {
  size_t width = 0;
  for (size_t at = 0; at < text.size();) {
    const int columns = wcwidth(static_cast<wchar_t>(NextCodePoint(text, at)));
    width += columns < 0 ? 1 : static_cast<size_t>(columns);
  }
  return width;
}

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

void Table::Print(const Context& context) const {
  if (!context.tsv) {
    Print(context.out);
    return;
  }
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) {
      context.out << (i > 0 ? "\t" : "") << TsvCell(row[i]);
    }
    context.out << "\n";
  }
}

void PrintFolderTree(const Folders& folders, std::ostream& out,
                     const std::map<std::string, std::string>& offline_reasons) {
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
    if (next.folder->Status() == kFolderStatusOffline) {
      const auto reason = offline_reasons.find(next.folder->ID());
      out << (reason == offline_reasons.end() ? " (offline)"
                                              : " (offline: " + reason->second + ")");
    }
    out << "\n";
    const auto children = next.folder->ChildFolders()->Snapshot();
    for (auto it = children.rbegin(); it != children.rend(); ++it) {
      stack.push_back({*it, next.depth + 1});
    }
  }
}

void PrintFolderTable(const Folders& folders, const Context& context) {
  Table table({"ID", "PARENT", "NAME"});
  std::vector<std::shared_ptr<Folder>> stack;
  const auto roots = folders.Items()->Snapshot();
  stack.assign(roots.rbegin(), roots.rend());
  while (!stack.empty()) {
    const auto folder = stack.back();
    stack.pop_back();
    table.Add({folder->ID(), folder->ParentID(), folder->Name()});
    const auto children = folder->ChildFolders()->Snapshot();
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  table.Print(context);
}

void PrintFolder(const Folder& folder, const Context& context) {
  if (context.json) {
    PrintJson(context, FolderJson(folder, false));
    return;
  }
  context.out << (context.xml ? folder.XML() : folder.ID()) << "\n";
}

void PrintClipping(const Clipping& clipping, const Context& context) {
  if (context.json) {
    PrintJson(context, ClippingJson(clipping, false));
    return;
  }
  context.out << (context.xml ? clipping.XML() : clipping.ID()) << "\n";
}

void PrintClippings(const Clippings& clippings, const Context& context, bool history,
                    const AccessTimes* last_access) {
  if (context.xml) {
    context.out << clippings.XML() << "\n";
    return;
  }
  if (context.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& clipping : *clippings.Items()) {
      list.push_back(ClippingJson(*clipping, false, last_access));
    }
    PrintJson(context, list);
    return;
  }
  // Scripts get the dates as JSON has them; people the catalog's own form.
  const auto date = [&](const Date& value) {
    return context.tsv ? TsvDate(value) : FormatCatalogDate(value);
  };
  Table table(history ? std::vector<std::string>{"ID", "NAME", "FOLDER", "UPDATED", "ACCESSED"}
                      : std::vector<std::string>{"ID", "NAME", "UPDATED"});
  for (const auto& clipping : *clippings.Items()) {
    if (history) {
      table.Add({clipping->ID(), clipping->Name(), PathCell(clipping->PathName()),
                 date(clipping->Updated()), date(clipping->Accessed())});
    } else {
      table.Add({clipping->ID(), clipping->Name(), date(clipping->Updated())});
    }
  }
  table.Print(context);
}

std::string PathCell(const std::string& path) { return path.empty() ? "/" : path; }

void NoteOffline(const Context& context, const std::vector<std::string>& offline) {
  if (context.quiet) return;
  for (const std::string& name : offline) {
    std::cerr << "note: linked catalog \"" << name << "\" did not answer: left out\n";
  }
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
  if (counts.versions > 0) text += ", " + count(counts.versions, "version", "versions");
  if (counts.deleted > 0) text += ", " + count(counts.deleted, "item", "items") + " in the trash";
  return text;
}

void PrintJson(const Context& context, const nlohmann::json& document) {
  context.out << document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

std::string TsvDate(const Date& date) {
  const nlohmann::json iso = DateJson(date);
  return iso.is_null() ? std::string() : iso.get<std::string>();
}

std::string TsvCell(const std::string& text) {
  std::string cell;
  for (char c : text) {
    switch (c) {
      case '\t':
        cell += "\\t";
        break;
      case '\n':
        cell += "\\n";
        break;
      case '\r':
        cell += "\\r";
        break;
      case '\\':
        cell += "\\\\";
        break;
      default:
        cell += c;
    }
  }
  return cell;
}

}  // namespace clipcat::cli
