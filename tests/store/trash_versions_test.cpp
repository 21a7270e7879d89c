// The trash and clipping versions on both engines: what a delete notes and a restore gives back
// (exactly what that delete took, under a free name when asked), what emptying the trash leaves
// behind (nothing of the items it removes), which updates keep a version and what a version
// reproduces, the limit on versions, concurrent writers on a server, and catalogs upgraded from
// the format before the trash.
#include <gtest/gtest.h>

#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "catalog_fixture.h"
#include "engine/db_connection.h"
#include "engine_catalog.h"
#include "store/content_query.h"
#include "store/data_access.h"
#include "store/schema_description.h"
#include "util/date.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/values.h"

namespace clipcat::testing {
namespace {

using Items = std::vector<std::pair<int32_t, std::string>>;  // type, bytes

std::shared_ptr<ClippingDataCollection> MakeItems(const Items& items) {
  auto list = std::make_shared<ClippingDataCollection>();
  for (const auto& [type, bytes] : items) {
    auto item = ClippingData::Create();
    item->SetClippingDataType(type);
    item->SetRawData(bytes);
    list->Add(item);
  }
  return list;
}

// "name|description|type:bytes|..." of a clipping's state.
std::string Snapshot(const std::string& name, const std::string& description, const Items& items) {
  std::string text = name + "|" + description;
  for (const auto& [type, bytes] : items) text += "|" + std::to_string(type) + ":" + bytes;
  return text;
}

std::string Snapshot(const std::shared_ptr<Clipping>& clipping) {
  if (clipping == nullptr) return "none";
  Items items;
  for (const auto& item : *clipping->ClippingData()) {
    items.emplace_back(item->ClippingDataType(), item->RawData());
  }
  return Snapshot(clipping->Name(), clipping->Description(), items);
}

// "id kind name folder path items-inside" of a trash entry.
std::string Describe(const TrashEntry& entry) {
  return entry.id + (entry.is_folder ? " folder " : " clipping ") + entry.name + " " +
         entry.folder_id + " " + entry.path + " " + std::to_string(entry.items_inside);
}

const std::string kRtf = std::string("{\\rtf1\\ansi \\b Dear\\b0  Sir\\par}\0\x01\xfe\xff", 35);

class TrashVersionsTest : public EngineAccessTest {
 protected:
  std::string Add(const std::string& name, const std::string& folder,
                  const std::string& description = "") {
    return access_->AddClipping(NewClipping(name, "text of " + name, description), folder)->ID();
  }

  // Writes a name and description, and the items when there are any.
  void Edit(const std::string& id, const std::string& name, const std::string& description,
            const std::optional<Items>& items = std::nullopt) {
    const auto clipping = access_->GetClipping(id, false);
    clipping->SetName(name);
    clipping->SetDescription(description);
    if (items) clipping->SetClippingData(MakeItems(*items));
    access_->UpdateClipping(clipping, items.has_value());
  }

  // The statuses of clippings, or of folders, as "0 4 ...".
  std::string Statuses(const std::vector<std::string>& ids, bool folders = false) {
    std::string text;
    for (const std::string& id : ids) {
      text += (text.empty() ? "" : " ") +
              std::to_string(folders ? access_->GetFolder(id)->Status()
                                     : access_->GetClipping(id, false)->ClippingStatus());
    }
    return text;
  }

  bool IsLeaf(const std::string& folder) {
    return ToBooleanOr(
        db_.GetRecordsetRO("SELECT bIsLeaf FROM Folder WHERE lFolderID=" + folder).Value("bIsLeaf"),
        true);
  }

  int32_t Count(const std::string& from_where) {
    return db_.GetRecordsetRO("SELECT COUNT(*) AS n FROM " + from_where).Value("n").ToLong();
  }

  std::set<std::string> TrashIds() {
    std::set<std::string> ids;
    for (const TrashEntry& entry : access_->GetTrash()) ids.insert(entry.id);
    return ids;
  }

