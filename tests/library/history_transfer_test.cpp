// Exports and imports with history: the versions of every clipping and the trash travel with
// their numbers, times and users, deleted items keep their names even where a live item has the
// same name, an import without history leaves them out, and a refused import leaves nothing.
#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/item_edits.h"
#include "library/trash_and_versions.h"
#include "library_fixture.h"
#include "util/date.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

class HistoryTransferTest : public LibraryTest {
 protected:
  // A clipping with three versions, a deleted clipping named like a live one, a folder deleted
  // with a clipping of its own and one deleted before it, and a category.
  void SetUp() override {
    LibraryTest::SetUp();
    source_ = NewCatalog("source.db", "Mine");
    Open(source_);
    const std::string letters = AddFolder("1", "Letters");
    letter_ = AddClipping(letters, "Letter", "first text");
    Rewrite(letter_, "Letter", "second text");
    Rewrite(letter_, "Letter (renamed)", "second text");
    Rewrite(letter_, "Letter (renamed)", "third\r\ntext");
    const std::string twin = AddClipping(letters, "Twin", "deleted twin");
    Tag(letter_, AddCategory("Work"));
    Delete(twin, false);
    AddClipping(letters, "Twin", "live twin");
    const std::string box = AddFolder("1", "Box");
    AddClipping(box, "Kept in box");
    Delete(AddClipping(box, "Deleted first"), false);
    Delete(box, true);
  }

  void Rewrite(const std::string& id, const std::string& name, const std::string& text) {
    const auto clipping = catalog_->read().GetClipping(id, catalog_->details(), true);
    clipping->SetName(name);
    clipping->ClippingData()->Item(1)->SetRawData(text);
    catalog_->write().UpdateClipping(clipping, catalog_->details(), true);
  }

  void Delete(const std::string& id, bool is_folder) {
    if (is_folder) {
      catalog_->write().DeleteFolder(id, catalog_->details(), false);
    } else {
      catalog_->write().DeleteClipping(id, catalog_->details(), false);
    }
  }

  std::string HistoryText() {
    std::ostringstream out;
    ExportCatalog(*catalog_, {}, true).Write(out);
    return out.str();
  }

