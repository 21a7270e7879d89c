#include "entities/folder.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "entities/raises.h"
#include "util/date_locale.h"
#include "util/values.h"

namespace clipcat {
namespace {

using test::RaisedNumber;

// A folder with every property set, store-only ones included, as text reaches it.
const char kFilledFolder[] =
    "<Folder Folderid=\"P7C15\" guid=\"0A1B2C3D\" parentid=\"P7C1\" "
    "name=\"Tax &amp; &lt;law> &quot;q&quot; 'a' \xC3\xA9\" "
    "description=\"line1&#13;&#10;line2&#09;end\" status=\"3\" "
    "updated=\"14:05:09 3 Mar 2002\" isleaf=\"7\"/>";

std::shared_ptr<Folder> NamedFolder(const std::string& name) {
  auto folder = Folder::Create();
  folder->SetName(name);
  folder->SetID("id-" + name);
  return folder;
}

// The tree as "name(child,child(...))", for comparing shapes.
std::string Shape(const Folder& folder) {
  std::string shape = folder.Name();
  if (folder.ChildFolders()->Count() == 0) return shape;
  shape += "(";
  bool first = true;
  for (const std::shared_ptr<Folder>& child : *folder.ChildFolders()) {
    if (!first) shape += ",";
    first = false;
    shape += Shape(*child);
  }
  return shape + ")";
}

TEST(Folder, NewFolderWritesAllEightAttributesInOrder) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  const Date before = Date::Now();
  auto folder = Folder::Create();
  const Date after = Date::Now();
  EXPECT_LE(before.serial(), folder->Updated().serial());
  EXPECT_LE(folder->Updated().serial(), after.serial());
  EXPECT_EQ(folder->Status(), 0);
  EXPECT_EQ(folder->ExternalCatalogID(), 0);
  ASSERT_NE(folder->ChildFolders(), nullptr);
  EXPECT_EQ(folder->ChildFolders()->Count(), 0);
  const std::string updated = FormatCatalogDate(folder->Updated());
  ASSERT_FALSE(updated.empty());
  EXPECT_EQ(folder->XML(),
            "<Folder Folderid=\"\" guid=\"\" parentid=\"\" name=\"\" description=\"\" status=\"0\" "
            "updated=\"" +
                updated + "\" isleaf=\"0\"/>");
}

TEST(Folder, FilledFolderReadsEveryPropertyAndWritesTheSameText) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto folder = Folder::Create();
  folder->SetXML(kFilledFolder);
  EXPECT_EQ(folder->ID(), "P7C15");
  EXPECT_EQ(folder->GUID(), "0A1B2C3D");
  EXPECT_EQ(folder->ParentID(), "P7C1");
  EXPECT_EQ(folder->Name(), "Tax & <law> \"q\" 'a' \xC3\xA9");
  EXPECT_EQ(folder->Description(), "line1\r\nline2\tend");
  EXPECT_EQ(folder->Status(), 3);
  EXPECT_EQ(folder->Updated(), *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  EXPECT_EQ(folder->ExternalCatalogID(), 7);
  EXPECT_EQ(folder->XML(), kFilledFolder);

  auto copy = Folder::Create();
  copy->SetXML(folder->XML());
  EXPECT_EQ(copy->XML(), kFilledFolder);
}

TEST(Folder, TextPropertiesRoundTripAnythingXmlCanCarry) {
  for (const std::string& value :
       {std::string("< & > \" '"), std::string("&amp;"), std::string("&lt;"), std::string("&#13;"),
        std::string("a\r\nb\rc\nd\te"), std::string("  spaced  "), std::string(" \t\r\n"),
        std::string("\xE2\x82\xAC\xF0\x9F\x98\x80 \xE6\x97\xA5")}) {
    auto folder = Folder::Create();
    folder->SetID(value);
    folder->SetName(value);
    folder->SetDescription(value + "!");
    auto read = Folder::Create();
    read->SetXML(folder->XML());
    EXPECT_EQ(read->ID(), value);
    EXPECT_EQ(read->Name(), value);
    EXPECT_EQ(read->Description(), value + "!");
  }
}

TEST(Folder, TextXmlCannotCarryRaisesInvalidProcedureCall) {
  for (const std::string& bad : {std::string("a\x01"), std::string("\x1F"), std::string("\xC3"),
                                 std::string("\xEF\xBF\xBF")}) {
    auto folder = Folder::Create();
    folder->SetName(bad);
    EXPECT_EQ(RaisedNumber([&] { folder->XML(); }), err::kInvalidProcedureCall);
    auto parent = Folder::Create();
    parent->ChildFolders()->Add(folder);
    EXPECT_EQ(RaisedNumber([&] { parent->XML(); }), err::kInvalidProcedureCall);
  }
}

TEST(Folder, NumbersRoundTripAtTheirLimits) {
  for (int32_t value :
       {std::numeric_limits<int32_t>::min(), -1, 0, 1, 4, std::numeric_limits<int32_t>::max()}) {
    auto folder = Folder::Create();
    folder->SetXML("<Folder status=\"" + std::to_string(value) + "\" isleaf=\"" +
                   std::to_string(value) + "\"/>");
    EXPECT_EQ(folder->Status(), value);
    EXPECT_EQ(folder->ExternalCatalogID(), value);
    auto read = Folder::Create();
    read->SetXML(folder->XML());
    EXPECT_EQ(read->Status(), value);
    EXPECT_EQ(read->ExternalCatalogID(), value);
  }
}

TEST(Folder, ThreeLevelTreeNestsAndReadsBackIntoTheSameTree) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto root = NamedFolder("root");
  auto a = NamedFolder("a");
  auto b = NamedFolder("b");
  auto a1 = NamedFolder("a1");
  auto a2 = NamedFolder("a2");
  root->ChildFolders()->Add(a);
  root->ChildFolders()->Add(b);
  a->ChildFolders()->Add(a1);
  a->ChildFolders()->Add(a2);
  a1->ChildFolders()->Add(NamedFolder("a1x"));