  std::vector<int32_t> VersionNumbers(const std::string& id) {
    std::vector<int32_t> numbers;
    for (const ClippingVersion& version : access_->GetClippingVersions(id)) {
      numbers.push_back(version.version);
    }
    return numbers;
  }
};

INSTANTIATE_TEST_SUITE_P(BothEngines, TrashVersionsTest, ::testing::Bool(), EngineName);

TEST_P(TrashVersionsTest, ARestoredClippingComesBackAsItWasWithItsCategories) {
  const std::string folder = AddFolder("Letters", root_);
  auto clipping = Clipping::Create();
  clipping->SetXML("<clipping Status=\"2\"><clippingdata/></clipping>");
  clipping->SetName("Reply");
  clipping->SetDescription("O'Brien's answer");
  clipping->SetClippingData(MakeItems({{2, "Dear Sir,\r\nthank you."}, {1, kRtf}}));
  const std::string id = access_->AddClipping(clipping, folder)->ID();
  std::vector<std::string> categories;
  for (const char* name : {"Work", "Home", "Gone"}) {
    auto category = Category::Create();
    category->SetName(name);
    categories.push_back(access_->AddCategory(category, "")->ID());
    access_->AddClippingToCategory(id, categories.back());
  }
  access_->UpdateClippingHistory(clipping);
  const std::string before = Snapshot(access_->GetClipping(id, true));
  const Date start(Date::Now().serial() - 2.0 / 86400);

  access_->DeleteClipping(id, false);
  EXPECT_EQ(Statuses({id}), "4");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping(id), "");
  EXPECT_TRUE(access_->SearchContent(ParseContentQuery("answer"), "", "", 0, 10).empty());
  access_->DeleteCategory(categories[2]);  // a category that is gone meanwhile stays gone
  const std::vector<TrashEntry> trash = access_->GetTrash();
  ASSERT_EQ(trash.size(), 1u);
  EXPECT_EQ(Describe(trash[0]), id + " clipping Reply " + folder + " Personal\\Letters 0");
  ASSERT_TRUE(trash[0].deleted.has_value());
  EXPECT_GE(trash[0].deleted->serial(), start.serial());
  EXPECT_LE(trash[0].deleted->serial(), Date::Now().serial() + 2.0 / 86400);
  EXPECT_FALSE(trash[0].deleted_by.empty());

