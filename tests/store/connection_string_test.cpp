#include "engine/connection_string.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "temp_catalog.h"
#include "util/error_of.h"
#include "util/errors.h"
#include "util/utf16.h"

namespace clipcat::testing {
namespace {

TEST(ConnectionString, QuotedValuesMayHoldSemicolonsAndQuotesAndTheLastOneWins) {
  EXPECT_EQ(ConnectionStringValue("Data Source=\"/x;y/\"\"z\"\".db\";a=1", "data source").value(),
            "/x;y/\"z\".db");
  EXPECT_EQ(ConnectionStringValue("a=1;Data Source='it''s.db'", "data SOURCE").value(), "it's.db");
  EXPECT_EQ(ConnectionStringValue("P=x; data source = /tmp/a b.db ;", "Data Source").value(),
            "/tmp/a b.db");
  EXPECT_EQ(ConnectionStringValue("a=1;a=2;", "a").value(), "2");
  EXPECT_FALSE(ConnectionStringValue("junk;Data Source=x", "Source").has_value());
  EXPECT_EQ(FileCatalogConnectionString("/home/ann/clips.db"),
            "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/home/ann/clips.db");
}

TEST(DataLinkFile, ReadsTheLineAfterTheCommentsOrRaises) {
  TempDir dir;
  const std::string target = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/data/caf\xC3\xA9.db";
  const std::string body =
      "[oledb]\r\n; Everything after this line is an OLE DB initstring\r\n" + target + "\r\n";
  std::ofstream(dir.File("utf16.udl"), std::ios::binary)
      << std::string("\xFF\xFE", 2) << Utf8ToUtf16LE(body);
  std::ofstream(dir.File("utf8.udl"), std::ios::binary) << "\xEF\xBB\xBF" << body;
  std::ofstream(dir.File("plain.udl"), std::ios::binary) << "[other]\nx=y\n[OLEDB]\n;one\n\n;two\n"
                                                         << target;
  for (const char* name : {"utf16.udl", "utf8.udl", "plain.udl"}) {
    EXPECT_EQ(ReadDataLinkFile(dir.File(name)), target) << name;
  }
  std::ofstream(dir.File("empty.udl")) << "[oledb]\n; only a comment\n";
  std::ofstream(dir.File("nosection.udl")) << "Provider=x;Data Source=y\n";
  for (const char* name : {"missing.udl", "empty.udl", "nosection.udl"}) {
    const AutomationError error = ErrorOf([&] { ReadDataLinkFile(dir.File(name)); });
    EXPECT_EQ(error.number(), err::kDatabaseError) << name;
    EXPECT_NE(error.description().find(dir.File(name)), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace clipcat::testing
