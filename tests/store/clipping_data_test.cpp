// The content items of clippings as the store writes and reads them: compressed frames stored as
// bytes, uncompressed UTF-16LE items of other writers, damaged frames.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "catalog_fixture.h"
#include "store/blob_field.h"
#include "store/data_access.h"
#include "util/compression.h"
#include "util/errors.h"
#include "util/utf16.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

struct Item {
  int32_t type;
  std::string content;
};

// Letters, digits, blanks and line breaks in an order no compressor can shorten much.
std::string NoisyText(size_t length, uint32_t seed) {
  static const std::string alphabet =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 \r\n{}\\";
  std::mt19937 random(seed);
  std::string text(length, ' ');
  for (char& c : text) c = alphabet[random() % alphabet.size()];
  return text;
}

class ClippingDataTest : public CatalogTest {
 protected:
  std::shared_ptr<Clipping> Add(const std::string& name, const std::vector<Item>& items) {
    auto clipping = Clipping::Create();
    clipping->SetName(name);
    for (const Item& item : items) {
      auto data = ClippingData::Create();
      data->SetClippingDataType(item.type);
      data->SetRawData(item.content);
      clipping->ClippingData()->Add(data);
    }
    return access_->AddClipping(clipping, "1");
  }

  // An item as another program writes it, straight into the table.
  void WriteRawItem(const std::string& key, int32_t type, bool compressed,
                    const std::string& bytes) {
    UpdatableRecordset rs =
        db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE lClippingID=NULL");
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(Variant(key).ToLong()));
    rs.SetValue("lDataTypeId", Variant(type));
    rs.SetValue("bIsCompressed", Variant(compressed));
    WriteBlobBytes(bytes, rs, "ClippingData");
    rs.Update();
    rs.Close();
  }

  void ExpectItems(const std::string& id, const std::vector<Item>& expected) {
    const auto items = access_->GetClipping(id, true)->ClippingData();
    ASSERT_NE(items, nullptr);
    ASSERT_EQ(items->Count(), static_cast<int32_t>(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
      const auto& item = items->Item(static_cast<int32_t>(i + 1));
      EXPECT_EQ(item->ClippingDataType(), expected[i].type) << i;
      EXPECT_TRUE(item->RawData() == expected[i].content) << i;
    }
  }
};

TEST_F(ClippingDataTest, ItemsRoundTripInOrderAsCompressedFramesAndEmptyOnesAreDropped) {
  std::vector<Item> written = {
      {1, "{\\rtf1\\ansi Dear Sir,\\par}"},
      {2, ""},
      {2, "Caf\xC3\xA9 \xE2\x82\xAC 5 \xF0\x9D\x84\x9E 'quoted' \"double\"\r\n"},
      {5, std::string("nul\0inside", 10)},
  };
  for (size_t length : {kBlobChunkBytes - 1, kBlobChunkBytes, kBlobChunkBytes + 1,
                        2 * kBlobChunkBytes + 1, 3 * kBlobChunkBytes - 7}) {
    written.push_back({2, NoisyText(length, static_cast<uint32_t>(length))});
  }
  const auto clipping = Add("Letter", written);
  // Every stored item is marked compressed, also on the caller's objects.
  for (const auto& item : *clipping->ClippingData()) {
    EXPECT_EQ(item->IsCompressed(), !item->RawData().empty());
  }
  std::vector<Item> kept;
  for (const Item& item : written) {
    if (!item.content.empty()) kept.push_back(item);
  }
  ExpectItems(clipping->ID(), kept);
  const auto read = access_->GetClipping(clipping->ID(), true);
  for (const auto& item : *read->ClippingData()) {
    EXPECT_TRUE(item->IsCompressed());
  }
  // Each row holds the frame itself, byte for byte: never a text encoding of it.
  Recordset rows =
      db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" + clipping->ID());
  ASSERT_EQ(rows.RecordCount(), static_cast<int32_t>(kept.size()));
  Compression compression;
  for (size_t i = 0; !rows.Eof(); rows.MoveNext(), ++i) {
    EXPECT_TRUE(rows.Value("bIsCompressed").ToBoolean());
    const std::string bytes = ReadBlobBytes(rows, "ClippingData");
    EXPECT_EQ(bytes.size(), compression.Compress(kept[i].content).size());
    EXPECT_TRUE(compression.DecompressString(bytes) == kept[i].content);
  }
}