  EXPECT_EQ(access_->RestoreItem(id, false), "Reply");
  EXPECT_EQ(Snapshot(access_->GetClipping(id, true)), before);
  EXPECT_EQ(Statuses({id}), "2");
  EXPECT_EQ(access_->GetCategoriesNamesForClipping(id), "Home, Work");
  EXPECT_EQ(Count("ClippingGroupClipping WHERE lClippingId=" + id), 2);
  EXPECT_EQ(Count("AccessHistory WHERE sClippingId='" + id + "'"), 1);
  EXPECT_EQ(access_->SearchContent(ParseContentQuery("answer"), "", "", 0, 10).size(), 1u);
  EXPECT_TRUE(access_->GetTrash().empty());
  EXPECT_EQ(Count("DeletedItem"), 0);
}

TEST_P(TrashVersionsTest, AFolderComesBackWithWhatItsDeleteTookAndNothingDeletedApart) {
  const std::string a = AddFolder("A", root_);
  const std::string b = AddFolder("B", a);
  AddFolder("Other", root_);
  const std::string a1 = Add("a1", a), b1 = Add("b1", b), x = Add("x", a);
  access_->DeleteClipping(x, false);
  // Deleted long before, so that the listing's order does not hang on the clock.
  db_.ExecuteSQL("UPDATE DeletedItem SET tDeleted='2001-02-03 04:05:06' WHERE lItemID=" + x);
  access_->DeleteFolder(a, false);
  EXPECT_EQ(Statuses({a1, b1, x}) + " / " + Statuses({a, b}, true), "4 4 4 / 3 3");

  const std::vector<TrashEntry> trash = access_->GetTrash();
  ASSERT_EQ(trash.size(), 2u);
  EXPECT_EQ(Describe(trash[0]), a + " folder A " + root_ + " Personal 3") << "B, a1 and b1";
  EXPECT_EQ(Describe(trash[1]), x + " clipping x " + a + " Personal\\A 0");

  EXPECT_EQ(access_->RestoreItem(a, false), "A");
  EXPECT_EQ(Statuses({a1, b1, x}) + " / " + Statuses({a, b}, true), "0 0 4 / 1 1");
  EXPECT_EQ(TrashIds(), std::set<std::string>{x});
  EXPECT_FALSE(IsLeaf(root_));
  EXPECT_FALSE(IsLeaf(a));
  EXPECT_EQ(access_->GetChildrenFolders(a, false, false)->Items()->Count(), 1);
}

TEST_P(TrashVersionsTest, RestoringAClippingInADeletedFolderBringsBackOnlyTheFoldersAboveIt) {
  const std::string a = AddFolder("A", root_);
  const std::string b = AddFolder("B", a);
  const std::string a1 = Add("a1", a), b1 = Add("b1", b), b2 = Add("b2", b);
  access_->DeleteFolder(a, false);
  EXPECT_EQ(access_->RestoreItem(b1, false), "b1");
  EXPECT_EQ(Statuses({b1, a1, b2}) + " / " + Statuses({a, b}, true), "0 4 4 / 1 1");
  EXPECT_FALSE(IsLeaf(a));
  // What stays deleted is listed on its own now that its folder is back.
  EXPECT_EQ(TrashIds(), (std::set<std::string>{a1, b2}));
  EXPECT_EQ(access_->RestoreItem(b2, false), "b2");
  EXPECT_EQ(TrashIds(), std::set<std::string>{a1});
}

TEST_P(TrashVersionsTest, ANameTakenMeanwhileRefusesTheRestoreOrFindsAFreeName) {
  const std::string older = Add("Reply", root_);
  access_->DeleteClipping(older, false);
  const std::string reply = Add("Reply", root_);
  access_->DeleteClipping(reply, false);
  const std::string taker = Add("REPLY", root_);
  EXPECT_EQ(RaisedNumber([&] { access_->RestoreItem(reply, false); }), err::kClippingNameNotUnique);
  EXPECT_EQ(Statuses({reply}), "4");
  EXPECT_EQ(TrashIds(), (std::set<std::string>{older, reply}));
  EXPECT_EQ(access_->RestoreItem(reply, true), "Reply (restored)");
  EXPECT_EQ(access_->RestoreItem(older, true), "Reply (restored 2)");
  EXPECT_EQ(access_->GetClipping(reply, false)->Name(), "Reply (restored)");
  EXPECT_EQ(access_->GetClippingByName("reply (RESTORED 2)", root_, false)->ID(), older);
  EXPECT_EQ(access_->GetClippingByName("Reply", root_, false)->ID(), taker);
  EXPECT_EQ(access_->SearchContent(ParseContentQuery("restored"), "", "", 0, 10).size(), 2u);

  // Folders alike, and the folders above a clipping.
  const std::string docs = AddFolder("Docs", root_);
  const std::string inner = AddFolder("Inner", docs);
  const std::string deep = Add("Deep", inner);
  access_->DeleteFolder(docs, false);
  AddFolder("docs", root_);
  for (const std::string& item : {docs, deep}) {
    EXPECT_EQ(RaisedNumber([&] { access_->RestoreItem(item, false); }), err::kFolderNameNotUnique);
  }
  EXPECT_EQ(Statuses({docs, inner}, true) + " / " + Statuses({deep}), "3 3 / 4");
  EXPECT_EQ(access_->RestoreItem(deep, true), "Deep");
  EXPECT_EQ(access_->GetFolder(docs)->Name(), "Docs (restored)");
  EXPECT_EQ(access_->GetFolder(inner)->Name(), "Inner");

  // Only deleted items can be restored.
  for (const std::string& live : {taker, root_, docs, std::string("987654")}) {
    const AutomationError error = ErrorOf([&] { access_->RestoreItem(live, false); });
    EXPECT_EQ(error.number(), err::kInvalidProcedureCall) << live;
    EXPECT_EQ(error.source(), kDataServicesSource);
  }
}

TEST_P(TrashVersionsTest, EmptyingTheTrashLeavesNoRowOfWhatItRemoves) {
  auto category = Category::Create();
  category->SetName("Kept");
  const std::string kept_category = access_->AddCategory(category, "")->ID();
  // A category of another group: its memberships outlive a delete that only marks.
  db_.ExecuteSQL(
      "INSERT INTO GroupClipping (lGroupClippingID, lGroupCategoryID, sName) VALUES (9001, 5, "
      "'Other')");
  const auto furnish = [&](const std::string& id) {
    Edit(id, access_->GetClipping(id, false)->Name(), "edited", Items{{2, "new " + id}});
    access_->AddClippingToCategory(id, kept_category);
    db_.ExecuteSQL("INSERT INTO ClippingGroupClipping (lClippingId, lGroupClippingId) VALUES (" +
                   id + ", 9001)");
    access_->UpdateClippingHistory(access_->GetClipping(id, false));
  };
  const std::string live = Add("Live", root_);
  const std::string tree = AddFolder("Tree", root_);
  const std::string sub = AddFolder("Sub", tree);
  const std::string t1 = Add("t1", tree), u1 = Add("u1", sub), x1 = Add("x1", tree);
  const std::string single = Add("Single", root_);
  for (const std::string& id : {live, t1, u1, single}) furnish(id);
  access_->DeleteClipping(x1, false);
  access_->DeleteFolder(tree, false);
  access_->DeleteClipping(single, false);
  ASSERT_EQ(TrashIds().size(), 3u);

  EXPECT_EQ(access_->EmptyTrash(Date(Date::Now().serial() - 1)), 0);
  EXPECT_EQ(TrashIds().size(), 3u);
  // Tree, Sub, t1, u1, x1 and Single: six items, each counted once.
  EXPECT_EQ(access_->EmptyTrash(Date(Date::Now().serial() + 1)), 6);
  EXPECT_TRUE(access_->GetTrash().empty());
  const std::string clippings = "(" + t1 + ", " + u1 + ", " + x1 + ", " + single + ")";
  const std::string all =
      "(" + t1 + ", " + u1 + ", " + x1 + ", " + single + ", " + tree + ", " + sub + ")";
  EXPECT_EQ(Count("Folder WHERE lFolderID IN " + all), 0);
  EXPECT_EQ(Count("Clipping WHERE lClippingID IN " + all + " OR lFolderID IN " + all), 0);
  for (const std::string table : {"ClippingDataType", "ClippingGroupClipping", "ClippingText",
                                  "ClippingVersion", "ClippingVersionData"}) {
    EXPECT_EQ(Count(table + " WHERE lClippingID IN " + clippings), 0) << table;
    EXPECT_GT(Count(table + " WHERE lClippingID=" + live), 0) << table;
  }
  EXPECT_EQ(Count("AccessHistory WHERE sClippingId IN ('" + t1 + "', '" + u1 + "', '" + x1 +
                  "', '" + single + "')"),
            0);
  EXPECT_EQ(Count("AccessHistory WHERE sClippingId='" + live + "'"), 1);
  EXPECT_EQ(Count("DeletedItem"), 0);
  EXPECT_EQ(Snapshot(access_->GetClipping(live, true)), "Live|edited|2:new " + live);
  EXPECT_EQ(access_->GetCategoriesNamesForClipping(live), "Kept");
  EXPECT_EQ(VersionNumbers(live), std::vector<int32_t>{1});
}

TEST_P(TrashVersionsTest, UpdatesThatChangeSomethingKeepThePreviousStateAsAVersion) {
  const std::string id = Add("Note", root_, "first");
  Edit(id, "Note", "first", Items{{2, "alpha"}, {1, kRtf}});
  const std::string original = Snapshot(access_->GetClipping(id, true));
  ASSERT_EQ(VersionNumbers(id), std::vector<int32_t>{1});
  Edit(id, "Note 2", "first", Items{{7, std::string("\0beta", 5)}});
  std::vector<ClippingVersion> versions = access_->GetClippingVersions(id);
  ASSERT_EQ(versions.size(), 2u);
  EXPECT_EQ(versions[1].version, 2);
  EXPECT_EQ(versions[1].name + "|" + versions[1].description, "Note|first");
  EXPECT_FALSE(versions[1].saved_by.empty());
  EXPECT_GT(versions[1].bytes, 0);
  const auto old = access_->GetClippingVersion(id, 2);
  EXPECT_EQ(Snapshot(old), original);
  const auto current = access_->GetClipping(id, false);
  EXPECT_EQ(old->ID() + "/" + old->FolderID() + "/" + old->GUID(),
            current->ID() + "/" + current->FolderID() + "/" + current->GUID());
  EXPECT_EQ(access_->GetClippingVersion(id, 3), nullptr);
  EXPECT_EQ(access_->GetClippingVersion(id, 0), nullptr);

  Edit(id, "Note 2", "first");  // nothing changes: nothing kept
  EXPECT_EQ(VersionNumbers(id).size(), 2u);
  Edit(id, "Note 2", "second");
  EXPECT_EQ(Snapshot(access_->GetClippingVersion(id, 3)),
            "Note 2|first|7:" + std::string("\0beta", 5));
  // An update that fails keeps no version either.
  Add("Sibling", root_);
  EXPECT_EQ(RaisedNumber([&] {
              Edit(id, "SIBLING", "third", Items{{2, "x"}});
            }),
            err::kClippingNameNotUnique);
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{1, 2, 3}));
  EXPECT_EQ(Count("ClippingVersionData WHERE lClippingID=" + id + " AND lVersion=4"), 0);
  EXPECT_EQ(access_->GetClipping(id, false)->Description(), "second");
  EXPECT_EQ(RaisedNumber([&] { access_->RevertClipping(id, 9); }), err::kInvalidProcedureCall);
  EXPECT_EQ(VersionNumbers(id).size(), 3u);
}

