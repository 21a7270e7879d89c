#include "store/connection_string.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "temp_catalog.h"
#include "util/errors.h"
#include "util/utf16.h"

namespace clipcat {
namespace {

using ::clipcat::testing::TempDir;

TEST(ConnectionString, ValuesAreFoundByKeyWithoutRegardToCase) {
  const std::string cs =
      "Provider=Microsoft.Jet.OLEDB.4.0; data source = /tmp/a b.db ;Persist Security Info=False";
  EXPECT_EQ(ConnectionStringValue(cs, "Provider").value(), "Microsoft.Jet.OLEDB.4.0");
  EXPECT_EQ(ConnectionStringValue(cs, "Data Source").value(), "/tmp/a b.db");
  EXPECT_EQ(ConnectionStringValue(cs, "PERSIST SECURITY INFO").value(), "False");
  EXPECT_FALSE(ConnectionStringValue(cs, "User ID").has_value());
  EXPECT_FALSE(ConnectionStringValue(cs, "Source").has_value());
}

TEST(ConnectionString, QuotedValuesMayHoldSemicolonsAndQuotes) {
  EXPECT_EQ(ConnectionStringValue("Data Source=\"/x;y/\"\"z\"\".db\";a=1", "data source").value(),
            "/x;y/\"z\".db");
  EXPECT_EQ(ConnectionStringValue("a=1;Data Source='it''s.db'", "Data Source").value(), "it's.db");
  EXPECT_EQ(ConnectionStringValue("junk;Data Source=;x=2", "Data Source").value(), "");
  EXPECT_EQ(ConnectionStringValue("a=1;a=2;", "a").value(), "2");
}

TEST(ConnectionString, FileCatalogStringNamesTheFile) {
  const std::string cs = FileCatalogConnectionString("/home/ann/clips.db");
  EXPECT_EQ(cs, "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/home/ann/clips.db");
  EXPECT_EQ(ConnectionStringValue(cs, "Data Source").value(), "/home/ann/clips.db");
}

TEST(DataLinkFile, ReadsTheLineAfterTheComments) {
  TempDir dir;
  const std::string target = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/data/caf\xC3\xA9.db";
  const std::string body =
      "[oledb]\r\n; Everything after this line is an OLE DB initstring\r\n" + target + "\r\n";
  const std::string utf16 = dir.File("utf16.udl");
  std::ofstream(utf16, std::ios::binary) << std::string("\xFF\xFE", 2) << Utf8ToUtf16LE(body);
  const std::string utf8 = dir.File("utf8.udl");
  std::ofstream(utf8, std::ios::binary) << "\xEF\xBB\xBF" << body;
  const std::string plain = dir.File("plain.udl");
  std::ofstream(plain, std::ios::binary) << "[other]\nx=y\n[OLEDB]\n;one\n\n;two\n" << target;
  for (const std::string& path : {utf16, utf8, plain}) {
    EXPECT_EQ(ReadDataLinkFile(path), target) << path;
  }
}

TEST(DataLinkFile, MissingFileOrStringRaises) {
  TempDir dir;
  const std::string empty = dir.File("empty.udl");
  std::ofstream(empty) << "[oledb]\n; only a comment\n";
  const std::string no_section = dir.File("nosection.udl");
  std::ofstream(no_section) << "Provider=x;Data Source=y\n";
  for (const std::string& path : {dir.File("missing.udl"), empty, no_section}) {
    try {
      ReadDataLinkFile(path);
      ADD_FAILURE() << path;
    } catch (const AutomationError& e) {
      EXPECT_EQ(e.number(), err::kDatabaseError);
      EXPECT_NE(e.description().find(path), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace clipcat
