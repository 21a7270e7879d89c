// The access history: which clippings the user opened, how often and when last, newest first.
#include <cstdint>
#include <limits>
#include <string>

#include "entities/clipping.h"
#include "store/data_access.h"
#include "store/transaction_internal.h"
#include "util/date.h"
#include "util/errors.h"
#include "util/item_id.h"
#include "util/values.h"

namespace clipcat {

std::shared_ptr<Clippings> DataAccess::GetClippingsHistroy(int32_t lMaximumItems) {
  EnsureCatalogOpen();
  auto clippings = Clippings::Create();
  // The loop below takes at most lMaximumItems rows, so the snapshot need not hold more; a
  // maximum below one still runs the query, whose errors are the caller's to see.
  const size_t wanted = lMaximumItems >= 1 ? static_cast<size_t>(lMaximumItems) : 1;
  Recordset rs = Connection().GetRecordsetRO(
      "SELECT sClippingID, tDateLastAccessed FROM AccessHistory ORDER BY tDateLastAccessed DESC",
      wanted);
  if (!(rs.Bof() && rs.Eof())) {
    rs.MoveFirst();
    // Only the id and the access time: callers read the clippings themselves, from whichever
    // catalog the id names.
    for (int32_t allowance = lMaximumItems; !rs.Eof() && allowance >= 1; --allowance) {
      auto clipping = Clipping::Create();
      clipping->SetID(ToTextOr(rs.Value("sClippingID"), ""));
      clipping->SetAccessed(StoreKey(), ToDateOr(rs.Value("tDateLastAccessed"), Date()));
      clippings->AddClipping(std::move(clipping));
      rs.MoveNext();
    }
  }
  rs.Close();
  return clippings;
}

void DataAccess::UpdateClippingHistory(const std::shared_ptr<Clipping>& oClipping) {
  EnsureCatalogOpen();
  if (oClipping == nullptr) RaiseRuntimeError(err::kObjectVariableNotSet);
  // Read and write are one step: the write transaction is taken before the read, so that
  // processes showing one clipping at once neither lose counts nor add a second row.
  InTransaction(Connection(), [&] {
    Recordset rs = Connection().GetRecordsetRO("Select * From AccessHistory Where sClippingID=" +
                                               SqlText(Variant(oClipping->ID())));
    const Date now = Date::Now();
    if (!(rs.Bof() && rs.Eof())) {
      rs.MoveFirst();
      int32_t count = ToLongOr(rs.Value("lAccessCount"), 0);
      // The count is 32 bits wide; it stops at its largest value rather than wrap.
      if (count < std::numeric_limits<int32_t>::max()) ++count;
      rs.Close();
      // The row is found by id but changed by GUID, as other programs sharing the history do.
      Connection().ExecuteSQL(
          "Update AccessHistory Set sName=" + SqlText(Variant(oClipping->Name())) +
          ", lAccessCount=" + std::to_string(count) + ", " + "tDateLastAccessed=" +
          SqlDate(Variant(now)) + " Where sClippingGUID=" + SqlText(Variant(oClipping->GUID())));
    } else {
      rs.Close();
      // The history lives in the default catalog; the catalog that holds the clipping is the one
      // its id names.
      Connection().ExecuteSQL(
          "Insert Into AccessHistory (sClippingGUID, lExternalCatalogId, sClippingId, sName, "
          "bIsFavorite, lAccessCount, tDateLastAccessed) Values( " +
          SqlText(Variant(oClipping->GUID())) + ", " +
          SqlNumber(Variant(GetCatalogIDFromItemID(oClipping->ID()))) + ", " +
          SqlText(Variant(oClipping->ID())) + ", " + SqlText(Variant(oClipping->Name())) +
          ", 0, 1, " + SqlDate(Variant(now)) + " )");
    }
  });
}

void DataAccess::DeleteClippingHistory(const std::string& sClippingID) {
  EnsureCatalogOpen();
  Connection().ExecuteSQL("Delete From AccessHistory Where sClippingID=" +
                          SqlText(Variant(sClippingID)));
}

}  // namespace clipcat
