// A catalog document opened from a file is read as a stream, checked, and read again by the
// import: it is refused exactly as the same text held whole is refused, it imports into the same
// catalog, and files the stream reader does not take (a document type declaration, raw carriage
// returns, XML that is not well formed) are read whole as before. An export written as it is read
// gives the same text as the document held whole.
#include <fstream>
#include <sstream>

#include "library/catalog_document.h"
#include "library/catalog_export.h"
#include "library/catalog_import.h"
#include "library/catalog_sources.h"
#include "library_fixture.h"
#include "util/errors.h"

namespace clipcat::library_test {
namespace {

std::string Document(const std::string& inside) {
  return "<clipcat-catalog version=\"1\">" + inside + "</clipcat-catalog>";
}

const std::string kTree =
    "<folder name=\"Top\"><clipping id=\"a\" name=\"A\"><data type=\"2\">x</data></clipping>"
    "<folder name=\"Sub\"><clipping id=\"b\" name=\"B\"/></folder></folder>";

// What reading `text` gives: the counts, or the error raised.
struct Outcome {
  std::vector<size_t> counts;
  int32_t number = 0;
  std::string description;
  bool operator==(const Outcome&) const = default;
};

template <typename Read>
Outcome OutcomeOf(Read read) {
  try {
    const DocumentCounts counts = read().counts();
    return {{counts.folders, counts.clippings, counts.categories, counts.memberships, counts.links,
             counts.versions, counts.deleted},
            0,
            ""};
  } catch (const AutomationError& error) {
    return {{}, error.number(), error.description()};
  }
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  out << outcome.number << " " << outcome.description << " [";
  for (size_t n : outcome.counts) out << n << " ";
  return out << "]";
}

class DocumentStreamTest : public LibraryTest {
 protected:
  static std::string ReadText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }

  // The outcome of `text` opened from a file, which must be that of the text held whole.
  Outcome Opened(const std::string& text) {
    const std::string path = dir_.Write("document.xml", text);
    const Outcome held = OutcomeOf([&] { return CatalogDocument::Parse(text); });
    const Outcome opened = OutcomeOf([&] { return CatalogDocument::Open(path); });
    EXPECT_EQ(opened, held) << text;
    return opened;
  }

