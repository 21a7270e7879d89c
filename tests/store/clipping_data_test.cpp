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
  std::shared_ptr<Clipping> NewClipping(const std::string& name, const std::vector<Item>& items) {
    auto clipping = Clipping::Create();
    clipping->SetName(name);
    for (const Item& item : items) {
      auto data = ClippingData::Create();
      data->SetClippingDataType(item.type);
      data->SetRawData(item.content);
      clipping->ClippingData()->Add(data);
    }
    return clipping;
  }

  // Adds a clipping to the root folder and answers its key.
  std::string Add(const std::string& name, const std::vector<Item>& items) {
    return access_->AddClipping(NewClipping(name, items), "1")->ID();
  }

  // The items as another program writes them, straight into the table.
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

  Recordset StoredItems(const std::string& key) {
    return db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" +
                              SqlNumber(Variant(key)));
  }

  void ExpectItems(const std::string& id, const std::vector<Item>& expected) {
    const auto clipping = access_->GetClipping(id, true);
    ASSERT_NE(clipping, nullptr);
    const auto& items = *clipping->ClippingData();
    ASSERT_EQ(items.Count(), static_cast<int32_t>(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
      const auto& item = items.Item(static_cast<int32_t>(i + 1));
      EXPECT_EQ(item->ClippingDataType(), expected[i].type) << i;
      EXPECT_TRUE(item->RawData() == expected[i].content) << i;
    }
  }
};

TEST_F(ClippingDataTest, SeveralItemsRoundTripInOrderAndEmptyOnesAreDropped) {
  const std::vector<Item> written = {
      {1, "{\\rtf1\\ansi Dear Sir,\\par}"},
      {2, ""},
      {2, "Caf\xC3\xA9 \xE2\x82\xAC 5 \xF0\x9D\x84\x9E 'quoted' \"double\"\r\n"},
      {3, "<Workbook><Cell>1</Cell></Workbook>"},
      {4, ""},
      {5, std::string("nul\0inside", 10)},
      {2, "x"},
  };
  const auto clipping = NewClipping("Letter", written);
  const std::string id = access_->AddClipping(clipping, "1")->ID();
  // Every stored item is marked compressed, also on the caller's objects.
  for (const auto& item : *clipping->ClippingData()) {
    EXPECT_EQ(item->IsCompressed(), !item->RawData().empty());
  }

  std::vector<Item> kept;
  for (const Item& item : written) {
    if (!item.content.empty()) kept.push_back(item);
  }
  ExpectItems(id, kept);
  const auto read = access_->GetClipping(id, true);
  for (const auto& item : *read->ClippingData()) {
    EXPECT_TRUE(item->IsCompressed());
  }

  // Each row holds the frame itself, byte for byte: never a text encoding of it.
  Recordset rows = StoredItems(id);
  ASSERT_EQ(rows.RecordCount(), static_cast<int32_t>(kept.size()));
  Compression compression;
  size_t i = 0;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext(), ++i) {
    EXPECT_TRUE(rows.Value("bIsCompressed").ToBoolean());
    const std::string bytes = ReadBlobBytes(rows, "ClippingData");
    EXPECT_TRUE(Compression::LooksLikeFrame(bytes));
    EXPECT_EQ(bytes.size(), compression.Compress(kept[i].content).size());
    EXPECT_TRUE(compression.DecompressString(bytes) == kept[i].content);
  }
}

TEST_F(ClippingDataTest, ContentOfEverySizeAroundThePieceSizeRoundTrips) {
  std::vector<Item> items;
  for (size_t length :
       {size_t{1}, size_t{2}, kBlobChunkBytes - 1, kBlobChunkBytes, kBlobChunkBytes + 1,
        2 * kBlobChunkBytes, 2 * kBlobChunkBytes + 1, 3 * kBlobChunkBytes - 7}) {
    items.push_back({2, NoisyText(length, static_cast<uint32_t>(length))});
  }
  ExpectItems(Add("Sizes", items), items);
}

TEST_F(ClippingDataTest, FiveMegabytesRoundTripAndAreStoredSmaller) {
  const std::string content = NoisyText(5 * 1024 * 1024, 5);
  const std::string id = Add("Large", {{1, content}});
  const auto clipping = access_->GetClipping(id, true);
  ASSERT_EQ(clipping->ClippingData()->Count(), 1);
  EXPECT_TRUE(clipping->ClippingData()->Item(1)->RawData() == content);

  Recordset rows = StoredItems(id);
  rows.MoveFirst();
  const size_t stored = ReadBlobBytes(rows, "ClippingData").size();
  EXPECT_LT(stored, content.size());
  EXPECT_EQ(stored, Compression().Compress(content).size());
}

