// The category operations of DataAccess: categories are rows of GroupClipping, all in category
// group 1, and a clipping's membership of a category is a row of ClippingGroupClipping.
#include <string>
#include <utility>

#include "store/data_access.h"
#include "store/key_text.h"
#include "store/transaction_internal.h"
#include "util/errors.h"
#include "util/guid.h"
#include "util/item_id.h"
#include "util/messages.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The category group of every category the store makes and reads, and the status a new category
// gets. Frozen: catalogs hold these values and other programs select by them.
constexpr const char* kCategoryGroup = "1";
constexpr const char* kCategoryStatusActive = "1";

[[noreturn]] void RaiseCategoryNameNotUnique(const std::string& name) {
  RaiseError(err::kCategoryNameNotUnique, kDataServicesSource,
             FormatResourceMessage(kMessageNameNotUnique, {name}));
}

std::string CategoryNameQuery(const std::string& name) {
  return std::string("Select * From GroupClipping WHERE lGroupCategoryId=") + kCategoryGroup + " " +
         "AND sName=" + SqlText(Variant(name));
}

}  // namespace

bool DataAccess::HaveCategoriesChanged(const Date& tDateTimeCategoriesChecked) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      std::string("Select lGroupClippingID From GroupClipping Where ") +
      " Datediff( 's', tUpdated  ," + SqlDate(Variant(tDateTimeCategoriesChecked)) + " ) < 0 " +
      " AND lGroupCategoryId=" + kCategoryGroup);
  const bool changed = !IsEmpty(rs);
  rs.Close();
  return changed;
}

bool DataAccess::CategoryNameExists(const std::string& sCategoryName,
                                    const std::string& /*sFolderID*/) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(CategoryNameQuery(sCategoryName));
  const bool exists = !IsEmpty(rs);
  rs.Close();
  return exists;
}

bool DataAccess::CategoryNameIsUnique(const std::shared_ptr<Category>& oCategory) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(CategoryNameQuery(oCategory->Name()));
  // Runs after the write, so the category's own row is one of those counted.
  const bool unique = IsEmpty(rs) || rs.RecordCount() < 2;
  rs.Close();
  return unique;
}

std::shared_ptr<Category> DataAccess::AddCategory(const std::shared_ptr<Category>& oCategory,
                                                  const std::string& /*sFolderID*/) {
  if (oCategory == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // A failed add hands the caller's object back as it came.
  const std::string old_id = oCategory->ID();
  const Date old_updated = oCategory->Updated();
  try {
    InTransaction(Connection(), [&] {
      oCategory->SetUpdated(Date::Now());
      const std::string key = std::to_string(GetNextID("GroupClipping", CreateGUIDString()));
      oCategory->SetID(key);
      Connection().ExecuteSQL(
          std::string("Insert Into GroupClipping (lGroupClippingID, lGroupCategoryID, "
                      "sName, sDescription, ") +
          "iSortOrder, iStatus, tUpdated) Values (" + SqlNumber(Variant(key)) + ", " +
          kCategoryGroup + ", " + SqlText(Variant(oCategory->Name())) + ", " +
          SqlText(Variant(oCategory->Description())) + ", 0, " + kCategoryStatusActive + ", " +
          SqlDate(Variant(oCategory->Updated())) + " ) ");
      oCategory->SetID(ComposeItemID(key, external_catalog_id_));
      if (!CategoryNameIsUnique(oCategory)) RaiseCategoryNameNotUnique(oCategory->Name());
    });
  } catch (...) {
    oCategory->SetID(old_id);
    oCategory->SetUpdated(old_updated);
    throw;
  }
  return oCategory;
}

std::shared_ptr<Category> DataAccess::UpdateCategory(const std::shared_ptr<Category>& oCategory) {
  if (oCategory == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // Formatted before the transaction begins, so that an id that is not a key opens nothing.
  const std::string key = SqlNumber(Variant(GetLocalItemID(oCategory->ID(), external_catalog_id_)));
  const Date old_updated = oCategory->Updated();
  TransactionGuard transaction(Connection());
  bool unique = false;
  try {
    oCategory->SetUpdated(Date::Now());
    Connection().ExecuteSQL(
        "Update GroupClipping Set sName=" + SqlText(Variant(oCategory->Name())) + ", " +
        "sDescription=" + SqlText(Variant(oCategory->Description())) + ", " + "tUpdated=" +
        SqlDate(Variant(oCategory->Updated())) + " Where " + "lGroupClippingId =" + key);
    unique = CategoryNameIsUnique(oCategory);
  } catch (...) {
    oCategory->SetUpdated(old_updated);
    throw;
  }
  if (!unique) {
    // The one write that deliberately differs: a duplicate name leaves the update pending in the
    // still open transaction, as callers of this operation rely on; the connection's next commit
    // keeps it, its next rollback or its closing drops it. Requests over kept connections end in
    // a RequestScope, which rolls it back.
    transaction.LeavePending();
    RaiseCategoryNameNotUnique(oCategory->Name());
  }
  transaction.Commit();
  return oCategory;
}

void DataAccess::AddFolderToCategory(const std::string& sFolderID, const std::string& sCategoryID) {
  std::shared_ptr<Folder> folder = GetFolder(sFolderID);
  if (folder == nullptr) return;
  folder = GetChildFolders(folder, true, false);
  AddClippingsToCategory(GetClippingsForFolderAndChildFolders(folder, false), sCategoryID);
}

void DataAccess::DeleteAllCategoriesFromFolder(const std::string& sFolderID) {
  std::shared_ptr<Folder> folder = GetFolder(sFolderID);
  if (folder == nullptr) return;
  folder = GetChildFolders(folder, true, false);
  const auto clippings = GetClippingsForFolderAndChildFolders(folder, false);
  InTransaction(Connection(), [&] {
    for (const auto& clipping : clippings->Items()->Snapshot()) {
      DeleteAllCategoriesFromClipping(clipping->ID());
    }
  });
}

void DataAccess::AddClippingToCategory(const std::string& sClippingID,
                                       const std::string& sCategoryID) {
  EnsureCatalogOpen();
  const std::string now = SqlDate(Variant(Date::Now()));
  Connection().ExecuteSQL(
      "Insert Into ClippingGroupClipping(lClippingId, lGroupClippingId,  iSortOrder, "
      "tActiveStart, tActiveEnd ) Values ( " +
      SqlNumber(Variant(GetLocalItemID(sClippingID, external_catalog_id_))) + ", " +
      SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_))) + ", 0, " + now + ", " +
      now + " )");
}

