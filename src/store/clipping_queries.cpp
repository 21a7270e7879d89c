// The DataAccess queries that answer many clippings at once: by folder, folder subtree, category,
// without a category, deleted, by free text (FindClippings) and by a full search request
// (SearchForClippings).
#include <string>
#include <string_view>
#include <vector>

#include "store/data_access.h"
#include "store/key_text.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {
namespace {

// The status of a deleted clipping and the category group of ordinary categories. Frozen:
// catalogs hold these values.
constexpr const char* kDeletedClipping = "4";
constexpr const char* kCategoryGroup = "1";

// The escape character of LIKE patterns built from a user's text, and the clause that declares it.
constexpr char kLikeEscape = '\\';
constexpr const char* kLikeEscapeClause = " ESCAPE '\\'";

// The right-hand side of a LIKE that matches `text` wrapped in `around`. Only the search
// wildcard "*" is a wildcard, and only when `star_is_wildcard`: it becomes "%". A "%" or "_" the
// user typed stands for itself; when the text holds one, the pattern escapes it (and the escape
// character) and declares the escape character, otherwise the pattern is the plain literal.
std::string LikeOperand(const std::string& text, bool star_is_wildcard,
                        std::string_view around = {}) {
  const bool escape = text.find_first_of("%_") != std::string::npos;
  std::string pattern(around);
  for (char c : text) {
    if (star_is_wildcard && c == '*') {
      pattern += '%';
    } else if (escape && (c == '%' || c == '_' || c == kLikeEscape)) {
      pattern += kLikeEscape;
      pattern += c;
    } else {
      pattern += c;
    }
  }
  pattern += around;
  std::string operand = SqlText(Variant(pattern));
  if (escape) operand += kLikeEscapeClause;
  return operand;
}

// Raises 13 unless `list` is a run of " OR lFolderID=<number literal>" alternatives: a check on
// the list as a whole, so that no folder id reaches the statement as anything but a number.
void RequireFolderIdList(const std::string& list) {
  constexpr std::string_view kAlternative = " OR lFolderID=";
  size_t at = 0;
  while (at < list.size()) {
    if (list.compare(at, kAlternative.size(), kAlternative) != 0) {
      RaiseRuntimeError(err::kTypeMismatch);
    }
    at += kAlternative.size();
    size_t end = list.find(' ', at);
    if (end == std::string::npos) end = list.size();
    const std::string key = list.substr(at, end - at);
    if (key != "Null" && SqlNumber(Variant(key)) != key) RaiseRuntimeError(err::kTypeMismatch);
    at = end;
  }
}

// The clippings of every row of `rs` through `read`, in the rows' order. Closes `rs`.
template <typename Read>
std::shared_ptr<Clippings> ClippingsOf(Recordset& rs, Read&& read) {
  auto clippings = Clippings::Create();
  for (; !rs.Eof(); rs.MoveNext()) clippings->AddClipping(read(rs));
  rs.Close();
  return clippings;
}

// The live clippings that are (`membership` " IN") or are not (" NOT IN") members of an ordinary
// category, in name order; `category_filter` narrows the categories further.
std::string CategoryMembersQuery(const char* membership, const std::string& category_filter) {
  return std::string(" SELECT * FROM Clipping WHERE iClippingStatus <> ") + kDeletedClipping +
         " AND " + "lClippingId" + membership + " ( " +
         "SELECT ClippingGroupClipping.lClippingID FROM ClippingGroupClipping " +
         "INNER JOIN GroupClipping ON ClippingGroupClipping.lGroupClippingId = "
         "GroupClipping.lGroupClippingId " +
         "WHERE GroupClipping.lGroupCategoryId= " + kCategoryGroup + category_filter + " )" +
         " ORDER BY sName ASC ";
}

}  // namespace