TEST_P(TrashVersionsTest, VersionsAndDeletionsCarriedFromElsewhereKeepTheirNumbersTimesAndUsers) {
  const std::string id = Add("Letter", root_);
  ClippingVersion head;
  head.version = 7;
  head.saved = *ParseIsoDate("2025-03-04 05:06:07");
  head.saved_by = "ann";
  head.name = "Old letter";
  head.description = "draft";
  access_->AddClippingVersion(id, head, MakeItems({{1, kRtf}, {2, "plain"}}));
  EXPECT_EQ(Snapshot(access_->GetClippingVersion(id, 7)),
            Snapshot("Old letter", "draft", {{1, kRtf}, {2, "plain"}}));
  const std::vector<ClippingVersion> kept = access_->GetClippingVersions(id);
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(FormatIsoDate(kept[0].saved) + " " + kept[0].saved_by, "2025-03-04 05:06:07 ann");
  // The next change numbers on from what was carried in.
  Edit(id, "Letter 2", "");
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{7, 8}));

  // A number taken, below 1, or a clipping that is not there: refused, nothing written.
  head.version = 8;
  EXPECT_EQ(RaisedNumber([&] {
              access_->AddClippingVersion(id, head, MakeItems({{2, "x"}}));
            }),
            err::kInvalidProcedureCall);
  head.version = 0;
  EXPECT_EQ(RaisedNumber([&] {
              access_->AddClippingVersion(id, head, MakeItems({{2, "x"}}));
            }),
            err::kInvalidProcedureCall);
  head.version = 1;
  EXPECT_EQ(RaisedNumber([&] {
              access_->AddClippingVersion("9999", head, MakeItems({{2, "x"}}));
            }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(Count("ClippingVersion WHERE lClippingID=9999"), 0);
  EXPECT_EQ(Count("ClippingVersionData WHERE lClippingID=" + id), 3);  // 2 items of 7, 1 of 8

  // Carried versions obey the limit like kept ones.
  access_->SetMaximumVersions(2);
  head.version = 3;
  access_->AddClippingVersion(id, head, MakeItems({{2, "older than both"}}));
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{7, 8}));

  // A deletion's time and user can be set on a trash entry, and only on one.
  const std::string folder = AddFolder("Box", root_);
  const std::string inside = Add("Inside", folder);
  access_->DeleteFolder(folder, false);
  access_->NoteDeletion(folder, *ParseIsoDate("2024-01-02 03:04:05"), "bob");
  bool found = false;
  for (const TrashEntry& entry : access_->GetTrash()) {
    if (entry.id != folder) continue;
    found = true;
    ASSERT_TRUE(entry.deleted.has_value());
    EXPECT_EQ(FormatIsoDate(*entry.deleted) + " " + entry.deleted_by, "2024-01-02 03:04:05 bob");
  }
  EXPECT_TRUE(found);
  EXPECT_EQ(RaisedNumber([&] { access_->NoteDeletion(inside, Date::Now(), "eve"); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(RaisedNumber([&] { access_->NoteDeletion(id, Date::Now(), "eve"); }),
            err::kInvalidProcedureCall);
  EXPECT_EQ(Count("DeletedItem WHERE sDeletedBy='eve'"), 0);
}

TEST_P(TrashVersionsTest, ItemsOfAnyBytesUnderEveryTypeAreKeptByVersionsAndTheTrash) {
  // Neither text nor markup: NUL, bytes that are no UTF-8, an open group.
  const std::string bytes("ab\0cd\xff\xfe{\\", 9);
  for (const int32_t type : {1, 2, 3, 4, 7}) {
    const std::string name = "Type " + std::to_string(type);
    std::string id;
    EXPECT_NO_THROW(id = access_->AddClipping(NewClipping(name, bytes, "", type), root_)->ID())
        << "type " << type;
    if (id.empty()) continue;
    Edit(id, name, "", Items{{2, "replaced"}});
    EXPECT_EQ(Snapshot(access_->GetClippingVersion(id, 1)),
              name + "||" + std::to_string(type) + ":" + bytes);
    access_->RevertClipping(id, 1);
    access_->DeleteClipping(id, false);
    access_->RestoreItem(id, false);
    EXPECT_EQ(Snapshot(access_->GetClipping(id, true)),
              name + "||" + std::to_string(type) + ":" + bytes);
  }
}

TEST_P(TrashVersionsTest, RandomEditsAreReproducedByTheirVersionsAndRevertsAddOne) {
  std::mt19937 random(OnServer() ? 2718 : 3141);
  const auto below = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
  // Opaque and plain text items of any bytes, rich text and XML of letters, long runs that
  // compress well.
  const auto items = [&] {
    Items list;
    for (uint32_t n = 1 + below(3); n > 0; --n) {
      const uint32_t kind = below(5);
      std::string bytes;
      for (uint32_t length = 1 + below(200); length > 0; --length) {
        bytes +=
            kind < 2 ? static_cast<char>(below(256)) : " abcdefghijklmnopqrstuvwxyz"[below(27)];
      }
      if (kind == 4) bytes = std::string(1500 + below(500), bytes[0]) + bytes;
      list.emplace_back(kind == 0                ? 7
                        : kind == 1 || kind == 4 ? 2
                        : kind == 2              ? 1
                                                 : 3,
                        kind == 2   ? "{\\rtf1 " + bytes + "}"
                        : kind == 3 ? "<r>" + bytes + "</r>"
                                    : bytes);
    }
    return list;
  };
  // The clipping as added is the first version, kept by the first edit.
  std::string name = "Start", description = "start";
  Items data = items();
  const std::string id = Add(name, root_);
  Edit(id, name, description, data);
  std::vector<std::string> states{Snapshot(name, "", {{2, "text of Start"}})};
  for (int edit = 1; edit <= 15; ++edit) {
    const uint32_t kind = below(5);  // name, description, items, all, nothing
    if (kind != 4) states.push_back(Snapshot(name, description, data));
    if (kind == 0 || kind == 3) name = "Name " + std::to_string(edit);
    if (kind == 1 || kind == 3)
      description = std::to_string(edit) + "'" + std::string(below(30), 'd');
    if (kind == 2 || kind == 3) data = items();
    Edit(id, name, description, kind >= 2 && kind <= 3 ? std::optional<Items>(data) : std::nullopt);
    ASSERT_EQ(Snapshot(access_->GetClipping(id, true)), Snapshot(name, description, data));
    ASSERT_EQ(access_->GetClippingVersions(id).size(), states.size()) << "edit " << edit;
  }
  const std::vector<ClippingVersion> versions = access_->GetClippingVersions(id);
  for (size_t n = 1; n <= states.size(); ++n) {
    EXPECT_EQ(versions[n - 1].version, static_cast<int32_t>(n));
    EXPECT_EQ(Snapshot(access_->GetClippingVersion(id, static_cast<int32_t>(n))), states[n - 1])
        << "version " << n;
  }
  for (int revert = 0; revert < 3; ++revert) {
    const int32_t n = static_cast<int32_t>(1 + below(static_cast<uint32_t>(states.size())));
    const std::string replaced = Snapshot(access_->GetClipping(id, true));
    access_->RevertClipping(id, n);
    states.push_back(replaced);
    EXPECT_EQ(Snapshot(access_->GetClipping(id, true)), states[n - 1]) << "reverted to " << n;
    EXPECT_EQ(VersionNumbers(id).size(), states.size());
    EXPECT_EQ(Snapshot(access_->GetClippingVersion(id, static_cast<int32_t>(states.size()))),
              replaced);
  }
}

TEST_P(TrashVersionsTest, TheLimitKeepsTheNewestVersionsAndZeroKeepsNone) {
  EXPECT_EQ(access_->MaximumVersions(), 50);
  const std::string id = Add("Busy", root_), other = Add("Quiet", root_);
  for (int i = 1; i <= 6; ++i) Edit(id, "Busy", "v" + std::to_string(i));
  Edit(other, "Quiet", "once");
  access_->SetMaximumVersions(3);
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{4, 5, 6}));
  EXPECT_EQ(access_->GetClippingVersions(id)[0].description, "v3");
  Edit(id, "Busy", "v7");
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{5, 6, 7}));
  EXPECT_EQ(access_->GetClippingVersions(id)[2].description, "v6");
  EXPECT_EQ(Count("ClippingVersionData WHERE lClippingID=" + id), 3);
  EXPECT_EQ(access_->RevertClipping(id, 5)->Description(), "v4");
  EXPECT_EQ(VersionNumbers(id), (std::vector<int32_t>{6, 7, 8}));
  auto again = DataAccessSQL::Create();
  again->SetConnectionString(connection_string_);
  EXPECT_EQ(again->MaximumVersions(), 3);

  VersionSpace space = access_->GetVersionSpace();
  int64_t bytes = 0;
  for (const std::string& clipping : {id, other}) {
    for (const ClippingVersion& version : access_->GetClippingVersions(clipping)) {
      bytes += version.bytes;
    }
  }
  EXPECT_EQ(space.maximum_per_clipping, 3);
  EXPECT_EQ(space.versions, 4);
  EXPECT_EQ(space.clippings, 2);
  EXPECT_GT(space.bytes, 0);
  EXPECT_EQ(space.bytes, bytes);

  access_->SetMaximumVersions(0);
  EXPECT_TRUE(access_->GetClippingVersions(id).empty());
  Edit(id, "Busy", "v9", Items{{2, "more"}});
  EXPECT_TRUE(access_->GetClippingVersions(id).empty());
  EXPECT_EQ(Count("ClippingVersion") + Count("ClippingVersionData"), 0);
  space = access_->GetVersionSpace();
  EXPECT_EQ(space.versions + space.clippings + space.bytes, 0);
  EXPECT_EQ(RaisedNumber([&] { access_->SetMaximumVersions(-1); }), err::kInvalidProcedureCall);
  EXPECT_EQ(access_->MaximumVersions(), 0);
}