void DataAccess::AddClippingsToCategory(const std::shared_ptr<Clippings>& colClippings,
                                        const std::string& sCategoryID) {
  if (colClippings == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  // A category id that is not a key would fail for every clipping alike; say so once instead
  // of adding nothing in silence.
  const std::string category =
      SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_)));
  EnsureCatalogOpen();
  // One clipping that cannot join (already a member, an id that is not a key) does not keep the
  // others out; a failure of the engine adds none of them.
  InTransaction(Connection(), [&] {
    for (const auto& clipping : colClippings->Items()->Snapshot()) {
      std::string key;
      if (clipping == nullptr || !IgnoreErrors([&] {
            key = SqlNumber(Variant(GetLocalItemID(clipping->ID(), external_catalog_id_)));
          })) {
        continue;
      }
      const Recordset member = Connection().GetRecordsetRO(
          "Select lClippingId From ClippingGroupClipping Where lClippingId=" + key +
          " And lGroupClippingId=" + category);
      if (!member.Eof()) continue;
      AddClippingToCategory(clipping->ID(), sCategoryID);
    }
  });
}

void DataAccess::AddClippingToCategories(const std::string& sClippingID,
                                         const std::shared_ptr<Categories>& colCategories) {
  if (colCategories == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // The first failure ends the operation; the memberships added before it go with it, so a
  // refused call leaves the clipping's categories as they were.
  InTransaction(Connection(), [&] {
    for (const auto& category : colCategories->Items()->Snapshot()) {
      if (category == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
      AddClippingToCategory(sClippingID, category->ID());
    }
  });
}

void DataAccess::DeleteClippingFromCategory(const std::string& sClippingID,
                                            const std::string& sCategoryID) {
  EnsureCatalogOpen();
  Connection().ExecuteSQL("Delete From ClippingGroupClipping Where lClippingId=" +
                          SqlNumber(Variant(GetLocalItemID(sClippingID, external_catalog_id_))) +
                          " " + " And lGroupClippingId=" +
                          SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_))));
}

void DataAccess::DeleteAllCategoriesFromClipping(const std::string& sClippingID) {
  EnsureCatalogOpen();
  const std::string key = RequireKeyText(GetLocalItemID(sClippingID, external_catalog_id_));
  Connection().ExecuteSQL(
      std::string("DELETE FROM ClippingGroupClipping WHERE lGroupClippingID IN ( ") +
      "Select ClippingGroupClipping.lGroupClippingID FROM " +
      "ClippingGroupClipping INNER JOIN GroupClipping ON ClippingGroupClipping.lGroupClippingID "
      "= " +
      "GroupClipping.lGroupClippingID WHERE ClippingGroupClipping.lClippingID=" + key + " " +
      "AND  GroupClipping.lGroupCategoryID =" + kCategoryGroup + " ) " + "AND lClippingID=" + key);
}

