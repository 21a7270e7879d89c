// Catalogs larger than the everyday ones: the members that work on a folder and everything below
// it keep working when that is more than a thousand folders.
#include <gtest/gtest.h>

#include <string>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "automation/service_objects.h"
#include "robustness/robustness_support.h"
#include "service/clipping_data_write.h"
#include "service/connection_handler.h"
#include "store/catalog_schema.h"

namespace clipcat::robustness {
namespace {

// More folders than SQLite allows terms in one expression (1,000 by default).
constexpr int kFolders = 1'200;

// The Count of the list property `list` of `result`.
int32_t CountIn(const Variant& result, const char* list) {
  return GetProperty(GetProperty(result.AsObject(), list).AsObject(), "Count").ToLong();
}

TEST(LargeCatalog, MembersOverAFolderAndItsSubfoldersWorkForMoreThanAThousandFolders) {
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  // Folders 2 ... kFolders + 1 under the root, past the library (adding them one by one through
  // the services would take most of a minute), with the rows the store writes and the key
  // generator moved past them.
  RawCatalog raw(path);
  const std::string last = std::to_string(kFolders + 1);
  raw.Rows("WITH RECURSIVE k(n) AS (SELECT 2 UNION ALL SELECT n + 1 FROM k WHERE n < " + last +
           ") INSERT INTO Folder (lFolderID, sGUID, lParentID, sName, sDescription, "
           "lExternalCatalogId, bIsLeaf, bIsOffline, iStatus, tUpdated) SELECT n, 'G' || n, 1, "
           "'Folder ' || n, NULL, 0, 1, 0, 1, '2024-01-02 03:04:05' FROM k");
  raw.Rows("UPDATE Folder SET bIsLeaf = 0 WHERE lFolderID = 1");
  raw.Rows("UPDATE sqlite_sequence SET seq = " + last + " WHERE name = 'FolderIDGenerator'");
  const auto details = FileDetails(path);
  std::string clipping_id;
  std::string category_id;
  {
    ClippingDataWrite write;
    clipping_id = write.AddClipping(NewClipping("Needle", "", {}), last, details)->ID();
    category_id = write.AddCategory(NewCategory("Found"), "1", details)->ID();
  }
  ReleaseAccessManager();

  RegisterClasses();
  const Variant connection = Wrap(details);
  const auto read = CreateObject(kClippingDataReadProgID);
  int32_t found = -1;
  EXPECT_NO_THROW(found = CountIn(CallMember(read, "GetClippingsForFolderAndChildFolders",
                                             {std::string("1"), "False", connection}),
                                  "Clippings"));
  EXPECT_EQ(found, 1) << "GetClippingsForFolderAndChildFolders";

  const Variant search = CreateObject("TORVEL.Search");
  SetProperty(search.AsObject(), "SearchText", "Needle");
  SetProperty(search.AsObject(), "SearchSubFolders", true);
  CallMember(GetProperty(search.AsObject(), "FolderIDs").AsObject(), "Add", {std::string("1")});
  found = -1;
  EXPECT_NO_THROW(
      found = CountIn(CallMember(read, "SearchForClippings", {search, connection}), "Clippings"));
  EXPECT_EQ(found, 1) << "SearchForClippings";

  const auto write = CreateObject(kClippingDataWriteProgID);
  EXPECT_NO_THROW(
      CallMember(write, "AddFolderToCategory", {std::string("1"), category_id, connection}));
  EXPECT_EQ(
      raw.Count("SELECT count(*) FROM ClippingGroupClipping WHERE lClippingId = " + clipping_id), 1)
      << "AddFolderToCategory";
  ReleaseAccessManager();
}

}  // namespace
}  // namespace clipcat::robustness