TEST_F(ClippingDataTest, UncompressedAndEmptyItemsOfOtherWritersAreAnsweredAsStored) {
  const std::string id = Add("Shared", {{1, "written here"}})->ID();
  const std::vector<std::string> texts = {"Caf\xC3\xA9 \xE2\x82\xAC",
                                          "clef \xF0\x9D\x84\x9E and more",
                                          std::string(kBlobChunkBytes + 3, 'w'), ""};
  for (const std::string& text : texts) WriteRawItem(id, 2, false, Utf8ToUtf16LE(text));
  WriteRawItem(id, 3, true, "");  // Null content, marked compressed
  const auto items = access_->GetClipping(id, true)->ClippingData();
  ASSERT_EQ(items->Count(), 2 + static_cast<int32_t>(texts.size()));
  EXPECT_EQ(items->Item(1)->RawData(), "written here");
  for (size_t i = 0; i < texts.size(); ++i) {
    const auto& item = items->Item(static_cast<int32_t>(i + 2));
    EXPECT_FALSE(item->IsCompressed()) << i;
    EXPECT_TRUE(item->RawData() == texts[i]) << i;
  }
  EXPECT_EQ(items->Item(items->Count())->RawData(), "");
  EXPECT_TRUE(items->Item(items->Count())->IsCompressed());
}

TEST_F(ClippingDataTest, DamagedFramesRaiseNamingTheClipping) {
  const std::string good = Compression().Compress(NoisyText(3000, 9));
  std::string flipped = good;
  flipped[good.size() / 2] = static_cast<char>(flipped[good.size() / 2] ^ 0x20);
  std::string bad_codec = good;
  bad_codec[4] = 9;
  std::string bad_magic = good;
  bad_magic[0] = 'X';
  const std::vector<std::string> damaged = {flipped,
                                            good.substr(0, good.size() - 1),
                                            good.substr(0, 5),
                                            good.substr(0, 4),
                                            bad_codec,
                                            bad_magic,
                                            Utf8ToUtf16LE("text that was never compressed")};
  for (size_t i = 0; i < damaged.size(); ++i) {
    SCOPED_TRACE(::testing::Message() << "damage " << i);
    const std::string id = Add("Damaged " + std::to_string(i), {{2, "fine"}})->ID();
    WriteRawItem(id, 2, true, damaged[i]);
    const AutomationError e = ErrorOf([&] { access_->GetClipping(id, true); });
    EXPECT_EQ(e.number(), err::kDataCorrupt);
    EXPECT_NE(e.description().find("clipping " + id + " "), std::string::npos) << e.description();
    EXPECT_NE(access_->GetClipping(id, false), nullptr);  // readable without its data
  }
  // Through an external catalog the message names the id clients use.
  const std::string id = Add("External", {})->ID();
  WriteRawItem(id, 2, true, flipped);
  access_->SetExternalCatalogID(Variant(int32_t{7}));
  const AutomationError e = ErrorOf([&] { access_->GetClipping("P7C" + id, true); });
  EXPECT_NE(e.description().find("clipping P7C" + id + " "), std::string::npos) << e.description();
}

TEST_F(ClippingDataTest, UpdatesReplaceAllItemsOnlyWhenAsked) {
  const std::vector<Item> first = {{1, "one"}, {2, "two"}, {3, "three"}};
  const auto clipping = Add("Replace", first);
  const std::string id = clipping->ID();
  const std::string other = Add("Neighbour", {{2, "untouched"}})->ID();
  clipping->ClippingData()->Clear();
  access_->UpdateClipping(clipping, false);  // without the flag the stored items stay
  ExpectItems(id, first);
  auto replacement = ClippingData::Create();
  replacement->SetClippingDataType(4);
  replacement->SetRawData("<doc/>");
  clipping->ClippingData()->Add(replacement);
  access_->UpdateClipping(clipping, true);
  ExpectItems(id, {{4, "<doc/>"}});
  // An empty collection removes every item; the clipping then reads an empty list.
  clipping->ClippingData()->Clear();
  access_->UpdateClipping(clipping, true);
  ExpectItems(id, {});
  EXPECT_EQ(Count("ClippingDataType WHERE lClippingID=" + id), 0);
  ExpectItems(other, {{2, "untouched"}});
}

}  // namespace
}  // namespace clipcat::testing
