#include "store/updatable_recordset.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "store/blob_field.h"
#include "store/db_connection.h"
#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"

namespace clipcat::testing {
namespace {

class UpdatableRecordsetTest : public ::testing::Test {
 protected:
  void SetUp() override { db_.OpenConnection(catalog_.connection_string(), "", ""); }

  UpdatableRecordset Open() {
    return db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=NULL");
  }

  void AddItem(UpdatableRecordset& rs, int32_t key, int32_t type) {
    rs.AddNew();
    rs.SetValue("lClippingID", key);
    rs.SetValue("BISCOMPRESSED", true);
    rs.SetValue("lDataTypeId", type);
  }

  Recordset ItemsOf(int32_t key) {
    return db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" +
                              std::to_string(key) + " ORDER BY lDataTypeId");
  }

  TempCatalog catalog_;
  DBConnection db_;
};

// Long values at the boundaries of their pieces are round-tripped through the store's own
// items, on either engine; here, what another program finds in the field.
TEST_F(UpdatableRecordsetTest, TextIsStoredAsUtf16LittleEndianAndNoValueAsNull) {
  UpdatableRecordset rs = Open();
  EXPECT_TRUE(rs.Rows().Eof());
  AddItem(rs, 1, 1);
  WriteBlobField("A\xC3\xA9\xF0\x9F\x98\x80", rs, "ClippingData");  // A, e-acute, U+1F600
  rs.Update();
  for (int32_t type : {2, 3}) {
    AddItem(rs, 1, type);
    if (type == 2) WriteBlobField("", rs, "ClippingData");
    if (type == 3) WriteBlobBytes("", rs, "ClippingData");
    rs.Update();
  }
  rs.Close();
  Recordset items = ItemsOf(1);
  EXPECT_EQ(ReadBlobBytes(items, "ClippingData"), std::string("A\0\xE9\0\x3D\xD8\x00\xDE", 8));
  EXPECT_EQ(ReadBlobField(items, "clippingdata"), "A\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(items.Value("bIsCompressed"), Variant(true));
  for (items.MoveNext(); !items.Eof(); items.MoveNext()) {
    EXPECT_TRUE(items.IsNull("ClippingData"));
    EXPECT_EQ(ReadBlobField(items, "ClippingData") + ReadBlobBytes(items, "ClippingData"), "");
  }
}

TEST_F(UpdatableRecordsetTest, OnlyRowsUpdatedWholeStayAndTheyFollowTheCallersTransaction) {
  {
    UpdatableRecordset rs = Open();
    AddItem(rs, 1, 1);
    WriteBlobField("cancelled", rs, "ClippingData");
    rs.CancelUpdate();
    AddItem(rs, 2, 1);
    rs.BeginLongValue("ClippingData", 10);
    rs.AppendChunk("ClippingData", "12345");
    EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kInvalidProcedureCall);  // 5 short
    AddItem(rs, 3, 1);
    rs.BeginLongValue("ClippingData", 4);
    EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "12345"); }).number(),
              err::kInvalidProcedureCall);
    rs.AddNew();  // drops row 3
    AddItem(rs, 4, 1);
    WriteBlobField("never updated", rs, "ClippingData");
  }  // the recordset goes with row 4 pending
  EXPECT_EQ(db_.GetRecordsetRO("SELECT * FROM ClippingDataType").RecordCount(), 0);
  for (bool commit : {false, true}) {
    db_.BeginTrans();
    UpdatableRecordset rs = Open();
    rs.AddNew();
    WriteBlobField("the data first", rs, "ClippingData");
    rs.SetValue("lClippingID", 7);  // values set after the long value are kept
    rs.SetValue("lDataTypeId", 4);
    rs.Update();
    rs.Close();
    if (commit) {
      db_.CommitTrans();
    } else {
      db_.RollbackTrans();
    }
    EXPECT_EQ(ItemsOf(7).RecordCount(), commit ? 1 : 0);
  }
  Recordset items = ItemsOf(7);
  EXPECT_EQ(items.Value("lDataTypeId"), Variant(int32_t{4}));
  EXPECT_EQ(ReadBlobField(items, "ClippingData"), "the data first");
  UpdatableRecordset selected =
      db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=7");
  EXPECT_EQ(selected.Rows().Value("lDataTypeId"), Variant(int32_t{4}));
}

TEST_F(UpdatableRecordsetTest, MisuseRaisesTheRecordsetErrors) {
  UpdatableRecordset rs = Open();
  EXPECT_EQ(ErrorOf([&] { rs.SetValue("lClippingID", 1); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kNoCurrentRecord);
  rs.AddNew();
  EXPECT_EQ(ErrorOf([&] { rs.SetValue("sNoSuchField", 1); }).number(), err::kFieldNotFound);
  EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "x"); }).number(),
            err::kInvalidProcedureCall);
  rs.Close();
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }).number(), err::kObjectClosed);
  // Rows can only be added through a query over one table.
  for (const char* sql : {"SELECT f.sName, c.sName FROM Folder f, Clipping c", "SELECT 1 + 1"}) {
    EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW(sql); }).number(), err::kDatabaseError) << sql;
  }
}

}  // namespace
}  // namespace clipcat::testing