std::shared_ptr<Clippings> DataAccess::GetDeletedClippingsForCatalog(
    const std::string& /*sCatalogID*/, bool bGetData) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(
      std::string("SELECT * FROM Clipping WHERE iClippingStatus=") + kDeletedClipping);
  return ClippingsOf(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

bool DataAccess::ClippingsExist(const Variant& /*vArgument*/) {
  RaiseNotImplemented("ClippingsExist");
}

std::shared_ptr<Clippings> DataAccess::GetClippingsFromFolder(const std::string& sFolderId,
                                                              bool bGetData,
                                                              std::shared_ptr<Clippings> oClippings,
                                                              bool bGetDeletedItems) {
  EnsureCatalogOpen();
  const std::string folder_key =
      SqlNumber(Variant(GetLocalItemID(sFolderId, external_catalog_id_)));
  // A passed-in list is both the result and, when it holds clippings, a filter on their ids,
  // which must be keys of this catalog already.
  std::string ids;
  if (oClippings == nullptr) {
    oClippings = Clippings::Create();
  } else if (oClippings->Items()->Count() > 0) {
    ids = " AND (";
    for (const auto& clipping : oClippings->Items()->Snapshot()) {
      if (clipping == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
      ids += " lClippingID=" + RequireKeyText(clipping->ID()) + " OR";
    }
    ids.resize(ids.size() - 2);
    ids += " ) ";
  }
  const std::string status = bGetDeletedItems
                                 ? std::string()
                                 : std::string(" AND iClippingStatus<> ") + kDeletedClipping + " ";
  Recordset rs =
      Connection().GetRecordsetRO("SELECT * FROM Clipping WHERE lFolderID=" + folder_key + " " +
                                  status + ids + "ORDER BY sName ASC ");
  // Read every row before touching the list, so that a failure leaves the caller's list as it was.
  std::vector<std::shared_ptr<Clipping>> read;
  for (; !rs.Eof(); rs.MoveNext()) read.push_back(ReadClippingRow(rs, bGetData));
  rs.Close();
  for (auto& clipping : read) oClippings->AddClipping(std::move(clipping));
  return oClippings;
}

std::shared_ptr<Clippings> DataAccess::GetClippingsForFolderAndChildFolders(
    const std::shared_ptr<Folder>& oFolder, bool bGetData) {
  if (oFolder == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  const std::string list = BuildFolderIdList(oFolder);
  if (list.empty()) return Clippings::Create();
  RequireFolderIdList(list);
  // Neither a status filter nor an order: deleted clippings of the subtree come back too, in the
  // database's order. Callers tag and untag whole folders with this, deleted clippings included.
  Recordset rs = Connection().GetRecordsetRO("Select * From Clipping Where " + list.substr(3));
  return ClippingsOf(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

std::shared_ptr<Clippings> DataAccess::GetClippingsFromCategory(const std::string& sCategoryID,
                                                                bool bGetData) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(CategoryMembersQuery(
      " IN", " AND GroupClipping.lGroupClippingID=" +
                 SqlNumber(Variant(GetLocalItemID(sCategoryID, external_catalog_id_)))));
  return ClippingsOf(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

std::shared_ptr<Clippings> DataAccess::GetClippingsWithoutCategory(
    const std::string& /*sCatalogID*/, bool bGetData) {
  EnsureCatalogOpen();
  Recordset rs = Connection().GetRecordsetRO(CategoryMembersQuery(" NOT IN", ""));
  return ClippingsOf(rs, [&](const Recordset& row) { return ReadClippingRow(row, bGetData); });
}

std::shared_ptr<Clippings> DataAccess::FindClippings(const std::shared_ptr<Search>& oSearch) {
  if (oSearch == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // The text is matched anywhere in the name or description; "*" stands for itself here.
  const std::string pattern = LikeOperand(oSearch->SearchText(), false, "%");
  std::string sql = "SELECT * FROM Clipping WHERE ( sName LIKE " + pattern + " " +
                    "OR sDescription LIKE " + pattern + ") AND NOT iClippingStatus=4";
  // Folder ids are taken as keys of this catalog as they are, without removing a catalog tag;
  // one that is not a number raises 13.
  std::string folders;
  for (const std::string& id : *oSearch->FolderIDs()) {
    folders += " lFolderID=" + SqlNumber(Variant(id)) + " OR ";
  }
  if (!folders.empty()) {
    folders.resize(folders.size() - 4);
    sql += " AND ( " + folders + " ) ";
  }
  Recordset rs = Connection().GetRecordsetRO(sql);
  return ClippingsOf(rs, [&](const Recordset& row) { return ReadClippingRow(row, false); });
}

std::shared_ptr<Clippings> DataAccess::SearchForClippings(const std::shared_ptr<Search>& oSearch) {
  if (oSearch == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  EnsureCatalogOpen();
  // "*" becomes "%" in the statement only; the caller's criteria stay as given, so that running
  // the same Search again finds the same clippings. Without a wildcard the text must match a
  // whole name or description.
  const std::string text = LikeOperand(oSearch->SearchText(), true);

  std::string folder_term;
  std::string folders;
  for (const std::string& id : *oSearch->FolderIDs()) {
    folders += "OR lFolderID=" + RequireKeyText(GetLocalItemID(id, external_catalog_id_)) + " ";
  }
  if (!folders.empty()) folder_term = " ( " + folders.substr(2) + " ) ";

  std::string category_term;
  std::string names;
  for (const std::string& name : *oSearch->CategoryNames()) {
    names += "OR GroupClipping.sName LIKE " + LikeOperand(name, true) + " ";
  }
  if (!names.empty()) {
    category_term = std::string("( Select ClippingGroupClipping.lClippingID FROM Clipping ") +
                    "INNER JOIN (GroupClipping INNER JOIN ClippingGroupClipping ON "
                    "GroupClipping.lGroupClippingId = ClippingGroupClipping.lGroupClippingId) ON "
                    "Clipping.lClippingId = ClippingGroupClipping.lClippingId " +
                    "WHERE (((Clipping.iClippingStatus)<> " + kDeletedClipping +
                    ") AND ((GroupClipping.lGroupCategoryId)=" + kCategoryGroup + ")" + "AND ( " +
                    names.substr(2) + " )))";
  }

  std::string sql = std::string("SELECT * FROM Clipping WHERE iClippingStatus <>") +
                    kDeletedClipping + " " + "AND ( sName LIKE " + text + " " +
                    "OR sDescription LIKE " + text + " ) ";
  if (!folder_term.empty()) sql += " AND " + folder_term;
  // No parentheses around what comes before: with the OR form, AND binds first, so a clipping of
  // a named category is found whatever its text and folder. Clients depend on this reading.
  if (!category_term.empty()) {
    sql +=
        (oSearch->OrClippingBelongsToCategory() ? " OR lClippingID IN " : " AND lClippingID IN ") +
        category_term;
  }

  Recordset rs = Connection().GetRecordsetRO(sql);
  std::vector<std::shared_ptr<Clipping>> rows;
  for (; !rs.Eof(); rs.MoveNext()) rows.push_back(ReadClippingRow(rs, false));
  rs.Close();
  auto clippings = Clippings::Create();
  for (auto& clipping : rows) {
    clipping->SetPathName(GetClippingPathName(clipping->ID()));
    clipping->SetCategories(GetCategoriesNamesForClipping(clipping->ID()));
    clippings->AddClipping(std::move(clipping));
  }
  return clippings;
}

}  // namespace clipcat