TEST_P(TrashVersionsTest, ConcurrentWritersOnAServerLoseNoVersion) {
  if (!OnServer()) GTEST_SKIP() << "a file catalog has one writer at a time";
  const std::string id = Add("Shared", root_, "start");
  std::mutex mutex;
  std::vector<std::string> failures;
  const auto writer = [&](int who) {
    try {
      auto access = DataAccessSQL::Create();
      access->OpenCatalog(connection_string_, "", "");
      for (int i = 0; i < 10; ++i) {
        const auto clipping = access->GetClipping(id, false);
        clipping->SetDescription("w" + std::to_string(who) + "-" + std::to_string(i));
        access->UpdateClipping(clipping, false);
      }
    } catch (const std::exception& error) {
      const std::lock_guard<std::mutex> lock(mutex);
      failures.push_back(error.what());
    }
  };
  std::thread first(writer, 0), second(writer, 1);
  first.join();
  second.join();
  EXPECT_TRUE(failures.empty()) << (failures.empty() ? "" : failures.front());
  // The states in the order they were written: every version, then the current one. Each
  // writer's descriptions are all there, in its own order.
  std::vector<int32_t> numbers;
  std::map<char, std::string> by_writer;
  for (const ClippingVersion& version : access_->GetClippingVersions(id)) {
    numbers.push_back(static_cast<int32_t>(numbers.size() + 1));
    by_writer[version.description[1]] += version.description + " ";
  }
  EXPECT_EQ(VersionNumbers(id), numbers);
  EXPECT_EQ(numbers.size(), 20u);
  const std::string current = access_->GetClipping(id, false)->Description();
  by_writer[current[1]] += current + " ";
  EXPECT_EQ(by_writer['t'], "start ");
  for (const char who : {'0', '1'}) {
    std::string own;
    for (int i = 0; i < 10; ++i) own += std::string("w") + who + "-" + std::to_string(i) + " ";
    EXPECT_EQ(by_writer[who], own);
  }
}