void DataAccess::DeleteCategory(const std::string& sCategoryID) {
  EnsureCatalogOpen();
  const std::string key = SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_)));
  // Categories have no deleted status: the memberships go first, then the row itself, as one
  // unit, so that a failure never leaves the category without its members.
  InTransaction(Connection(), [&] {
    Connection().ExecuteSQL("Delete From ClippingGroupClipping Where lGroupClippingID=" + key);
    Connection().ExecuteSQL("Delete From GroupClipping Where lGroupClippingID=" + key);
  });
}

std::shared_ptr<Category> DataAccess::GetCategory(const std::string& sCategoryID) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      "Select * From GroupClipping Where lGroupClippingId=" +
      SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_))));
  return FirstRow(rs, [this](const Recordset& row) { return ReadCategoryRow(row); });
}

std::shared_ptr<Category> DataAccess::GetCategoryByName(const std::string& sCategoryName) {
  EnsureCatalogOpen();
  // The filter names sGroupCategoryId, a column catalogs do not have, so the database refuses the
  // statement; kept so, since callers of this member have always received that error.
  Recordset rs = Connection().GetRecordsetRO(
      "Select * From GroupClipping Where sName=" + SqlText(Variant(sCategoryName)) + " " +
      "AND sGroupCategoryId=" + kCategoryGroup);
  return FirstRow(rs, [this](const Recordset& row) { return ReadCategoryRow(row); });
}

std::shared_ptr<Category> DataAccess::ReadCategoryRow(const Recordset& rs) {
  auto category = Category::Create();
  // Statements select different columns; a column that is missing or Null leaves its property
  // as a new category has it.
  IgnoreErrors([&] {
    category->SetID(ComposeItemID(rs.Value("lGroupClippingId").ToText(), external_catalog_id_));
  });
  IgnoreErrors([&] { category->SetName(rs.Value("sName").ToText()); });
  IgnoreErrors([&] { category->SetDescription(rs.Value("sDescription").ToText()); });
  IgnoreErrors([&] { category->SetUpdated(rs.Value("tUpdated").ToDate()); });
  return category;
}

std::shared_ptr<Categories> DataAccess::GetCategoriesFromLinkedFolder(
    const std::string& sFolderID) {
  return GetCategoriesFromFolder(sFolderID);
}

std::shared_ptr<Categories> DataAccess::GetCategoriesFromFolder(const std::string& /*sFolderID*/) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      std::string("Select * From GroupClipping Where lGroupCategoryId=") + kCategoryGroup +
      " ORDER BY sName ASC ");
  auto categories = Categories::Create();
  for (; !rs.Eof(); rs.MoveNext()) categories->AddCategory(ReadCategoryRow(rs));
  rs.Close();
  return categories;
}

std::shared_ptr<Categories> DataAccess::GetCategoriesForClipping(const std::string& sClippingID) {
  EnsureCatalogOpen();
  const std::string key = RequireKeyText(GetLocalItemID(sClippingID, external_catalog_id_));
  Recordset rs = Connection().GetRecordsetRO(
      std::string("Select GroupClipping.lGroupClippingID, GroupClipping.sName, "
                  "GroupClipping.tUpdated ") +
      "From GroupClipping INNER JOIN ClippingGroupClipping ON  GroupClipping.lGroupClippingID= " +
      "ClippingGroupClipping.lGroupClippingID Where ClippingGroupClipping.lClippingId=" + key +
      " " + "AND GroupClipping.lGroupCategoryId=" + kCategoryGroup + " " +
      "ORDER BY GroupClipping.sName ASC ");
  auto categories = Categories::Create();
  for (; !rs.Eof(); rs.MoveNext()) categories->AddCategory(ReadCategoryRow(rs));
  rs.Close();
  return categories;
}

std::string DataAccess::GetCategoriesNamesForClipping(const std::string& sClippingID) {
  const std::shared_ptr<Categories> categories = GetCategoriesForClipping(sClippingID);
  std::string names;
  bool first = true;
  for (const auto& category : *categories->Items()) {
    if (!first) names += ", ";
    names += category->Name();
    first = false;
  }
  return names;
}

}  // namespace clipcat