TEST_F(ClippingDataTest, UncompressedItemsOfOtherWritersAreAnsweredAsStored) {
  const std::string id = Add("Shared", {{1, "written here"}});
  const std::vector<std::string> texts = {"plain", "Caf\xC3\xA9 \xE2\x82\xAC",
                                          "clef \xF0\x9D\x84\x9E and more",
                                          std::string(kBlobChunkBytes + 3, 'w')};
  for (const std::string& text : texts) WriteRawItem(id, 2, false, Utf8ToUtf16LE(text));

  const auto clipping = access_->GetClipping(id, true);
  const auto& items = *clipping->ClippingData();
  ASSERT_EQ(items.Count(), 1 + static_cast<int32_t>(texts.size()));
  EXPECT_TRUE(items.Item(1)->IsCompressed());
  EXPECT_EQ(items.Item(1)->RawData(), "written here");
  for (size_t i = 0; i < texts.size(); ++i) {
    const auto& item = items.Item(static_cast<int32_t>(i + 2));
    EXPECT_FALSE(item->IsCompressed()) << i;
    EXPECT_EQ(item->ClippingDataType(), 2);
    EXPECT_TRUE(item->RawData() == texts[i]) << i;
  }
}

TEST_F(ClippingDataTest, NullContentReadsAsEmptyText) {
  const std::string id = Add("Nulls", {});
  WriteRawItem(id, 2, false, "");
  WriteRawItem(id, 3, true, "");
  const auto items = access_->GetClipping(id, true)->ClippingData();
  ASSERT_EQ(items->Count(), 2);
  EXPECT_EQ(items->Item(1)->RawData(), "");
  EXPECT_EQ(items->Item(2)->RawData(), "");
  EXPECT_TRUE(items->Item(2)->IsCompressed());
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
    const std::string& bytes = damaged[i];
    const std::string id = Add("Damaged " + std::to_string(i), {{2, "fine"}});
    WriteRawItem(id, 2, true, bytes);
    SCOPED_TRACE(::testing::Message() << "damage " << i);
    const AutomationError e = ErrorOf([&] { access_->GetClipping(id, true); });
    EXPECT_EQ(e.number(), err::kDataCorrupt);
    EXPECT_NE(e.description().find("clipping " + id + " "), std::string::npos) << e.description();
    // Without its data the clipping is still readable.
    EXPECT_NE(access_->GetClipping(id, false), nullptr);
  }

  // Through an external catalog the message names the id clients use.
  const std::string id = Add("External", {});
  WriteRawItem(id, 2, true, flipped);
  access_->SetExternalCatalogID(Variant(int32_t{7}));
  const AutomationError e = ErrorOf([&] { access_->GetClipping("P7C" + id, true); });
  EXPECT_NE(e.description().find("clipping P7C" + id + " "), std::string::npos) << e.description();
}

TEST_F(ClippingDataTest, UpdatesReplaceAllItemsOnlyWhenAsked) {
  const std::vector<Item> first = {{1, "one"}, {2, "two"}, {3, "three"}};
  const auto clipping = access_->AddClipping(NewClipping("Replace", first), "1");
  const std::string id = clipping->ID();
  const std::string other = Add("Neighbour", {{2, "untouched"}});

  // Without the flag the stored items stay, whatever the object holds now.
  clipping->ClippingData()->Clear();
  access_->UpdateClipping(clipping, false);
  ExpectItems(id, first);

  auto replacement = ClippingData::Create();
  replacement->SetClippingDataType(4);
  replacement->SetRawData("<doc/>");
  clipping->ClippingData()->Add(replacement);
  access_->UpdateClipping(clipping, true);
  ExpectItems(id, {{4, "<doc/>"}});

  // An empty collection removes every item; the clipping then reads an empty list, not nothing.
  clipping->ClippingData()->Clear();
  access_->UpdateClipping(clipping, true);
  const auto emptied = access_->GetClipping(id, true);
  ASSERT_NE(emptied->ClippingData(), nullptr);
  EXPECT_EQ(emptied->ClippingData()->Count(), 0);
  EXPECT_EQ(StoredItems(id).RecordCount(), 0);

  ExpectItems(other, {{2, "untouched"}});
}

TEST_F(ClippingDataTest, ItemsAreReadOnlyWhenAsked) {
  const std::string id = Add("Lazy", {{2, "content"}});
  EXPECT_EQ(access_->GetClipping(id, false)->ClippingData()->Count(), 0);
  EXPECT_EQ(access_->GetClipping(id, true)->ClippingData()->Count(), 1);
}

}  // namespace
}  // namespace clipcat::testing
