// The tour that `make run` shows on the default catalog.
#include <ostream>

#include "automation/entity_objects.h"
#include "cli/commands.h"
#include "cli/printing.h"
#include "cli/session.h"

namespace clipcat::cli {
namespace {

std::string AddFolder(Session& session, const std::string& parent, const std::string& name) {
  const auto folder = Folder::Create();
  folder->SetName(name);
  return Unwrap<Folder>(session.Write("AddFolder", {Wrap(folder), Variant(parent), Variant(true)}))
      ->ID();
}

std::string AddClipping(Session& session, const std::string& folder, const std::string& name,
                        const std::string& description, int32_t type, const std::string& content) {
  const auto clipping = Clipping::Create();
  clipping->SetName(name);
  clipping->SetDescription(description);
  const auto item = ClippingData::Create();
  item->SetClippingDataType(type);
  item->SetRawData(content);
  clipping->ClippingData()->Add(item);
  return Unwrap<Clipping>(
             session.Write("AddClipping", {Wrap(clipping), Variant(folder), Variant(true)}))
      ->ID();
}

// A small sample library: letters, snippets and a spreadsheet header, one category.
void SeedSampleLibrary(Session& session) {
  const std::string root = Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"))->ID();
  const std::string letters = AddFolder(session, root, "Letters");
  const std::string snippets = AddFolder(session, root, "Snippets");
  const std::string sheets = AddFolder(session, root, "Spreadsheets");
  const std::string greeting =
      AddClipping(session, letters, "Greeting", "Opening of a formal letter", 2,
                  "Dear Sir or Madam,\n\nThank you for your letter of");
  AddClipping(session, letters, "Closing", "End of a formal letter", 1,
              "{\\rtf1\\ansi Yours faithfully,\\par}");
  AddClipping(session, snippets, "Address", "Office address", 2,
              "Clipcat Ltd.\n1 Catalog Street\nSpringfield");
  AddClipping(session, sheets, "Invoice header", "Columns of an invoice", 3,
              "<Row><Cell>Item</Cell><Cell>Quantity</Cell><Cell>Price</Cell></Row>");
  const auto category = Category::Create();
  category->SetName("Correspondence");
  const auto added =
      Unwrap<Category>(session.Write("AddCategory", {Wrap(category), Variant(letters)}));
  session.Write("AddClippingToCategory", {Variant(greeting), Variant(added->ID())});
}

}  // namespace

void TourCommand(const Context& context) {
  const bool created = EnsureDefaultCatalog(context.selection);
  {
    Session session(context.selection);
    if (created) {
      SeedSampleLibrary(session);
      context.out << "Created a new catalog with a sample library: " << context.selection.path
                  << "\n\n";
    } else {
      context.out << "Catalog: "
                  << (context.selection.path.empty() ? "(server)" : context.selection.path)
                  << "\n\n";
    }
  }
  context.out << "== Folders ==\n";
  TreeCommand(context);
  context.out << "\n== Search: \"letter\" ==\n";
  SearchOptions search;
  search.text = "letter";
  SearchCommand(context, search);

  Session session(context.selection);
  const std::string root = Unwrap<Folder>(session.Read("GetPersonalCatalogRootFolder"))->ID();
  const auto found = Unwrap<Clippings>(
      session.Read("GetClippingsForFolderAndChildFolders", {Variant(root), Variant("False")}));
  for (const auto& clipping : *found->Items()) {
    if (clipping->ClippingStatus() == 4) continue;
    context.out << "\n== Clipping " << clipping->ID() << " ==\n";
    ShowCommand(context, clipping->ID(), 0, false);
    break;
  }
  context.out << "\nTry: clipcat --help\n";
}

}  // namespace clipcat::cli
