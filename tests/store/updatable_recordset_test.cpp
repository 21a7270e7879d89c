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

constexpr const char* kEmptyDataRows = "SELECT * FROM ClippingDataType WHERE lClippingID=NULL";

// Text of `chars` characters mixing one-, two- and three-byte UTF-8 and surrogate pairs, so that
// pieces of 4096 bytes split it at every kind of place.
std::string MixedText(size_t chars) {
  static const std::vector<std::string> kPieces = {
      "a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "Z", "\n"};
  std::string text;
  for (size_t i = 0; i < chars; ++i) text += kPieces[i % kPieces.size()];
  return text;
}

class UpdatableRecordsetTest : public ::testing::Test {
 protected:
  void SetUp() override { db_.OpenConnection(catalog_.connection_string(), "", ""); }

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

TEST_F(UpdatableRecordsetTest, TextRoundTripsAtEveryPieceBoundary) {
  // 2048 characters of two UTF-16 bytes fill one piece exactly.
  const std::vector<size_t> lengths = {1, 2, 2047, 2048, 2049, 4095, 4096, 4097, 6144, 50001};
  UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
  EXPECT_TRUE(rs.Rows().Eof());
  for (size_t i = 0; i < lengths.size(); ++i) {
    AddItem(rs, static_cast<int32_t>(i + 1), 2);
    WriteBlobField(MixedText(lengths[i]), rs, "ClippingData");
    rs.Update();
  }
  rs.Close();
  for (size_t i = 0; i < lengths.size(); ++i) {
    Recordset items = ItemsOf(static_cast<int32_t>(i + 1));
    ASSERT_EQ(items.RecordCount(), 1) << lengths[i];
    EXPECT_EQ(ReadBlobField(items, "clippingdata"), MixedText(lengths[i])) << lengths[i];
    EXPECT_EQ(items.Value("bIsCompressed"), Variant(true));
    EXPECT_EQ(items.Value("lDataTypeId"), Variant(int32_t{2}));
  }
}

TEST_F(UpdatableRecordsetTest, FieldHoldsUtf16LittleEndianBytes) {
  UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
  AddItem(rs, 1, 1);
  WriteBlobField("A\xC3\xA9\xF0\x9F\x98\x80", rs, "ClippingData");  // A, e-acute, U+1F600
  rs.Update();
  Recordset items = ItemsOf(1);
  EXPECT_EQ(ReadBlobBytes(items, "ClippingData"), std::string("A\0\xE9\0\x3D\xD8\x00\xDE", 8));
}

TEST_F(UpdatableRecordsetTest, RawBytesRoundTripAndEmptyValuesAreNull) {
  std::string frame;
  for (int i = 0; i < 9000; ++i) frame += static_cast<char>(i * 7 % 256);
  UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
  AddItem(rs, 1, 1);
  WriteBlobBytes(frame, rs, "ClippingData");
  rs.Update();
  AddItem(rs, 1, 2);
  WriteBlobField("", rs, "ClippingData");
  rs.Update();
  AddItem(rs, 1, 3);
  WriteBlobBytes("", rs, "ClippingData");
  rs.Update();
  Recordset items = ItemsOf(1);
  ASSERT_EQ(items.RecordCount(), 3);
  EXPECT_EQ(ReadBlobBytes(items, "ClippingData"), frame);
  for (int i = 0; i < 2; ++i) {
    items.MoveNext();
    EXPECT_TRUE(items.IsNull("ClippingData"));
    EXPECT_EQ(ReadBlobField(items, "ClippingData"), "");
    EXPECT_EQ(ReadBlobBytes(items, "ClippingData"), "");
  }
}

TEST_F(UpdatableRecordsetTest, RowsNotUpdatedLeaveNothingBehind) {
  {
    UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
    AddItem(rs, 1, 1);
    WriteBlobField("cancelled", rs, "ClippingData");
    rs.CancelUpdate();

    AddItem(rs, 2, 1);
    rs.BeginLongValue("ClippingData", 10);
    rs.AppendChunk("ClippingData", "12345");
    EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kInvalidProcedureCall);  // 5 bytes short

    AddItem(rs, 3, 1);
    rs.BeginLongValue("ClippingData", 4);
    EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "12345"); }).number(),
              err::kInvalidProcedureCall);
    rs.AddNew();  // drops row 3

    AddItem(rs, 4, 1);
    WriteBlobField("never updated", rs, "ClippingData");
  }  // the recordset goes with row 4 pending
  EXPECT_EQ(db_.GetRecordsetRO("SELECT * FROM ClippingDataType").RecordCount(), 0);
}

TEST_F(UpdatableRecordsetTest, AddedRowsFollowTheCallersTransaction) {
  for (bool commit : {false, true}) {
    db_.BeginTrans();
    UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
    AddItem(rs, 7, 1);
    WriteBlobField("in a transaction", rs, "ClippingData");
    rs.Update();
    AddItem(rs, 7, 2);
    rs.Update();  // a row without a long value
    rs.Close();
    if (commit) {
      db_.CommitTrans();
    } else {
      db_.RollbackTrans();
    }
    EXPECT_EQ(ItemsOf(7).RecordCount(), commit ? 2 : 0);
  }
}

TEST_F(UpdatableRecordsetTest, ValuesSetAfterTheLongValueAreKept) {
  UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
  rs.AddNew();
  WriteBlobField("first the data", rs, "ClippingData");
  rs.SetValue("lClippingID", 9);
  rs.SetValue("lDataTypeId", 4);
  rs.Update();
  Recordset items = ItemsOf(9);
  ASSERT_EQ(items.RecordCount(), 1);
  EXPECT_EQ(items.Value("lDataTypeId"), Variant(int32_t{4}));
  EXPECT_EQ(ReadBlobField(items, "ClippingData"), "first the data");
}

TEST_F(UpdatableRecordsetTest, MisuseRaisesTheRecordsetErrors) {
  UpdatableRecordset rs = db_.GetRecordsetRW(kEmptyDataRows);
  EXPECT_EQ(ErrorOf([&] { rs.SetValue("lClippingID", 1); }).number(), err::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }).number(), err::kNoCurrentRecord);
  rs.AddNew();
  EXPECT_EQ(ErrorOf([&] { rs.SetValue("sNoSuchField", 1); }).number(), err::kFieldNotFound);
  EXPECT_EQ(ErrorOf([&] { rs.AppendChunk("ClippingData", "x"); }).number(),
            err::kInvalidProcedureCall);
  rs.Close();
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }).number(), err::kObjectClosed);
  // Rows can only be added through a query over one table.
  EXPECT_EQ(ErrorOf([&] {
              db_.GetRecordsetRW("SELECT f.sName, c.sName FROM Folder f, Clipping c");
            }).number(),
            err::kDatabaseError);
  EXPECT_EQ(ErrorOf([&] { db_.GetRecordsetRW("SELECT 1 + 1"); }).number(), err::kDatabaseError);
}

TEST_F(UpdatableRecordsetTest, SelectedRowsAreReadable) {
  db_.ExecuteSQL("INSERT INTO ClippingDataType (lClippingID, lDataTypeId) VALUES (5, 1)");
  UpdatableRecordset rs = db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=5");
  ASSERT_EQ(rs.Rows().RecordCount(), 1);
  EXPECT_EQ(rs.Rows().Value("lDataTypeId"), Variant(int32_t{1}));
}

}  // namespace
}  // namespace clipcat::testing