TEST_P(TrashVersionsTest, ACatalogUpgradedToTheTrashListsAndRestoresEarlierDeletes) {
  const std::string kept = Add("Kept", root_);
  const std::string gone = Add("Gone", root_);
  access_->DeleteClipping(gone, false);
  const std::string old = AddFolder("Old", root_);
  const std::string inside = Add("Inside", old);
  access_->DeleteFolder(old, false);
  access_->CloseCatalog();
  // Back to the fourth format, which kept neither versions nor a trash.
  if (!OnServer()) db_.ExecuteSQL("PRAGMA user_version = 4");
  for (const char* table : {"ClippingVersion", "ClippingVersionData", "DeletedItem"}) {
    db_.ExecuteSQL(std::string("DROP TABLE ") + table);
  }
  db_.ExecuteSQL("UPDATE CatalogProperties SET sValue='4' WHERE sCatalogProperty='FormatVersion'");
  access_ = DataAccessSQL::Create();
  access_->SetConnectionString(connection_string_);
  const std::string later = Add("Later", root_);
  access_->DeleteClipping(later, false);
  EXPECT_EQ(Count("CatalogProperties WHERE sCatalogProperty='FormatVersion' AND sValue='" +
                  std::to_string(kCatalogFormatVersion) + "'"),
            1);

  const std::vector<TrashEntry> trash = access_->GetTrash();
  ASSERT_EQ(trash.size(), 3u);
  EXPECT_EQ(trash[0].id, later) << "known times first";
  EXPECT_TRUE(trash[0].deleted.has_value());
  std::set<std::string> unknown;  // deleted before the trash was kept: when is unknown
  for (size_t i = 1; i < trash.size(); ++i) {
    EXPECT_FALSE(trash[i].deleted.has_value());
    unknown.insert(Describe(trash[i]));
  }
  EXPECT_EQ(unknown, (std::set<std::string>{gone + " clipping Gone " + root_ + " Personal 0",
                                            old + " folder Old " + root_ + " Personal 1"}));

  EXPECT_EQ(access_->RestoreItem(gone, false), "Gone");
  EXPECT_EQ(access_->RestoreItem(old, false), "Old");
  EXPECT_EQ(Statuses({gone, inside}) + " / " + Statuses({old}, true), "1 1 / 1");
  EXPECT_EQ(TrashIds(), std::set<std::string>{later});
  Edit(kept, "Kept", "now with versions");
  EXPECT_EQ(VersionNumbers(kept), std::vector<int32_t>{1});
}

