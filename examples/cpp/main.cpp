// shelf CATALOG [TEXT]: lists the folder tree of a catalog, adds a clipping holding TEXT (by
// default "Please find the invoice attached.") to its top folder, and searches for it.
#include <clipcat/clipcat.h>

#include <iostream>
#include <string>

namespace {

void PrintTree(const clipcat::Folder& folder, int depth) {
  std::cout << std::string(depth * 2, ' ') << folder.name << "  [" << folder.id << "]\n";
  for (const auto& child : folder.children) PrintTree(child, depth + 1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: shelf CATALOG [TEXT]\n";
    return 64;
  }
  try {
    auto catalog = clipcat::Catalog::Open(argv[1]);
    for (const auto& top : catalog.Folders()) PrintTree(top, 0);
    const std::string text = argc > 2 ? argv[2] : "Please find the invoice attached.";
    const auto added = catalog.AddClipping("", "Invoice note", text);
    std::cout << "added " << added.id << " " << added.path << "\n";
    for (const auto& hit : catalog.Search("invoice")) {
      std::cout << hit.id << " " << hit.path << ": " << hit.snippet << "\n";
    }
    return 0;
  } catch (const clipcat::Error& e) {
    std::cerr << "error " << e.number() << " (" << e.source() << "): " << e.description() << "\n";
    return 1;
  }
}
