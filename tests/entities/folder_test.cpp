#include "entities/folder.h"

#include <pthread.h>

#include <functional>

#include "entities/entity_test_helpers.h"

namespace clipcat {
namespace {

using test::ReadBack;
using test::ReadError;
using test::WriteError;

// A folder with every property set, store-only ones included, as text reaches it.
const char kFilledFolder[] =
    "<Folder Folderid=\"P7C15\" guid=\"0A1B2C3D\" parentid=\"P7C1\" "
    "name=\"Tax &amp; &lt;law> &quot;q&quot; 'a' \xC3\xA9\" "
    "description=\"line1&#13;&#10;line2&#09;end\" status=\"3\" "
    "updated=\"14:05:09 3 Mar 2002\" isleaf=\"7\"/>";

// What a new folder writes, and one read from text that has none of its attributes.
std::string BlankFolderText(const Date& updated) {
  return "<Folder Folderid=\"\" guid=\"\" parentid=\"\" name=\"\" description=\"\" status=\"0\" "
         "updated=\"" +
         FormatCatalogDate(updated) + "\" isleaf=\"0\"/>";
}

std::shared_ptr<Folder> Named(const std::string& name,
                              const std::vector<std::shared_ptr<Folder>>& children = {}) {
  auto folder = Folder::Create();
  folder->SetName(name);
  for (const auto& child : children) folder->ChildFolders()->Add(child);
  return folder;
}

// The tree as "name(child,child(...))", for comparing shapes.
std::string Shape(const Folder& folder) {
  if (folder.ChildFolders()->Count() == 0) return folder.Name();
  std::string shape = folder.Name() + "(";
  for (const auto& child : *folder.ChildFolders()) shape += Shape(*child) + ",";
  shape.back() = ')';
  return shape;
}

TEST(Folder, WritesAllEightAttributesInOrderAndReadsThemBackByteForByte) {
  ScopedDateLocale locale(test::EnglishDates());
  const Date before = Date::Now();
  auto folder = Folder::Create();
  EXPECT_TRUE(test::StampedSince(before, folder->Updated()));
  EXPECT_EQ(folder->XML(), BlankFolderText(folder->Updated()));
  folder->SetXML(kFilledFolder);
  EXPECT_EQ(folder->ID() + "|" + folder->GUID() + "|" + folder->ParentID() + "|" + folder->Name() +
                "|" + folder->Description(),
            "P7C15|0A1B2C3D|P7C1|Tax & <law> \"q\" 'a' \xC3\xA9|line1\r\nline2\tend");
  EXPECT_EQ(folder->Status(), 3);
  EXPECT_EQ(folder->Updated(), *Date::FromParts({2002, 3, 3, 14, 5, 9}));
  EXPECT_EQ(folder->ExternalCatalogID(), 7);
  EXPECT_EQ(folder->XML(), kFilledFolder);
  EXPECT_EQ(ReadBack(*folder)->XML(), kFilledFolder);
  test::ExpectTextPropertiesCarried<Folder>({{&Folder::SetID, &Folder::ID},
                                             {&Folder::SetName, &Folder::Name},
                                             {&Folder::SetDescription, &Folder::Description}});
  EXPECT_EQ(WriteError(*Named("p", {Named("bad\x01")})), err::kInvalidProcedureCall);
}

TEST(Folder, TreesNestInListOrderReadBackAndRefuseCycles) {
  ScopedDateLocale locale(test::EnglishDates());
  auto a = Named("a", {Named("a1", {Named("a1x")}), Named("a2")});
  auto root = Named("root", {a, Named("b")});
  const std::string text = root->XML();
  EXPECT_NE(text.find(">" + a->XML()), std::string::npos);
  auto read = ReadBack(*root);
  EXPECT_EQ(Shape(*read), "root(a(a1(a1x),a2),b)");
  EXPECT_EQ(read->XML(), text);
  read->SetXML(
      "<Folder name=\"r\">\r\n  <Folder name=\"a\">\n    <Folder name=\"a1\"/>\n  </Folder>\n"
      "\t<Folder name=\"b\"></Folder>\n</Folder>\n");
  EXPECT_EQ(Shape(*read), "r(a(a1),b)") << "layout between elements is not content";
  // Child lists refuse nothing, and a folder inside itself cannot be written; the same folder
  // twice in different places is not a cycle.
  EXPECT_EQ(test::RaisedNumber([&] { root->SetChildFolders(nullptr); }),
            err::kObjectVariableNotSet);
  a->ChildFolders()->Add(root);
  EXPECT_EQ(WriteError(*root), err::kInvalidProcedureCall);
  a->ChildFolders()->Remove(3);  // breaks the cycle so that both can be released
  auto leaf = Named("leaf");
  root->ChildFolders()->Add(leaf);
  a->ChildFolders()->Add(leaf);
  EXPECT_EQ(Shape(*ReadBack(*root)), "root(a(a1(a1x),a2,leaf),b,leaf)");
  root->ChildFolders()->Add(nullptr);
  EXPECT_EQ(WriteError(*root), err::kObjectVariableNotSet);
}

TEST(Folder, ReadingResetsWhatTheTextLacksAndRefusedTextEmptiesTheChildren) {
  ScopedDateLocale locale(test::EnglishDates());
  auto folder = Folder::Create();
  folder->SetXML(kFilledFolder);
  const Date before = Date::Now();
  folder->SetXML("<Folder Name=\"wrong case\" extra=\"1\" folderid=\"x\"/>");
  EXPECT_TRUE(test::StampedSince(before, folder->Updated()));
  EXPECT_EQ(folder->XML(), BlankFolderText(folder->Updated()));
  // Refused text raises 424 after the child list is emptied.
  for (const char* text : {"<Folder", "<folder/>", "<Folder><folder/></Folder>",
                           "<Folder><!-- c --></Folder>", "<Folder>text</Folder>"}) {
    folder->ChildFolders()->Add(Named("old"));
    EXPECT_EQ(ReadError(*folder, text), err::kObjectRequired) << text;
    EXPECT_EQ(folder->ChildFolders()->Count(), 0) << text;
  }
  // An error part way keeps what was read before it.
  EXPECT_EQ(ReadError(*folder,
                      "<Folder name=\"r\"><Folder name=\"a\"><Folder name=\"a1\"/></Folder><Folder "
                      "name=\"b\"><Folder name=\"b1\"/><Folder status=\"x\"/></Folder><Folder/>"
                      "</Folder>"),
            err::kTypeMismatch);
  EXPECT_EQ(Shape(*folder), "r(a(a1))");
}

// Runs `body` on a thread whose stack is far too small for one frame per tree level, so that
// any recursion over the levels crashes the test instead of passing by luck.
void RunOnSmallStack(std::function<void()> body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, 256 * 1024);
  pthread_t thread;
  const auto run = [](void* f) -> void* {
    (*static_cast<std::function<void()>*>(f))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &body), 0);
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
      same_text = ReadBack(*folder)->XML() == folder->XML();
    } catch (const AutomationError&) {
      levels = -1;
    }
  });
  EXPECT_EQ(levels, depth);
  EXPECT_TRUE(same_text);
}

}  // namespace
}  // namespace clipcat
