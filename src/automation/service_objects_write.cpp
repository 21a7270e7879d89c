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
ClippingDataWrite& Service(Dispatch& self) {
  return static_cast<ClippingDataWriteObject&>(self).service();
}

// Publishes the service member of that name, its parameters named in order (with a default
// where they are optional); their types and conversions follow from the member's signature.
#define MEMBER(member, ...)                                       \
  t.Add(internal::MemberBinder<&ClippingDataWrite::member>::Make( \
      #member, std::vector<ParamName>{__VA_ARGS__}, &Service))

MemberTable BuildWriteTable() {
  MemberTable t("ClippingDataWrite", kClippingDataWriteProgID);
  MEMBER(DeleteAllCategoriesFromClipping, "sCategoryID", "oDefaultConnection");
  MEMBER(DeleteLinkedFolder, "sFolderId", "oDefaultConnection");
  MEMBER(AddFolderToCategory, "sFolderId", "sCategoryID", "oDefaultConnection");
  MEMBER(DeleteAllCategoriesFromFolder, "sFolderId", "oDefaultConnection");
  MEMBER(AddLinkedFolder, "oNewConnectionDetails", "sFolderName", "oDefaultConnection");
  MEMBER(AddDefaultFolderToLinkedCatalog, "oLinkedFolder", "sDefaultFolderName",
         "oDefaultConnection");
  // The interface leaves the default of bCheckNameUnique open; the services treat a left-out
  // value as false, the same as their C++ callers get.
  MEMBER(AddCategory, "oCategory", "sFolderId", "oDefaultConnection",
         Opt("bCheckNameUnique", false));
  MEMBER(DeleteCategory, "sCategoryID", "oDefaultConnection");
  MEMBER(UpdateCategory, "oCategory", "oDefaultConnection", Opt("bCheckNameUnique", false));
  MEMBER(AddClippingToCategory, "sClippingID", "sCategoryID", "oDefaultConnection");
  MEMBER(UpdateClippingHistory, "oClipping", "oDefaultConnection");
  MEMBER(AddClippingToCategories, "sClippingID", "oCategories", "oDefaultConnection");
  MEMBER(DeleteClippingFromCategory, "sClippingID", "sCategoryID", "oDefaultConnection");
  MEMBER(AddFolder, "oFolder", "sParentFolderID", "oDefaultConnection",
         Opt("bCheckNameUnique", false));
  MEMBER(AddClipping, "oClipping", "sParentFolderID", "oDefaultConnection",
         Opt("bCheckNameUnique", false));
  MEMBER(CanAddFolder, "oFolder", "sParentFolderID", "oDefaultConnection");
  MEMBER(CanAddClipping, "oClipping", "sParentFolderID", "oDefaultConnection");
  MEMBER(CanDeleteClipping, "sClippingID", "oDefaultConnection", Opt("bDeletePermanently", false));
  MEMBER(CanDeleteFolder, "sFolderId", "oDefaultConnection", Opt("bDeletePermanently", false));
  MEMBER(CanUpdateFolder, "oFolder", "oDefaultConnection");
  MEMBER(CanUpdateClipping, "oClipping", "oDefaultConnection", Opt("bUpdateData", false));
  MEMBER(DeleteClipping, "sClippingID", "oDefaultConnection", Opt("bDeletePermanently", false));
  MEMBER(DeleteFolder, "sFolderId", "oDefaultConnection", Opt("bDeletePermanently", false));
  MEMBER(UpdateFolder, "oFolder", "oDefaultConnection", Opt("bCheckNameUnique", false));
  MEMBER(UpdateClipping, "oClipping", "oDefaultConnection", "bUpdateData",
         Opt("bCheckNameUnique", false));
  // The trash and versions (members beyond the original interface).
  MEMBER(RestoreItem, "sItemID", "oDefaultConnection", Opt("bRename", false));
  MEMBER(EmptyTrash, "oDefaultConnection", Opt("lOlderThanDays", -1),
         Opt("sCatalogFolderID", std::string()));
  MEMBER(RevertClipping, "sClippingID", "lVersion", "oDefaultConnection");
  MEMBER(SetMaximumVersions, "lMaximum", "oDefaultConnection",
         Opt("sCatalogFolderID", std::string()));
  return t;
}

#undef MEMBER

}  // namespace

const MemberTable& ClippingDataWriteObject::Members() const {
  static const MemberTable table = BuildWriteTable();
  return table;
}

}  // namespace clipcat