  const std::string text = root->XML();
  // Children follow the attributes as nested elements, in list order.
  const std::string a_element = a->XML();
  EXPECT_NE(text.find(a_element), std::string::npos) << text;
  EXPECT_EQ(text.rfind("</Folder>"), text.size() - 9);
  EXPECT_LT(text.find("name=\"a1x\""), text.find("name=\"a2\""));
  EXPECT_LT(text.find("name=\"a2\""), text.find("name=\"b\""));

  auto read = Folder::Create();
  read->SetXML(text);
  EXPECT_EQ(Shape(*read), "root(a(a1(a1x),a2),b)");
  EXPECT_EQ(read->ChildFolders()->Item(1)->ChildFolders()->Item(2)->ID(), "id-a2");
  EXPECT_EQ(read->XML(), text);
}

TEST(Folder, IndentedTextReadsAsTheSameTree) {
  auto folder = Folder::Create();
  folder->SetXML(
      "<Folder name=\"r\">\r\n  <Folder name=\"a\">\n    <Folder name=\"a1\"/>\n  </Folder>\n"
      "\t<Folder name=\"b\"></Folder>\n</Folder>\n");
  EXPECT_EQ(Shape(*folder), "r(a(a1),b)");
}

TEST(Folder, ReadingGivesANewChildListAndLeavesTheOldOneAlone) {
  auto folder = Folder::Create();
  auto old_list = folder->ChildFolders();
  old_list->Add(NamedFolder("kept"));
  folder->SetXML("<Folder><Folder name=\"new\"/></Folder>");
  EXPECT_NE(folder->ChildFolders(), old_list);
  EXPECT_EQ(Shape(*folder), "(new)");
  ASSERT_EQ(old_list->Count(), 1);
  EXPECT_EQ(old_list->Item(1)->Name(), "kept");
}

TEST(Folder, MissingAttributesResetToFallbacksAndUnknownOnesAreIgnored) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto folder = Folder::Create();
  folder->SetXML(kFilledFolder);
  const Date before = Date::Now();
  folder->SetXML("<Folder Name=\"wrong case\" extra=\"1\" folderid=\"x\"/>");
  const Date after = Date::Now();
  EXPECT_EQ(folder->ID(), "");
  EXPECT_EQ(folder->GUID(), "");
  EXPECT_EQ(folder->ParentID(), "");
  EXPECT_EQ(folder->Name(), "");
  EXPECT_EQ(folder->Description(), "");
  EXPECT_EQ(folder->Status(), 0);
  EXPECT_EQ(folder->ExternalCatalogID(), 0);
  EXPECT_LE(before.serial(), folder->Updated().serial());
  EXPECT_LE(folder->Updated().serial(), after.serial());
}

