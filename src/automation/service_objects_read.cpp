#include <vector>

#include "automation/entity_objects.h"
#include "automation/service_objects.h"
#include "automation/service_objects_internal.h"

namespace clipcat {
namespace {

using internal::ConnectionArg;
using internal::ConnectionParam;
using internal::EntityParam;
using internal::FlagArg;
using internal::FlagParam;
using internal::OptionalFlag;
using internal::TextArg;
using internal::TextParam;
using Args = std::vector<Variant>;

// Tables only ever run on objects of their own class.
ClippingDataRead& Read(Dispatch& self) {
  return static_cast<ClippingDataReadObject&>(self).service();
}

MemberTable BuildReadTable() {
  constexpr auto kString = ParamType::kString;
  constexpr auto kBoolean = ParamType::kBoolean;
  constexpr auto kObject = ParamType::kObject;
  MemberTable t("ClippingDataRead", kClippingDataReadProgID);

  t.Add(Method("GetClippingPathName",
               {TextParam("sClippingID"), ConnectionParam("oDefualtConnection")}, kString,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).GetClippingPathName(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method("GetFolderPathName", {TextParam("sFolderId"), ConnectionParam("oDefualtConnection")},
               kString, [](Dispatch& self, Args& a) {
                 return Variant(Read(self).GetFolderPathName(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method(
      "GetCatalogsRootFolder", {TextParam("sItemID"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetCatalogsRootFolder(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Folder"));
  t.Add(Method("CatalogsConnectionOK", {TextParam("sItemID"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(
                     Read(self).CatalogsConnectionOK(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method(
      "GetPersonalCatalogRootFolder", {ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetPersonalCatalogRootFolder(ConnectionArg(a[0])));
      },
      "Folder"));
  t.Add(Method(
      "SearchForClippings", {EntityParam("oSearch", "Search"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).SearchForClippings(Unwrap<Search>(a[0]), ConnectionArg(a[1])));
      },
      "Clippings"));
  t.Add(Method(
      "GetCategoriesFromLinkedFolders", {EntityParam("oFolders", "Folders"), ConnectionParam()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).GetCategoriesFromLinkedFolders(Unwrap<Folders>(a[0]), ConnectionArg(a[1])));
      },
      "Categories"));
  t.Add(Method("HaveCategoriesChanged",
               {Param("tDateTimeCategoriesChecked", ParamType::kDate), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(
                     Read(self).HaveCategoriesChanged(a[0].ToDate(), ConnectionArg(a[1])));
               }));
  t.Add(Method("HaveFoldersChanged",
               {Param("tDateTimeFoldersChecked", ParamType::kDate), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).HaveFoldersChanged(a[0].ToDate(), ConnectionArg(a[1])));
               }));
  t.Add(Method("CategoryNameExists",
               {TextParam("sName"), TextParam("sLinkedCatalogID"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).CategoryNameExists(TextArg(a[0]), TextArg(a[1]),
                                                              ConnectionArg(a[2])));
               }));
  t.Add(Method("FolderNameExists",
               {TextParam("sName"), TextParam("sParentFolderID"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).FolderNameExists(TextArg(a[0]), TextArg(a[1]),
                                                            ConnectionArg(a[2])));
               }));
  t.Add(Method(
      "GetFolderByName", {TextParam("sName"), TextParam("sParentFolderID"), ConnectionParam()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetFolderByName(TextArg(a[0]), TextArg(a[1]), ConnectionArg(a[2])));
      },
      "Folder"));
  t.Add(Method("ClippingNameExists",
               {TextParam("sName"), TextParam("sFolderId"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).ClippingNameExists(TextArg(a[0]), TextArg(a[1]),
                                                              ConnectionArg(a[2])));
               }));
  // The interface declares this member's connection as a string.
  t.Add(Method("ClippingExists", {TextParam("sSearchDataXML"), TextParam("oDefaultConnection")},
               kBoolean, [](Dispatch& self, Args& a) {
                 return Variant(Read(self).ClippingExists(TextArg(a[0]), TextArg(a[1])));
               }));
  t.Add(Method(
      "GetCategory", {TextParam("sCategoryID"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetCategory(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Category"));
  t.Add(Method("IsLinkedFolder", {TextParam("sFolderId"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Read(self).IsLinkedFolder(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  // A left-out sItemID is the empty text: both mean the default catalog.
  t.Add(Method("ConnectionOK",
               {ConnectionParam(), Optional("sItemID", kString, Variant(std::string())),
                OptionalFlag("bItemIDIsLinkedFolder", false)},
               kBoolean, [](Dispatch& self, Args& a) {
                 return Variant(
                     Read(self).ConnectionOK(ConnectionArg(a[0]), TextArg(a[1]), FlagArg(a[2])));
               }));
  t.Add(Method(
      "GetCategoriesFromLinkedFolder", {TextParam("sFolderId"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetCategoriesFromLinkedFolder(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Categories"));
  t.Add(Method(
      "GetCategoriesFromFolder", {TextParam("sFolderId"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetCategoriesFromFolder(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Categories"));
  t.Add(Method(
      "GetCategoriesForClipping", {TextParam("sClippingID"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetCategoriesForClipping(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Categories"));
  t.Add(Method("GetCategoriesNamesForClipping", {TextParam("sClippingID"), ConnectionParam()},
               kString, [](Dispatch& self, Args& a) {
                 return Variant(
                     Read(self).GetCategoriesNamesForClipping(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method("InSameCatalog", {TextParam("sItemID1"), TextParam("sItemID2"), ConnectionParam()},
               kBoolean, [](Dispatch& self, Args& a) {
                 return Variant(
                     Read(self).InSameCatalog(TextArg(a[0]), TextArg(a[1]), ConnectionArg(a[2])));
               }));
  // The interface declares bGetData of this member as a string.
  t.Add(Method(
      "GetClippingsForFolderAndChildFolders",
      {TextParam("sFolderId"), TextParam("bGetData"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClippingsForFolderAndChildFolders(TextArg(a[0]), TextArg(a[1]),
                                                                    ConnectionArg(a[2])));
      },
      "Clippings"));
  t.Add(Method(
      "GetClippingsFromCategory",
      {TextParam("sCategoryID"), FlagParam("bGetData"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).GetClippingsFromCategory(TextArg(a[0]), FlagArg(a[1]), ConnectionArg(a[2])));
      },
      "Clippings"));
  t.Add(Method(
      "GetClippingsWithoutCategory",
      {TextParam("sLinkedFolderID"), FlagParam("bGetData"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClippingsWithoutCategory(TextArg(a[0]), FlagArg(a[1]),
                                                           ConnectionArg(a[2])));
      },
      "Clippings"));
  t.Add(Method(
      "GetClippingsHistroy", {Param("lMaximumItems", ParamType::kLong), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClippingsHistroy(a[0].ToLong(), ConnectionArg(a[1])));
      },
      "Clippings"));
  t.Add(Method(
      "GetDeletedClippingsForCatalog",
      {TextParam("sLinkedFolderID"), FlagParam("bGetData"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetDeletedClippingsForCatalog(TextArg(a[0]), FlagArg(a[1]),
                                                             ConnectionArg(a[2])));
      },
      "Clippings"));
  t.Add(Method(
      "GetLinkedFolders", {ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetLinkedFolders(ConnectionArg(a[0])));
      },
      "Folders"));
  t.Add(Method(
      "GetConnectionDetails", {TextParam("sFolderId"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetConnectionDetails(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "ConnectionDetails"));
  // A list of ExternalCatalog objects, published as a Collection.
  t.Add(Method(
      "GetExternalCatalogs", {ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetExternalCatalogs(ConnectionArg(a[0])));
      },
      kCollectionClassName));
  t.Add(Method(
      "FindClippings", {EntityParam("oSearch", "Search"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).FindClippings(Unwrap<Search>(a[0]), ConnectionArg(a[1])));
      },
      "Clippings"));
  t.Add(Method(
      "GetFolder", {TextParam("sFolderId"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetFolder(TextArg(a[0]), ConnectionArg(a[1])));
      },
      "Folder"));
  t.Add(Method(
      "GetFolders", {ConnectionParam(), OptionalFlag("bGetExternalFolders", true)}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetFolders(ConnectionArg(a[0]), FlagArg(a[1])));
      },
      "Folders"));
  t.Add(Method(
      "GetFoldersForLinkedFolder",
      {EntityParam("oFolder", "Folder"), ConnectionParam("oDefualtConnection")}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).GetFoldersForLinkedFolder(Unwrap<Folder>(a[0]), ConnectionArg(a[1])));
      },
      "Folders"));
  t.Add(Method(
      "GetChildFolders",
      {TextParam("sFolderId"), ConnectionParam(), OptionalFlag("bGetExternalFolders", true)},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetChildFolders(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Folder"));
  t.Add(Method(
      "GetChildrenFolders",
      {TextParam("sFolderId"), ConnectionParam(), OptionalFlag("bGetExternalFolders", true)},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).GetChildrenFolders(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Folders"));
  t.Add(Method(
      "GetCategoryByName", {TextParam("sName"), TextParam("sItemID"), ConnectionParam()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).GetCategoryByName(TextArg(a[0]), TextArg(a[1]), ConnectionArg(a[2])));
      },
      "Category"));
  t.Add(Method(
      "GetClippingByName",
      {TextParam("sName"), TextParam("sFolderId"), FlagParam("bGetData"), ConnectionParam()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClippingByName(TextArg(a[0]), TextArg(a[1]), FlagArg(a[2]),
                                                 ConnectionArg(a[3])));
      },
      "Clipping"));
  t.Add(Method(
      "GetClipping", {TextParam("sClippingID"), ConnectionParam(), OptionalFlag("bGetData", false)},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClipping(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Clipping"));
  t.Add(Method(
      "FindClippingWithGUID",
      {TextParam("sClippingGUID"), ConnectionParam(), OptionalFlag("bGetData", false)}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Read(self).FindClippingWithGUID(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Clipping"));
  // oClippings is accepted for clients and not used: the answer is always a new list.
  t.Add(Method(
      "GetClippingsFromFolder",
      {TextParam("sFolderId"), ConnectionParam(), OptionalFlag("bGetData", false),
       Optional("oClippings", kObject, Variant(std::shared_ptr<Dispatch>()), "Clippings")},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Read(self).GetClippingsFromFolder(TextArg(a[0]), ConnectionArg(a[1]),
                                                      FlagArg(a[2]), Unwrap<Clippings>(a[3])));
      },
      "Clippings"));
  return t;
}

}  // namespace

const MemberTable& ClippingDataReadObject::Members() const {
  static const MemberTable table = BuildReadTable();
  return table;
}

}  // namespace clipcat
