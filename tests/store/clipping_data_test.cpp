// The content items of clippings as the store writes and reads them: compressed frames stored as
// bytes, uncompressed UTF-16LE items of other writers, damaged frames.
#include <random>

#include "catalog_fixture.h"
#include "engine/blob_field.h"
#include "util/compression.h"
#include "util/utf16.h"

namespace clipcat::testing {
namespace {

// Type and content of each item, in order.
using Items = std::vector<std::pair<int32_t, std::string>>;

// Letters, digits, blanks and line breaks in an order no compressor can shorten much.
std::string NoisyText(size_t length) {
  static const std::string alphabet =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ012 \n\\";
  std::mt19937 random(static_cast<uint32_t>(length));
  std::string text(length, ' ');
  for (char& c : text) c = alphabet[random() % alphabet.size()];
  return text;
}

class ClippingDataTest : public CatalogTest {
 protected:
  std::shared_ptr<Clipping> Add(const Items& items) {
    auto clipping = Clipping::Create();
    clipping->SetName("C" + std::to_string(++added_));
    for (const auto& [type, content] : items) {
      auto data = ClippingData::Create();
      data->SetClippingDataType(type);
      data->SetRawData(content);
      clipping->ClippingData()->Add(data);
    }
    return access_->AddClipping(clipping, "1");
  }

  // An item as another program writes it, straight into the table.
  void WriteRawItem(const std::string& key, bool compressed, const std::string& bytes) {
    UpdatableRecordset rs = db_.GetRecordsetRW("SELECT * FROM ClippingDataType WHERE 1=0");
    rs.AddNew();
    rs.SetValue("lClippingID", Variant(Variant(key).ToLong()));
    rs.SetValue("lDataTypeId", Variant(2));
    rs.SetValue("bIsCompressed", Variant(compressed));
    WriteBlobBytes(bytes, rs, "ClippingData");
    rs.Update();
  }

  // The items of clipping `id` as the store reads them; `compressed` gets their marks.
  Items Read(const std::string& id, std::string* compressed = nullptr) {
    Items items;
    const auto clipping = access_->GetClipping(id, true);
    for (const auto& item : *clipping->ClippingData()) {
      items.emplace_back(item->ClippingDataType(), item->RawData());
      if (compressed != nullptr) *compressed += item->IsCompressed() ? "y" : "n";
    }
    return items;
  }

  int added_ = 0;
};

TEST_F(ClippingDataTest, ItemsRoundTripInOrderAsCompressedFramesAndEmptyOnesAreDropped) {
  Items written = {{1, "{\\rtf1\\ansi Dear Sir,\\par}"},
                   {2, ""},
                   {2, "Caf\xC3\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E 'quoted' \"double\"\r\n"},
                   {5, std::string("nul\0inside", 10)}};
  for (size_t length : {kBlobChunkBytes - 1, kBlobChunkBytes, kBlobChunkBytes + 1,
                        2 * kBlobChunkBytes + 1, 3 * kBlobChunkBytes - 7}) {
    written.emplace_back(2, NoisyText(length));
  }
  const auto clipping = Add(written);
  std::string marks;  // every stored item is marked compressed, also on the caller's objects
  for (const auto& item : *clipping->ClippingData()) marks += item->IsCompressed() ? "y" : "n";
  EXPECT_EQ(marks, "ynyyyyyyy");
  written.erase(written.begin() + 1);
  marks.clear();
  EXPECT_TRUE(Read(clipping->ID(), &marks) == written);
  EXPECT_EQ(marks, "yyyyyyyy");
  // Each row holds the frame itself, byte for byte: never a text encoding of it.
  Recordset rows =
      db_.GetRecordsetRO("SELECT * FROM ClippingDataType WHERE lClippingID=" + clipping->ID());
  ASSERT_EQ(rows.RecordCount(), static_cast<int32_t>(written.size()));
  Compression compression;
  for (size_t i = 0; !rows.Eof(); rows.MoveNext(), ++i) {
    EXPECT_TRUE(rows.Value("bIsCompressed").ToBoolean());
    const std::string bytes = ReadBlobBytes(rows, "ClippingData");
    EXPECT_EQ(bytes.size(), compression.Compress(written[i].second).size());
    EXPECT_TRUE(compression.DecompressString(bytes) == written[i].second);
  }
}

TEST_F(ClippingDataTest, UncompressedAndEmptyItemsOfOtherWritersAreAnsweredAsStored) {
  const std::string id = Add({{1, "written here"}})->ID();
  const std::vector<std::string> texts = {"Caf\xC3\xA9 \xE2\x82\xAC", "clef \xF0\x9D\x84\x9E",
                                          std::string(kBlobChunkBytes + 3, 'w'), ""};
  Items expected = {{1, "written here"}};
  for (const std::string& text : texts) {
    WriteRawItem(id, false, Utf8ToUtf16LE(text));
    expected.emplace_back(2, text);
  }
  WriteRawItem(id, true, "");  // Null content, marked compressed
  expected.emplace_back(2, "");
  std::string marks;
  EXPECT_TRUE(Read(id, &marks) == expected);
  EXPECT_EQ(marks, "ynnnny");
}

TEST_F(ClippingDataTest, DamagedFramesRaiseNamingTheClipping) {
  const std::string good = Compression().Compress(NoisyText(3000));
  std::string flipped = good, bad_codec = good, bad_magic = good;
  flipped[good.size() / 2] = static_cast<char>(flipped[good.size() / 2] ^ 0x20);
  bad_codec[4] = 9;
  bad_magic[0] = 'X';
  for (const std::string& damaged :
       {flipped, good.substr(0, good.size() - 1), good.substr(0, 5), good.substr(0, 4), bad_codec,
        bad_magic, Utf8ToUtf16LE("text that was never compressed")}) {
    const std::string id = Add({{2, "fine"}})->ID();
    WriteRawItem(id, true, damaged);
    const AutomationError e = ErrorOf([&] { access_->GetClipping(id, true); });
    EXPECT_EQ(e.number(), err::kCatalogDamaged) << id;
    EXPECT_EQ(e.description().rfind("catalog damaged: ", 0), 0u) << e.description();
    EXPECT_NE(e.description().find("clipping " + id + " "), std::string::npos) << e.description();
    EXPECT_NE(access_->GetClipping(id, false), nullptr);  // readable without its data
  }
}

TEST_F(ClippingDataTest, UpdatesReplaceAllItemsWhenAsked) {
  const auto clipping = Add({{1, "one"}, {2, "two"}});
  const std::string other = Add({{2, "untouched"}})->ID();
  clipping->ClippingData()->Remove(1);
  clipping->ClippingData()->Add(NewClipping("", "<doc/>", "", 4)->ClippingData()->Item(1));
  access_->UpdateClipping(clipping, true);
  EXPECT_TRUE(Read(clipping->ID()) == (Items{{2, "two"}, {4, "<doc/>"}}));
  clipping->ClippingData()->Clear();  // an empty collection removes every item
  access_->UpdateClipping(clipping, true);
  EXPECT_TRUE(Read(clipping->ID()).empty() && Read(other) == (Items{{2, "untouched"}}));
}

}  // namespace
}  // namespace clipcat::testing
