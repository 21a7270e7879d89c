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
ClippingDataWrite& Write(Dispatch& self) {
  return static_cast<ClippingDataWriteObject&>(self).service();
}

// The interface leaves the default of bCheckNameUnique open; the services treat a left-out
// value as false, the same as their C++ callers get.
ParamInfo CheckNameUnique() { return OptionalFlag("bCheckNameUnique", false); }
ParamInfo DeletePermanently() { return OptionalFlag("bDeletePermanently", false); }

MemberTable BuildWriteTable() {
  constexpr auto kString = ParamType::kString;
  constexpr auto kBoolean = ParamType::kBoolean;
  constexpr auto kObject = ParamType::kObject;
  MemberTable t("ClippingDataWrite", kClippingDataWriteProgID);

  t.Add(Sub("DeleteAllCategoriesFromClipping", {TextParam("sCategoryID"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteAllCategoriesFromClipping(TextArg(a[0]), ConnectionArg(a[1]));
              return Variant();
            }));
  t.Add(Sub("DeleteLinkedFolder", {TextParam("sFolderId"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteLinkedFolder(TextArg(a[0]), ConnectionArg(a[1]));
              return Variant();
            }));
  t.Add(Method("AddFolderToCategory",
               {TextParam("sFolderId"), TextParam("sCategoryID"), ConnectionParam()}, kString,
               [](Dispatch& self, Args& a) {
                 return Variant(Write(self).AddFolderToCategory(TextArg(a[0]), TextArg(a[1]),
                                                                ConnectionArg(a[2])));
               }));
  t.Add(Method("DeleteAllCategoriesFromFolder", {TextParam("sFolderId"), ConnectionParam()},
               kString, [](Dispatch& self, Args& a) {
                 return Variant(
                     Write(self).DeleteAllCategoriesFromFolder(TextArg(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method(
      "AddLinkedFolder",
      {ConnectionParam("oNewConnectionDetails"), TextParam("sFolderName"), ConnectionParam()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Write(self).AddLinkedFolder(ConnectionArg(a[0]), TextArg(a[1]), ConnectionArg(a[2])));
      },
      "Folder"));
  t.Add(Method(
      "AddDefaultFolderToLinkedCatalog",
      {EntityParam("oLinkedFolder", "Folder"), TextParam("sDefaultFolderName"), ConnectionParam()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Write(self).AddDefaultFolderToLinkedCatalog(Unwrap<Folder>(a[0]), TextArg(a[1]),
                                                                ConnectionArg(a[2])));
      },
      "Folder"));
  t.Add(Method(
      "AddCategory",
      {EntityParam("oCategory", "Category"), TextParam("sFolderId"), ConnectionParam(),
       CheckNameUnique()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Write(self).AddCategory(Unwrap<Category>(a[0]), TextArg(a[1]),
                                            ConnectionArg(a[2]), FlagArg(a[3])));
      },
      "Category"));
  t.Add(Sub("DeleteCategory", {TextParam("sCategoryID"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteCategory(TextArg(a[0]), ConnectionArg(a[1]));
              return Variant();
            }));
  t.Add(Method(
      "UpdateCategory",
      {EntityParam("oCategory", "Category"), ConnectionParam(), CheckNameUnique()}, kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Write(self).UpdateCategory(Unwrap<Category>(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Category"));
  t.Add(Sub("AddClippingToCategory",
            {TextParam("sClippingID"), TextParam("sCategoryID"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).AddClippingToCategory(TextArg(a[0]), TextArg(a[1]), ConnectionArg(a[2]));
              return Variant();
            }));
  t.Add(Sub("UpdateClippingHistory", {EntityParam("oClipping", "Clipping"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).UpdateClippingHistory(Unwrap<Clipping>(a[0]), ConnectionArg(a[1]));
              return Variant();
            }));
  t.Add(Sub("AddClippingToCategories",
            {TextParam("sClippingID"), EntityParam("oCategories", "Categories"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).AddClippingToCategories(TextArg(a[0]), Unwrap<Categories>(a[1]),
                                                  ConnectionArg(a[2]));
              return Variant();
            }));
  t.Add(Sub("DeleteClippingFromCategory",
            {TextParam("sClippingID"), TextParam("sCategoryID"), ConnectionParam()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteClippingFromCategory(TextArg(a[0]), TextArg(a[1]),
                                                     ConnectionArg(a[2]));
              return Variant();
            }));
  t.Add(Method(
      "AddFolder",
      {EntityParam("oFolder", "Folder"), TextParam("sParentFolderID"), ConnectionParam(),
       CheckNameUnique()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Write(self).AddFolder(Unwrap<Folder>(a[0]), TextArg(a[1]), ConnectionArg(a[2]),
                                          FlagArg(a[3])));
      },
      "Folder"));
  t.Add(Method(
      "AddClipping",
      {EntityParam("oClipping", "Clipping"), TextParam("sParentFolderID"), ConnectionParam(),
       CheckNameUnique()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Write(self).AddClipping(Unwrap<Clipping>(a[0]), TextArg(a[1]),
                                            ConnectionArg(a[2]), FlagArg(a[3])));
      },
      "Clipping"));
  t.Add(Method("CanAddFolder",
               {EntityParam("oFolder", "Folder"), TextParam("sParentFolderID"), ConnectionParam()},
               kBoolean, [](Dispatch& self, Args& a) {
                 return Variant(Write(self).CanAddFolder(Unwrap<Folder>(a[0]), TextArg(a[1]),
                                                         ConnectionArg(a[2])));
               }));
  t.Add(Method(
      "CanAddClipping",
      {EntityParam("oClipping", "Clipping"), TextParam("sParentFolderID"), ConnectionParam()},
      kBoolean, [](Dispatch& self, Args& a) {
        return Variant(
            Write(self).CanAddClipping(Unwrap<Clipping>(a[0]), TextArg(a[1]), ConnectionArg(a[2])));
      }));
  t.Add(Method("CanDeleteClipping",
               {TextParam("sClippingID"), ConnectionParam(), DeletePermanently()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(Write(self).CanDeleteClipping(TextArg(a[0]), ConnectionArg(a[1]),
                                                              FlagArg(a[2])));
               }));
  t.Add(Method("CanDeleteFolder", {TextParam("sFolderId"), ConnectionParam(), DeletePermanently()},
               kBoolean, [](Dispatch& self, Args& a) {
                 return Variant(Write(self).CanDeleteFolder(TextArg(a[0]), ConnectionArg(a[1]),
                                                            FlagArg(a[2])));
               }));
  t.Add(Method("CanUpdateFolder", {EntityParam("oFolder", "Folder"), ConnectionParam()}, kBoolean,
               [](Dispatch& self, Args& a) {
                 return Variant(
                     Write(self).CanUpdateFolder(Unwrap<Folder>(a[0]), ConnectionArg(a[1])));
               }));
  t.Add(Method(
      "CanUpdateClipping",
      {EntityParam("oClipping", "Clipping"), ConnectionParam(), OptionalFlag("bUpdateData", false)},
      kBoolean, [](Dispatch& self, Args& a) {
        return Variant(Write(self).CanUpdateClipping(Unwrap<Clipping>(a[0]), ConnectionArg(a[1]),
                                                     FlagArg(a[2])));
      }));
  t.Add(Sub("DeleteClipping", {TextParam("sClippingID"), ConnectionParam(), DeletePermanently()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteClipping(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2]));
              return Variant();
            }));
  t.Add(Sub("DeleteFolder", {TextParam("sFolderId"), ConnectionParam(), DeletePermanently()},
            [](Dispatch& self, Args& a) {
              Write(self).DeleteFolder(TextArg(a[0]), ConnectionArg(a[1]), FlagArg(a[2]));
              return Variant();
            }));
  t.Add(Method(
      "UpdateFolder", {EntityParam("oFolder", "Folder"), ConnectionParam(), CheckNameUnique()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(
            Write(self).UpdateFolder(Unwrap<Folder>(a[0]), ConnectionArg(a[1]), FlagArg(a[2])));
      },
      "Folder"));
  t.Add(Method(
      "UpdateClipping",
      {EntityParam("oClipping", "Clipping"), ConnectionParam(), FlagParam("bUpdateData"),
       CheckNameUnique()},
      kObject,
      [](Dispatch& self, Args& a) {
        return Wrap(Write(self).UpdateClipping(Unwrap<Clipping>(a[0]), ConnectionArg(a[1]),
                                               FlagArg(a[2]), FlagArg(a[3])));
      },
      "Clipping"));
  return t;
}

}  // namespace

const MemberTable& ClippingDataWriteObject::Members() const {
  static const MemberTable table = BuildWriteTable();
  return table;
}

}  // namespace clipcat
