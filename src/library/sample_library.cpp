#include "library/sample_library.h"

#include <string>

#include "library/item_lookup.h"

namespace clipcat {
namespace {

// The status of a clipping marked deleted. Frozen: catalogs store it.
constexpr int16_t kDeletedClipping = 4;

std::string AddFolder(Catalog& catalog, const std::string& parent, const std::string& name) {
  const auto folder = Folder::Create();
  folder->SetName(name);
  return catalog.write().AddFolder(folder, parent, catalog.details(), true)->ID();
}

std::string AddClipping(Catalog& catalog, const std::string& folder, const std::string& name,
                        const std::string& description, int32_t type, const std::string& content) {
  const auto clipping = Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription(description);
  const auto item = ClippingData::Create();
  item->SetClippingDataType(type);
  item->SetRawData(content);
  clipping->ClippingData()->Add(item);
  return catalog.write().AddClipping(clipping, folder, catalog.details(), true)->ID();
}

}  // namespace

void AddSampleLibrary(Catalog& catalog) {
  const std::string root = RequireTopFolder(catalog)->ID();
  const std::string letters = AddFolder(catalog, root, "Letters");
  const std::string snippets = AddFolder(catalog, root, "Snippets");
  const std::string sheets = AddFolder(catalog, root, "Spreadsheets");
  const std::string greeting =
      AddClipping(catalog, letters, "Greeting", "Opening of a formal letter", 2,
                  "Dear Sir or Madam,\n\nThank you for your letter of");
  AddClipping(catalog, letters, "Closing", "End of a formal letter", 1,
              "{\\rtf1\\ansi Yours faithfully,\\par}");
  AddClipping(catalog, snippets, "Address", "Office address", 2,
              "Clipcat Ltd.\n1 Catalog Street\nSpringfield");
  AddClipping(catalog, sheets, "Invoice header", "Columns of an invoice", 3,
              "<Row><Cell>Item</Cell><Cell>Quantity</Cell><Cell>Price</Cell></Row>");
  const auto category = Category::Create();
  category->SetName("Correspondence");
  const auto added = catalog.write().AddCategory(category, letters, catalog.details());
  catalog.write().AddClippingToCategory(greeting, added->ID(), catalog.details());
}

std::shared_ptr<Clipping> ExampleClipping(Catalog& catalog) {
  const std::string root = RequireTopFolder(catalog)->ID();
  const auto found =
      catalog.read().GetClippingsForFolderAndChildFolders(root, "False", catalog.details());
  for (const auto& clipping : *found->Items()) {
    if (clipping->ClippingStatus() != kDeletedClipping) return clipping;
  }
  return nullptr;
}

}  // namespace clipcat