  // "name path deleted-time by items-inside" of every trash entry, sorted (deletes within one
  // second have no order of their own).
  std::vector<std::string> Trash() {
    std::vector<std::string> lines;
    for (const TrashEntry& entry : ListTrash(*catalog_)) {
      lines.push_back(entry.name + " " + entry.path + " " +
                      (entry.deleted ? FormatIsoDate(*entry.deleted) : "?") + " " +
                      entry.deleted_by + " " + std::to_string(entry.items_inside));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  // "number time by name" of every version of the clipping named `name` in folder "Letters".
  std::vector<std::string> Versions(const std::string& name) {
    const auto letters = catalog_->read().GetFolderByName("Letters", "1", catalog_->details());
    const auto clipping =
        catalog_->read().GetClippingByName(name, letters->ID(), false, catalog_->details());
    std::vector<std::string> lines;
    for (const ClippingVersion& version : ListVersions(*catalog_, clipping->ID())) {
      const auto state = ClippingAtVersion(*catalog_, clipping->ID(), version.version);
      lines.push_back(std::to_string(version.version) + " " + FormatIsoDate(version.saved) + " " +
                      version.saved_by + " " + version.name + " " +
                      state->ClippingData()->Item(1)->RawData());
    }
    return lines;
  }

  std::string source_;
  std::string letter_;
};

TEST_F(HistoryTransferTest, VersionsAndTheTrashComeBackAsTheyWere) {
  const std::string before = HistoryText();
  const std::vector<std::string> trash = Trash();
  const std::vector<std::string> versions = Versions("Letter (renamed)");
  ASSERT_EQ(versions.size(), 3u);
  ASSERT_EQ(trash.size(), 3u);  // the twin, the box and "Deleted first", deleted on its own
  const CatalogDocument document = ExportCatalog(*catalog_, {}, true);
  EXPECT_EQ(document.counts().versions, 3u);
  EXPECT_EQ(document.counts().deleted, 3u);

  const ImportResult result = ImportDocument(Open(NewCatalog("copy.db", "Placeholder")), document,
                                             "", {}, {.with_history = true});
  EXPECT_EQ(result.counts.versions, 3u);
  EXPECT_EQ(result.counts.deleted, 3u);
  EXPECT_EQ(WithoutIds(HistoryText()), WithoutIds(before));
  EXPECT_EQ(Trash(), trash);
  EXPECT_EQ(Versions("Letter (renamed)"), versions);

  // The trash works on what came in: the box comes back without what was deleted before it.
  std::string box_id;
  for (const TrashEntry& entry : ListTrash(*catalog_)) {
    if (entry.name == "Box") box_id = entry.id;
  }
  ASSERT_FALSE(box_id.empty());
  RestoreFromTrash(*catalog_, box_id, false);
  const auto box = catalog_->read().GetFolderByName("Box", "1", catalog_->details());
  ASSERT_TRUE(box);
  const auto inside = catalog_->read().GetClippingsFromFolder(box->ID(), catalog_->details());
  ASSERT_EQ(inside->Items()->Count(), 1);
  EXPECT_EQ(inside->Items()->Item(1)->Name(), "Kept in box");
  // The twin's name is taken by the live one.
  std::string twin_id;
  for (const TrashEntry& entry : ListTrash(*catalog_)) {
    if (entry.name == "Twin") twin_id = entry.id;
  }
  EXPECT_EQ(RaisedNumber([&] { RestoreFromTrash(*catalog_, twin_id, false); }),
            err::kClippingNameNotUnique);
  EXPECT_EQ(RestoreFromTrash(*catalog_, twin_id, true), "Twin (restored)");
}

TEST_F(HistoryTransferTest, WithoutHistoryTheTrashAndVersionsStayOut) {
  const std::string plain = ExportText();
  EXPECT_EQ(plain.find("deleted"), std::string::npos);
  EXPECT_EQ(plain.find("<version"), std::string::npos);
  const CatalogDocument document = ExportCatalog(*catalog_, {}, true);

  Open(NewCatalog("plain.db", "Placeholder"));
  const ImportResult result = ImportDocument(*catalog_, document);
  EXPECT_EQ(result.counts.versions + result.counts.deleted, 0u);
  EXPECT_EQ(WithoutIds(ExportText()), WithoutIds(plain));
  EXPECT_TRUE(Trash().empty());
  EXPECT_TRUE(Versions("Letter (renamed)").empty());
}

TEST_F(HistoryTransferTest, ADiffComparesTheNewestOrTheGivenVersionsAndDurationsReadAsDays) {
  const auto lines = [](const std::vector<DiffLine>& diff) {
    std::string out;
    for (const DiffLine& line : diff) {
      out += (line.kind == DiffLine::Kind::kKept      ? " "
              : line.kind == DiffLine::Kind::kRemoved ? "-"
                                                      : "+") +
             line.text + "\n";
    }
    return out;
  };
  EXPECT_EQ(lines(DiffVersions(*catalog_, letter_, std::nullopt, std::nullopt)),
            "-second text\n+third\n+text\n");
  EXPECT_EQ(lines(DiffVersions(*catalog_, letter_, 1, 2)), "-first text\n+second text\n");
  const std::string fresh = AddClipping("1", "Fresh");
  const AutomationError none = ErrorOf([&] { DiffVersions(*catalog_, fresh, std::nullopt, {}); });
  EXPECT_EQ(none.number(), err::kInvalidProcedureCall);
  EXPECT_EQ(none.description(), "clipping " + fresh + " has no versions yet");

  for (const auto& [text, days] : std::vector<std::pair<std::string, int32_t>>{
           {"45", 45}, {"30d", 30}, {"2w", 14}, {"49h", 2}, {"23h", 0}, {"999999d", 999999}}) {
    EXPECT_EQ(ParseDays(text), days) << text;
  }
  for (const std::string text : {"", "d", "1234567", "5x", "3dd", "-1", "2 w"}) {
    const AutomationError error = ErrorOf([&] { ParseDays(text); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << text;
    EXPECT_EQ(error.description(),
              "a duration is a number with d (days), w (weeks) or h (hours), such as 30d: \"" +
                  text + "\"");
  }
}

TEST_F(HistoryTransferTest, ARefusedImportWithHistoryLeavesNothing) {
  const CatalogDocument document = ExportCatalog(*catalog_, {}, true);
  Open(NewCatalog("target.db", "Other"));
  const std::string into = AddFolder("1", "Into");
  AddFolder(into, "Box");  // the document's deleted box may share it; its "Letters" may not
  AddFolder(into, "Letters");
  const std::string before = HistoryText();
  EXPECT_EQ(
      RaisedNumber([&] { ImportDocument(*catalog_, document, into, {}, {.with_history = true}); }),
      err::kFolderNameNotUnique);
  EXPECT_EQ(HistoryText(), before);
  EXPECT_TRUE(Trash().empty());

  // Marks and versions that are not right are refused when the document is read.
  const std::string head = "<clipcat-catalog version=\"1\"><folder name=\"T\">";
  const std::string tail = "</folder></clipcat-catalog>";
  for (const std::string& wrong : {
           std::string("<clipping id=\"1\" name=\"A\" deleted=\"yes\"/>"),
           std::string("<clipping id=\"1\" name=\"A\" deleted=\"1\" deleted-at=\"today\"/>"),
           std::string("<clipping id=\"1\" name=\"A\"><version number=\"0\" saved=\"2025-01-01 "
                       "00:00:00\" name=\"A\"/></clipping>"),
           std::string("<clipping id=\"1\" name=\"A\"><version number=\"1\" saved=\"now\" "
                       "name=\"A\"/></clipping>"),
           std::string("<clipping id=\"1\" name=\"A\"><version number=\"2\" saved=\"2025-01-01\" "
                       "name=\"A\"/><version number=\"2\" saved=\"2025-01-02\" "
                       "name=\"B\"/></clipping>"),
           std::string("<clipping id=\"1\" name=\"A\"><version number=\"2\" saved=\"2025-01-01\" "
                       "/></clipping>"),
       }) {
    EXPECT_EQ(RaisedNumber([&] { CatalogDocument::Parse(head + wrong + tail); }),
              err::kInvalidProcedureCall)
        << wrong;
  }
}

}  // namespace
}  // namespace clipcat::library_test