TEST(Folder, RefusedTextRaisesObjectRequiredAfterTheChildListIsEmptied) {
  for (const std::string& text :
       {std::string(""), std::string("not xml"), std::string("<Folder"), std::string("<folder/>"),
        std::string("<FOLDER/>"), std::string("<Folders/>"), std::string("<Folder/><Folder/>"),
        std::string("<Folder><Other/></Folder>"), std::string("<Folder><folder/></Folder>"),
        std::string("<Folder><!-- c --></Folder>"), std::string("<Folder>text</Folder>"),
        std::string("<Folder><![CDATA[x]]></Folder>"),
        std::string("<!DOCTYPE Folder [<!ENTITY x \"y\">]><Folder name=\"&x;\"/>")}) {
    auto folder = Folder::Create();
    folder->SetName("before");
    folder->ChildFolders()->Add(NamedFolder("old"));
    EXPECT_EQ(RaisedNumber([&] { folder->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(folder->ChildFolders()->Count(), 0) << text;
  }
}

TEST(Folder, AFailingChildKeepsTheChildrenCompletedBeforeIt) {
  auto folder = Folder::Create();
  EXPECT_EQ(RaisedNumber([&] {
              folder->SetXML(
                  "<Folder name=\"r\"><Folder name=\"a\"><Folder name=\"a1\"/></Folder>"
                  "<Folder name=\"b\"><Folder name=\"b1\"/><Folder status=\"x\"/></Folder>"
                  "<Folder name=\"c\"/></Folder>");
            }),
            err::kTypeMismatch);
  EXPECT_EQ(Shape(*folder), "r(a(a1))");

  EXPECT_EQ(RaisedNumber([&] {
              folder->SetXML("<Folder><Folder name=\"a\"/><Other/><Folder name=\"c\"/></Folder>");
            }),
            err::kObjectRequired);
  EXPECT_EQ(Shape(*folder), "(a)");
}

TEST(Folder, NonNumericNumbersRaiseAndKeepWhatWasReadBeforeThem) {
  auto folder = Folder::Create();
  folder->SetXML("<Folder isleaf=\"5\"/>");
  EXPECT_EQ(RaisedNumber([&] {
              folder->SetXML(
                  "<Folder Folderid=\"9\" name=\"n\" description=\"d\" status=\"abc\" "
                  "isleaf=\"3\"/>");
            }),
            err::kTypeMismatch);
  EXPECT_EQ(folder->ID(), "9");
  EXPECT_EQ(folder->Name(), "n");
  EXPECT_EQ(folder->Description(), "d");
  EXPECT_EQ(folder->ExternalCatalogID(), 5) << "read after the failing status";

  EXPECT_EQ(RaisedNumber([&] { folder->SetXML("<Folder status=\"2\" isleaf=\"\"/>"); }),
            err::kTypeMismatch);
  EXPECT_EQ(folder->Status(), 2);
  EXPECT_EQ(RaisedNumber([&] { folder->SetXML("<Folder status=\"2147483648\"/>"); }),
            err::kOverflow);
}

// Runs `body` on a thread whose stack is far too small for one frame per tree level, so that
// any recursion over the levels crashes the test instead of passing by luck.
void RunOnSmallStack(const std::function<void()>& body) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  pthread_t thread;
  const auto trampoline = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(
      pthread_create(&thread, &attributes, trampoline, const_cast<std::function<void()>*>(&body)),
      0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(Folder, DeepTreesAreReadWrittenAndReleasedWithoutRecursion) {
  const int depth = 20000;  // about 13 bytes of that stack per level
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<Folder name=\"d\">";
  for (int i = 0; i < depth; ++i) text += "</Folder>";
  int levels = 0;
  bool same_text = false;
  RunOnSmallStack([&] {
    try {
      auto folder = Folder::Create();
      folder->SetXML(text);
      for (const Folder* f = folder.get(); f != nullptr;
           f = f->ChildFolders()->Count() > 0 ? f->ChildFolders()->Item(1).get() : nullptr) {
        ++levels;
      }
      const std::string written = folder->XML();
      auto again = Folder::Create();
      again->SetXML(written);
      same_text = again->XML() == written;
    } catch (const AutomationError&) {
      levels = -1;
    }
  });
  EXPECT_EQ(levels, depth);
  EXPECT_TRUE(same_text);
}

TEST(Folder, AFolderAmongItsOwnDescendantsIsRefusedNotLoopedOver) {
  auto root = NamedFolder("root");
  auto child = NamedFolder("child");
  root->ChildFolders()->Add(child);
  child->ChildFolders()->Add(root);
  EXPECT_EQ(RaisedNumber([&] { root->XML(); }), err::kInvalidProcedureCall);
  child->ChildFolders()->Clear();  // break the cycle so both can be released

  // The same folder twice in different places is not a cycle.
  auto shared = NamedFolder("s");
  root->ChildFolders()->Add(shared);
  child->ChildFolders()->Add(shared);
  auto read = Folder::Create();
  read->SetXML(root->XML());
  EXPECT_EQ(Shape(*read), "root(child(s),s)");
}

TEST(Folder, ChildListCanBeReplacedButNeverByNothing) {
  auto folder = Folder::Create();
  auto list = FolderCollection::Create();
  list->Add(NamedFolder("x"));
  folder->SetChildFolders(list);
  EXPECT_EQ(folder->ChildFolders(), list);
  EXPECT_EQ(RaisedNumber([&] { folder->SetChildFolders(nullptr); }), err::kObjectVariableNotSet);
  EXPECT_EQ(folder->ChildFolders(), list);
  list->Add(nullptr);
  EXPECT_EQ(RaisedNumber([&] { folder->XML(); }), err::kObjectVariableNotSet);
}

TEST(Folders, EmptyListWritesTwoTagsAndReadsBackEmpty) {
  auto folders = Folders::Create();
  EXPECT_EQ(folders->XML(), "<Folders></Folders>");
  folders->AddFolder(NamedFolder("x"));
  folders->SetXML("<Folders></Folders>");
  EXPECT_EQ(folders->Items()->Count(), 0);
  folders->SetXML("<Folders/>");
  EXPECT_EQ(folders->Items()->Count(), 0);
  folders->SetXML("<Folders>\n</Folders>");
  EXPECT_EQ(folders->Items()->Count(), 0);
}

TEST(Folders, FilledListIsItsMembersTextsInOrder) {
  ScopedDateLocale locale(DateLocale::English(DateOrder::kDayMonthYear));
  auto folders = Folders::Create();
  auto a = NamedFolder("a");
  a->ChildFolders()->Add(NamedFolder("a1"));
  auto b = NamedFolder("b");
  folders->AddFolder(a);
  folders->AddFolder(b);
  folders->AddFolder(a);
  const std::string text = folders->XML();
  EXPECT_EQ(text, "<Folders>" + a->XML() + b->XML() + a->XML() + "</Folders>");

  auto read = Folders::Create();
  read->SetXML(text);
  ASSERT_EQ(read->Items()->Count(), 3);
  EXPECT_EQ(Shape(*read->Items()->Item(1)), "a(a1)");
  EXPECT_EQ(Shape(*read->Items()->Item(2)), "b");
  EXPECT_EQ(Shape(*read->Items()->Item(3)), "a(a1)");
  EXPECT_NE(read->Items()->Item(1), read->Items()->Item(3)) << "read members are new objects";
  EXPECT_EQ(read->XML(), text);
}

TEST(Folders, RefusedTextEmptiesTheListAndKeepsMembersReadBeforeABadOne) {
  for (const std::string& text : {std::string("<folders></folders>"), std::string("<Folder/>"),
                                  std::string("<Folders"), std::string("")}) {
    auto folders = Folders::Create();
    folders->AddFolder(NamedFolder("old"));
    auto old_items = folders->Items();
    EXPECT_EQ(RaisedNumber([&] { folders->SetXML(text); }), err::kObjectRequired) << text;
    EXPECT_EQ(folders->Items()->Count(), 0) << text;
    EXPECT_EQ(old_items->Count(), 1) << "the dropped collection is not touched";
  }
  auto folders = Folders::Create();
  EXPECT_EQ(
      RaisedNumber([&] {
        folders->SetXML("<Folders><Folder name=\"a\"/><!-- note --><Folder name=\"b\"/></Folders>");
      }),
      err::kObjectRequired);
  ASSERT_EQ(folders->Items()->Count(), 1);
  EXPECT_EQ(folders->Items()->Item(1)->Name(), "a");
}

TEST(Folders, AddFoldersAppendsTheSameObjectsEvenFromItself) {
  auto folders = Folders::Create();
  auto a = NamedFolder("a");
  auto b = NamedFolder("b");
  folders->AddFolder(a);
  folders->AddFolder(b);
  auto other = Folders::Create();
  other->AddFolders(folders);
  ASSERT_EQ(other->Items()->Count(), 2);
  EXPECT_EQ(other->Items()->Item(1), a);
  EXPECT_EQ(other->Items()->Item(2), b);

  folders->AddFolders(folders);
  ASSERT_EQ(folders->Items()->Count(), 4);
  EXPECT_EQ(folders->Items()->Item(3), a);
  EXPECT_EQ(folders->Items()->Item(4), b);

  EXPECT_EQ(RaisedNumber([&] { folders->AddFolders(nullptr); }), err::kObjectVariableNotSet);
  EXPECT_EQ(folders->Items()->Count(), 4);
}

TEST(Folders, ClearFoldersStartsANewCollection) {
  auto folders = Folders::Create();
  folders->AddFolder(NamedFolder("a"));
  auto held = folders->Items();
  folders->ClearFolders();
  EXPECT_NE(folders->Items(), held);
  EXPECT_EQ(folders->Items()->Count(), 0);
  EXPECT_EQ(held->Count(), 1);
  folders->AddFolder(nullptr);
  EXPECT_EQ(RaisedNumber([&] { folders->XML(); }), err::kObjectVariableNotSet);
}

}  // namespace
}  // namespace clipcat
