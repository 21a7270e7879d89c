// Catalogs larger than the everyday ones: the members that work on a folder and everything below
// it keep working when that is more than a thousand folders.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "automation/service_objects.h"
#include "robustness/robustness_support.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

// More folders than SQLite allows terms in one expression (1,000 by default).
constexpr int kFolders = 1'200;

// Adds folders 2 ... kFolders + 1 under the root in one transaction, past the library (adding
// them one by one through the services would take most of a minute), with the rows the store
// writes, and moves the key generator past them.
void AddFoldersUnderRoot(const std::string& path) {
  RawCatalog raw(path);
  raw.Rows("BEGIN");
  for (int key = 2; key <= kFolders + 1; ++key) {
    raw.Rows(
        "INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, "
        "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated) VALUES (" +
        std::to_string(key) + ", 'G" + std::to_string(key) + "', 1, 'Folder " +
        std::to_string(key) + "', NULL, 0, 1, 0, 1, '2024-01-02 03:04:05')");
  }
  raw.Rows("UPDATE Folder SET bIsLeaf = 0 WHERE lFolderID = 1");
  raw.Rows("UPDATE sqlite_sequence SET seq = " + std::to_string(kFolders + 1) +
           " WHERE name = 'FolderIDGenerator'");
  raw.Rows("COMMIT");
}

TEST(LargeCatalog, MembersOverAFolderAndItsSubfoldersWorkForMoreThanAThousandFolders) {
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  AddFoldersUnderRoot(path);
  const auto details = FileDetails(path);
  std::string clipping_id;
  std::string category_id;
  {
    ClippingDataWrite write;
    auto clipping = Clipping::Create();
    clipping->SetName("Needle");
    clipping_id = write.AddClipping(clipping, std::to_string(kFolders + 1), details)->ID();
    auto category = Category::Create();
    category->SetName("Found");
    category_id = write.AddCategory(category, "1", details)->ID();
  }
  ReleaseAccessManager();

  RegisterClasses();
  const Variant connection = Wrap(details);
  std::vector<std::string> faults;
  const auto check = [&](const std::string& what, auto&& step) {
    try {
      if (!step()) faults.push_back(what + ": the clipping in the last folder is missing");
    } catch (const AutomationError& e) {
      faults.push_back(what + ": " + e.what());
    }
  };
  {
    const auto read = CreateObject(kClippingDataReadProgID);
    check("GetClippingsForFolderAndChildFolders", [&] {
      const Variant clippings = CallMember(read, "GetClippingsForFolderAndChildFolders",
                                           {std::string("1"), "False", connection});
      const Variant list = GetProperty(clippings.AsObject(), "Clippings");
      return GetProperty(list.AsObject(), "Count").ToLong() == 1;
    });
    check("SearchForClippings", [&] {
      const Variant search = CreateObject("TORVEL.Search");
      SetProperty(search.AsObject(), "SearchText", "Needle");
      SetProperty(search.AsObject(), "SearchSubFolders", true);
      CallMember(GetProperty(search.AsObject(), "FolderIDs").AsObject(), "Add", {std::string("1")});
      const Variant found = CallMember(read, "SearchForClippings", {search, connection});
      const Variant list = GetProperty(found.AsObject(), "Clippings");
      return GetProperty(list.AsObject(), "Count").ToLong() == 1;
    });
  }
  {
    const auto write = CreateObject(kClippingDataWriteProgID);
    check("AddFolderToCategory", [&] {
      CallMember(write, "AddFolderToCategory", {std::string("1"), category_id, connection});
      RawCatalog raw(path);
      return raw.Count("SELECT count(*) FROM ClippingGroupClipping WHERE lClippingId = " +
                       clipping_id) == 1;
    });
  }
  ReleaseAccessManager();
  if (!faults.empty()) {
    std::string text;
    for (const std::string& fault : faults) text += "\n  " + fault;
    ADD_FAILURE() << "members that failed over a subtree of " << kFolders << " folders:" << text;
  }
}

}  // namespace
}  // namespace clipcat::robustness