TEST_P(TrashVersionsTest, AMemberWhoMayNotUpgradeAnEarlierFormatWorksWithoutItsLaterTables) {
  if (!OnServer()) GTEST_SKIP() << "only a catalog on a server has members who may not upgrade it";
  const std::string kept = Add("Kept", root_);
  const std::string gone = Add("Gone", root_);
  access_->DeleteClipping(gone, false);
  // A member who may write rows but not make tables.
  const size_t at = connection_string_.find("Database=") + 9;
  const std::string member =
      connection_string_.substr(at, connection_string_.find(';', at) - at) + "_member";
  ASSERT_EQ(PostgresTestServer::Instance(nullptr)->Admin("CREATE ROLE " + member + " LOGIN"), "");
  access_->SetUpTeamRoles();
  access_->GrantTeamAccess(member, false);
  access_->CloseCatalog();
  // Back to the third format: no content index, no versions, no trash rows.
  for (const char* table :
       {"ClippingVersion", "ClippingVersionData", "DeletedItem", "ClippingText"}) {
    db_.ExecuteSQL(std::string("DROP TABLE ") + table);
  }
  db_.ExecuteSQL("UPDATE CatalogProperties SET sValue='3' WHERE sCatalogProperty='FormatVersion'");
  std::string as_member = connection_string_;
  as_member.replace(as_member.find("User ID=postgres"), 16, "User ID=" + member);
  access_ = DataAccessSQL::Create();
  access_->SetConnectionString(as_member);

  // Adds, edits, deletes and restores work; nothing of the later formats is written.
  std::string later;
  access_->RunAsOneTransaction([&] { later = Add("Later", root_); });
  Edit(kept, "Kept", "edited", Items{{2, "new text"}});
  EXPECT_TRUE(access_->GetClippingVersions(kept).empty());
  EXPECT_EQ(access_->GetClippingVersion(kept, 1), nullptr);
  access_->DeleteClipping(later, false);
  const std::vector<TrashEntry> trash = access_->GetTrash();
  ASSERT_EQ(trash.size(), 2u);
  EXPECT_FALSE(trash[0].deleted.has_value() || trash[1].deleted.has_value()) << "no time is kept";
  EXPECT_EQ(TrashIds(), (std::set<std::string>{gone, later}));
  EXPECT_EQ(access_->RestoreItem(later, false), "Later");
  EXPECT_EQ(Statuses({later}), "1");
  const VersionSpace space = access_->GetVersionSpace();
  EXPECT_EQ(space.maximum_per_clipping + space.versions, 0);

  // What needs the later tables is refused, saying why.
  const std::string no_versions =
      "This catalog's format keeps no versions; open it with a writer to upgrade it.";
  EXPECT_EQ(ErrorOf([&] { access_->SetMaximumVersions(3); }).description(), no_versions);
  ClippingVersion first;
  first.version = 1;
  EXPECT_EQ(ErrorOf([&] {
              access_->AddClippingVersion(kept, first, MakeItems({{2, "x"}}));
            }).description(),
            no_versions);
  EXPECT_EQ(ErrorOf([&] { access_->NoteDeletion(gone, Date::Now(), "ann"); }).description(),
            "The item " + gone + " is not an entry of the trash.");
  const AutomationError search =
      ErrorOf([&] { access_->SearchContent(ParseContentQuery("text"), "", "", 0, 10); });
  EXPECT_EQ(search.number(), err::kInvalidProcedureCall);
  EXPECT_NE(search.description().find("has no content index yet"), std::string::npos);
  EXPECT_EQ(Count("CatalogProperties WHERE sCatalogProperty='FormatVersion' AND sValue='3'"), 1);

  // The owner's next open upgrades it, and the content index finds what the member wrote.
  access_->CloseCatalog();
  access_ = DataAccessSQL::Create();
  access_->SetConnectionString(connection_string_);
  ASSERT_EQ(access_->SearchContent(ParseContentQuery("new"), "", "", 0, 10).size(), 1u);
  EXPECT_EQ(access_->SearchContent(ParseContentQuery("new"), "", "", 0, 10)[0].clipping->ID(),
            kept);
}

}  // namespace
}  // namespace clipcat::testing
