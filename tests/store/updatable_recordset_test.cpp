#include "engine/updatable_recordset.h"

#include <gtest/gtest.h>

#include <string>

#include "engine/blob_field.h"
#include "engine/db_connection.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

TEST(UpdatableRecordset, OnlyRowsUpdatedWholeStayAndMisuseRaisesTheRecordsetErrors) {
  TempCatalog catalog;
  DBConnection db;
  db.OpenConnection(catalog.connection_string(), "", "");
  {
    UpdatableRecordset rs = db.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE 1=0");
    EXPECT_EQ(ErrorOf([&] { rs.SetValue("lClippingID", 1); }).number(), err::kNoCurrentRecord);
    EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kNoCurrentRecord);
    rs.AddNew();
    EXPECT_EQ(ErrorOf([&] { rs.SetValue("sNoSuchField", 1); }).number(), err::kFieldNotFound);
    EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "x"); }).number(),
              err::kInvalidProcedureCall);  // no long value begun
    WriteBlobField("cancelled", rs, "ClippingData");
    rs.CancelUpdate();
    rs.AddNew();
    rs.BeginLongValue("ClippingData", 10);
    rs.AppendChunk("ClippingData", "12345");
    EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kInvalidProcedureCall);  // 5 short
    rs.AddNew();
    rs.BeginLongValue("ClippingData", 4);
    EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "12345"); }).number(),
              err::kInvalidProcedureCall);
    rs.AddNew();  // drops that row
    WriteBlobField("never updated", rs, "ClippingData");
  }  // the recordset goes with a row pending
  EXPECT_EQ(db.GetRecordsetRO("SELECT * FROM ClippingDataType").RecordCount(), 0);
  // Values set after the long value are kept.
  UpdatableRecordset rs = db.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE 1=0");
  rs.AddNew();
  WriteBlobField("the data first", rs, "ClippingData");
  rs.SetValue("lClippingID", 7);
  rs.Update();
  rs.Close();
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }).number(), err::kObjectClosed);
  EXPECT_EQ(ReadBlobField(db.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=7"),
                          "ClippingData"),
            "the data first");
  // Rows can only be added through a query over one table.
  for (const char* sql : {"SELECT f.sName, c.sName FROM Folder f, Clipping c", "SELECT 1 + 1"}) {
    EXPECT_EQ(ErrorOf([&] { db.GetRecordsetRW(sql); }).number(), err::kDatabaseError) << sql;
  }
}

}  // namespace
}  // namespace clipcat::testing