  // The whole catalog at `path` as an export without ids.
  std::string Contents(const std::string& path) {
    Open(path);
    std::ostringstream out;
    ExportCatalog(*catalog_, {}, true).Write(out);
    return WithoutIds(out.str());
  }
};

TEST_F(DocumentStreamTest, EveryDocumentIsTakenOrRefusedAsTheHeldTextIs) {
  const std::string clipping = "<folder name=\"T\"><clipping id=\"1\" name=\"A\">";
  const std::vector<std::string> refused = {
      "<other/>",
      "<clipcat-catalog version=\"2\">" + kTree + "</clipcat-catalog>",
      "<clipcat-catalog>" + kTree + "</clipcat-catalog>",
      Document(kTree + kTree),
      Document(""),
      Document("<category name=\"C\"/>"),
      Document("<folder/>"),
      Document("<folder name=\"T\">text</folder>"),
      Document("<folder name=\"T\"><other/></folder>"),
      Document(kTree + "<other/>"),
      Document("<folder name=\"T\" name-encoding=\"rot13\"/>"),
      Document("<folder name=\"!!\" name-encoding=\"base64\"/>"),
      Document(clipping + "</clipping><clipping id=\"1\" name=\"B\"/></folder>"),
      Document(clipping + "<data type=\"2x\"/></clipping></folder>"),
      Document(clipping + "<data type=\"2\" encoding=\"base64\">!!</data></clipping></folder>"),
      Document(clipping + "<data type=\"2\"><b/></data></clipping></folder>"),
      Document(clipping + "<version number=\"1\" saved=\"2026-01-01 00:00:00\" name=\"A\"/>" +
               "<version number=\"1\" saved=\"2026-01-01 00:00:00\" name=\"A\"/></clipping>" +
               "</folder>"),
      Document(clipping + "</clipping><folder name=\"S\" deleted=\"yes\"/></folder>"),
      Document(kTree + "<category name=\"C\"><member clipping=\"z\"/></category>"),
      Document(kTree + "<category name=\"C\"><member path=\"Sub/A\"/></category>"),
      Document(kTree + "<category name=\"C\"><member clipping=\"a\" path=\"A\"/></category>"),
      Document(kTree + "<category name=\"C\"><member/></category>"),
      Document(kTree + "<category name=\"C\"><member clipping=\"a\"/><member path=\"A\"/>" +
               "</category>"),
      Document(kTree + "<link name=\"L\" connection=\"nonsense\"/>"),
      // Not well formed, or not for the stream reader.
      "\xff",
      "",
      Document(kTree).substr(0, 60),
      Document("<folder name=\"T\"></clipping>"),
  };
  for (const std::string& text : refused) {
    EXPECT_NE(Opened(text).number, 0) << text;
  }
  // Taken by both, with the same counts: members before the tree, layout, comments, CDATA,
  // blank data, a document type declaration, raw carriage returns, content after the root and an
  // undeclared entity (which the stream reader refuses, and Parse then takes), and the trash.
  const std::vector<std::string> taken = {
      Document("<category name=\"C\"><member clipping=\"b\"/></category>\n  " + kTree +
               "\n<link name=\"L\" connection=\"&lt;connectiondetails connectionstring=&quot;x"
               "&quot;/&gt;\"/>"),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- made by hand -->\n" +
          Document("\n <folder name=\"T\">\n  <clipping name=\"A\"><data type=\"2\"><![CDATA[<b>]]>"
                   "</data><data type=\"2\">   </data><!-- note --></clipping>\n </folder>\n"),
      "<!DOCTYPE clipcat-catalog>" + Document(kTree),
      // Content after the root, which pugixml does not look at.
      "<!DOCTYPE x [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;&a;\">]>" +
          Document("<folder name=\"&b;\"/>") + "<extra/>",
      Document("<folder name=\"T\" name=\"U\"/>") + "<extra/>",
      Document("<folder name=\"T\"><clipping name=\"A\"><data type=\"2\">a\r\nb</data>"
               "</clipping></folder>"),
      Document("<folder name=\"T\"><clipping name=\"A\"><data type=\"2\">&nbsp;</data>"
               "</clipping></folder>"),
      Document("<folder name=\"T\"><clipping id=\"a\" name=\"A\" deleted=\"1\"/>"
               "<folder name=\"D\" deleted=\"1\" deleted-by=\"ann\"><clipping name=\"A\"/>"
               "</folder></folder><category name=\"C\"><member clipping=\"a\"/></category>"),
  };
  for (const std::string& text : taken) {
    EXPECT_EQ(Opened(text).number, 0) << text;
  }
}

TEST_F(DocumentStreamTest, AnOpenedFileImportsAsTheHeldTextDoes) {
  const std::string text = Document(
      "<folder name=\"Mine\" description=\"d\">"
      "<clipping id=\"1\" name=\"Top\"><data type=\"2\">a&#13;\nb &amp; &lt;c&gt;</data>"
      "<data type=\"3\" encoding=\"base64\">Af8A</data></clipping>"
      "<folder name=\"Letters\"><clipping id=\"2\" name=\"Greeting\" description=\"hi\">"
      "<data type=\"1\">{\\rtf1 x}</data>"
      "<version number=\"1\" saved=\"2026-01-02 03:04:05\" saved-by=\"ann\" name=\"Old\">"
      "<data type=\"1\">{\\rtf1 old}</data></version></clipping>"
      "<clipping id=\"3\" name=\"Greeting\" deleted=\"1\" deleted-at=\"2026-02-03 04:05:06\">"
      "<data type=\"2\">gone</data></clipping>"
      "<folder name=\"Box\" deleted=\"1\" deleted-at=\"2026-02-04 00:00:00\" deleted-by=\"bo\">"
      "<clipping id=\"4\" name=\"Inside\"/></folder>"
      "<folder name=\"Empty\"/></folder></folder>"
      "<category name=\"Work\"><member clipping=\"1\"/><member clipping=\"2\"/>"
      "<member clipping=\"4\"/></category><category name=\"Unused\"/>");
  // The same with the deleted clipping before the live one of its name, which the stream takes in
  // document order; after it (above), an import with history reads the file whole.
  const size_t live = text.find("<clipping id=\"2\"");
  const size_t deleted = text.find("<clipping id=\"3\"");
  const size_t box = text.find("<folder name=\"Box\"");
  const std::string reordered = text.substr(0, live) + text.substr(deleted, box - deleted) +
                                text.substr(live, deleted - live) + text.substr(box);
  for (int round = 0; round < 4; ++round) {
    const bool with_history = round % 2 == 1;
    const std::string suffix = std::to_string(round) + ".db";
    SCOPED_TRACE(std::string(with_history ? "with history" : "without history") +
                 (round < 2 ? "" : ", deleted first"));
    const std::string file = dir_.Write("document" + suffix + ".xml", round < 2 ? text : reordered);
    ImportOptions options;
    options.with_history = with_history;
    ProgressLog held_progress, opened_progress;
    const std::string held = NewCatalog("held" + suffix, "Placeholder");
    const ImportResult from_text = ImportDocument(
        Open(held), CatalogDocument::Parse(ReadText(file)), "", held_progress.Callback(), options);
    const std::string opened = NewCatalog("opened" + suffix, "Placeholder");
    const CatalogDocument document = CatalogDocument::Open(file);
    EXPECT_EQ(document.file(), file);  // streamed, not held
    const ImportResult from_file =
        ImportDocument(Open(opened), document, "", opened_progress.Callback(), options);
    EXPECT_EQ(Counted(from_file.counts), Counted(from_text.counts));
    EXPECT_EQ(from_file.counts.versions, with_history ? 1u : 0u);
    EXPECT_EQ(from_file.counts.deleted, with_history ? 2u : 0u);
    EXPECT_EQ(from_file.counts.memberships, 2u);
    EXPECT_EQ(opened_progress.last, held_progress.last);
    const std::string contents = Contents(opened);
    EXPECT_EQ(contents, Contents(held));
    EXPECT_NE(contents.find("a&#13;\nb &amp; &lt;c&gt;"), std::string::npos) << contents;
  }
}

TEST_F(DocumentStreamTest, AFileChangedBetweenTheCheckAndTheImportIsRefusedAndLeavesNothing) {
  const std::string file = dir_.Write("document.xml", Document(kTree));
  const CatalogDocument document = CatalogDocument::Open(file);
  dir_.Write("document.xml", Document("<folder name=\"Top\"><clipping id=\"a\" name=\"A\">"
                                      "<data type=\"x\"/></clipping></folder>"));
  const std::string target = NewCatalog("target.db");
  const std::string before = Contents(target);
  const AutomationError error = ErrorOf([&] { ImportDocument(Open(target), document); });
  EXPECT_EQ(error.number(), err::kInvalidProcedureCall);
  EXPECT_EQ(Contents(target), before);
  dir_.Write("document.xml", Document(kTree).substr(0, 80));
  EXPECT_EQ(ErrorOf([&] { ImportDocument(Open(target), document); }).description(),
            "Invalid procedure call or argument: not a clipcat catalog document: the file changed "
            "while it was imported: " +
                file);
  EXPECT_EQ(Contents(target), before);
}

TEST_F(DocumentStreamTest, OpeningAFileThatIsNotThereSaysSo) {
  const AutomationError error = ErrorOf([&] { OpenDocumentFile(dir_.File("missing.xml")); });
  EXPECT_EQ(error.number(), err::kFileNotFound);
  EXPECT_EQ(error.description(), "File not found: " + dir_.File("missing.xml"));
  const std::string json = dir_.Write("tree.txt", " {\"clippings\": [{\"name\": \"A\"}]}");
  EXPECT_EQ(OpenDocumentFile(json).counts().clippings, 1u);
  EXPECT_EQ(OpenDocumentFile(dir_.Write("tree.xml", Document(kTree))).file(),
            dir_.File("tree.xml"));
}

TEST_F(DocumentStreamTest, AnExportWrittenAsItIsReadIsTheHeldDocumentsText) {
  Open(NewCatalog("catalog.db"));
  const std::string letters = AddFolder("1", "Letters & <more>");
  AddFolder(letters, "Empty");
  const std::string work = AddCategory("Work");
  Tag(AddClipping(letters, "Greeting", "Dear Sir,\r\nregards"), work);
  Tag(AddClipping("1", "Binary", std::string("\x01\x00\xff", 3), 3), work);
  AddCategory("Unused");
  const std::string gone = AddClipping(letters, "Gone");
  catalog_->write().DeleteClipping(gone, catalog_->details(), false);
  for (const bool with_history : {false, true}) {
    std::ostringstream held, streamed;
    ExportCatalog(*catalog_, {}, with_history).Write(held);
    ProgressLog progress;
    const DocumentCounts counts =
        WriteCatalogExport(*catalog_, streamed, progress.Callback(), with_history);
    EXPECT_EQ(streamed.str(), held.str());
    EXPECT_EQ(Counted(counts), Counted(ExportCatalog(*catalog_, {}, with_history).counts()));
    EXPECT_EQ(progress.last, std::make_pair(size_t{5}, size_t{5}));  // 3 folders, 2 categories
    const std::string path = dir_.File(with_history ? "history.xml" : "plain.xml");
    ExportCatalogToFile(*catalog_, path, {}, with_history);
    std::ostringstream written;
    written << std::ifstream(path, std::ios::binary).rdbuf();
    EXPECT_EQ(written.str(), held.str());
  }
}

TEST_F(DocumentStreamTest, AnExportNeverWritesOntoACatalogFile) {
  const std::string path = NewCatalog("catalog.db");
  Open(path);
  std::ostringstream before;
  before << std::ifstream(path, std::ios::binary).rdbuf();
  const AutomationError error = ErrorOf([&] { ExportCatalogToFile(*catalog_, path); });
  EXPECT_EQ(error.number(), 75);
  EXPECT_EQ(error.description(), "Cannot write " + path + ": it is a catalog file");
  std::ostringstream after;
  after << std::ifstream(path, std::ios::binary).rdbuf();
  EXPECT_EQ(after.str(), before.str());
  EXPECT_FALSE(std::ifstream(path + ".partial"));
}

}  // namespace
}  // namespace clipcat::library_test
