#include <string>
#include <vector>

#include "automation/member_binding.h"
#include "automation/service_objects.h"

namespace clipcat {
namespace {

using internal::Opt;
using internal::OptNothing;
using internal::ParamName;

// Tables only ever run on objects of their own class.
ClippingDataRead& Service(Dispatch& self) {
  return static_cast<ClippingDataReadObject&>(self).service();
}

// Publishes the service member of that name, its parameters named in order (with a default
// where they are optional); their types and conversions follow from the member's signature.
#define MEMBER(member, ...)                                      \
  t.Add(internal::MemberBinder<&ClippingDataRead::member>::Make( \
      #member, std::vector<ParamName>{__VA_ARGS__}, &Service))

MemberTable BuildReadTable() {
  MemberTable t("ClippingDataRead", kClippingDataReadProgID);
  MEMBER(GetClippingPathName, "sClippingID", "oDefualtConnection");
  MEMBER(GetFolderPathName, "sFolderId", "oDefualtConnection");
  MEMBER(GetCatalogsRootFolder, "sItemID", "oDefaultConnection");
  MEMBER(CatalogsConnectionOK, "sItemID", "oDefaultConnection");
  MEMBER(GetPersonalCatalogRootFolder, "oDefaultConnection");
  MEMBER(SearchForClippings, "oSearch", "oDefaultConnection");
  MEMBER(GetCategoriesFromLinkedFolders, "oFolders", "oDefaultConnection");
  MEMBER(HaveCategoriesChanged, "tDateTimeCategoriesChecked", "oDefaultConnection");
  MEMBER(HaveFoldersChanged, "tDateTimeFoldersChecked", "oDefaultConnection");
  MEMBER(CategoryNameExists, "sName", "sLinkedCatalogID", "oDefaultConnection");
  MEMBER(FolderNameExists, "sName", "sParentFolderID", "oDefaultConnection");
  MEMBER(GetFolderByName, "sName", "sParentFolderID", "oDefaultConnection");
  MEMBER(ClippingNameExists, "sName", "sFolderId", "oDefaultConnection");
  // The interface declares this member's connection as a string.
  MEMBER(ClippingExists, "sSearchDataXML", "oDefaultConnection");
  MEMBER(GetCategory, "sCategoryID", "oDefaultConnection");
  MEMBER(IsLinkedFolder, "sFolderId", "oDefaultConnection");
  // A left-out sItemID is the empty text: both mean the default catalog.
  MEMBER(ConnectionOK, "oDefaultConnection", Opt("sItemID", std::string()),
         Opt("bItemIDIsLinkedFolder", false));
  MEMBER(GetCategoriesFromLinkedFolder, "sFolderId", "oDefaultConnection");
  MEMBER(GetCategoriesFromFolder, "sFolderId", "oDefaultConnection");
  MEMBER(GetCategoriesForClipping, "sClippingID", "oDefaultConnection");
  MEMBER(GetCategoriesNamesForClipping, "sClippingID", "oDefaultConnection");
  MEMBER(InSameCatalog, "sItemID1", "sItemID2", "oDefaultConnection");
  // The interface declares bGetData of this member as a string.
  MEMBER(GetClippingsForFolderAndChildFolders, "sFolderId", "bGetData", "oDefaultConnection");
  MEMBER(GetClippingsFromCategory, "sCategoryID", "bGetData", "oDefaultConnection");
  MEMBER(GetClippingsWithoutCategory, "sLinkedFolderID", "bGetData", "oDefaultConnection");
  MEMBER(GetClippingsHistroy, "lMaximumItems", "oDefaultConnection");
  MEMBER(GetDeletedClippingsForCatalog, "sLinkedFolderID", "bGetData", "oDefaultConnection");
  MEMBER(GetLinkedFolders, "oDefaultConnection");
  MEMBER(GetConnectionDetails, "sFolderId", "oDefaultConnection");
  // A list of ExternalCatalog objects, published as a Collection.
  MEMBER(GetExternalCatalogs, "oDefaultConnection");
  MEMBER(FindClippings, "oSearch", "oDefaultConnection");
  MEMBER(SearchContent, "sQuery", "lMaximumItems", "oDefaultConnection",
         Opt("sFolderID", std::string()), Opt("sCategoryID", std::string()), Opt("lDataType", 0));
  MEMBER(GetClippingVersion, "sClippingID", "lVersion", "oDefaultConnection");
  MEMBER(GetFolder, "sFolderId", "oDefaultConnection");
  MEMBER(GetFolders, "oDefaultConnection", Opt("bGetExternalFolders", true));
  MEMBER(GetFoldersForLinkedFolder, "oFolder", "oDefualtConnection");
  MEMBER(GetChildFolders, "sFolderId", "oDefaultConnection", Opt("bGetExternalFolders", true));
  MEMBER(GetChildrenFolders, "sFolderId", "oDefaultConnection", Opt("bGetExternalFolders", true));
  MEMBER(GetCategoryByName, "sName", "sItemID", "oDefaultConnection");
  MEMBER(GetClippingByName, "sName", "sFolderId", "bGetData", "oDefaultConnection");
  MEMBER(GetClipping, "sClippingID", "oDefaultConnection", Opt("bGetData", false));
  MEMBER(FindClippingWithGUID, "sClippingGUID", "oDefaultConnection", Opt("bGetData", false));
  // oClippings is accepted for clients and not used: the answer is always a new list.
  MEMBER(GetClippingsFromFolder, "sFolderId", "oDefaultConnection", Opt("bGetData", false),
         OptNothing("oClippings"));
  return t;
}

#undef MEMBER

}  // namespace

const MemberTable& ClippingDataReadObject::Members() const {
  static const MemberTable table = BuildReadTable();
  return table;
}

}  // namespace clipcat
