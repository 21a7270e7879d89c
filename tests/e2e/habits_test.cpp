// The habits of the ecosystem: tables aligned by display columns (a CJK character takes two), "-"
// for standard input where a file is taken, no empty clipping from an empty standard input, and
// names that are empty, only spaces or hold control characters refused.
#include <string>

#include "cli_fixture.h"

namespace {

using namespace clipcat_e2e;

constexpr size_t npos = std::string::npos;

TEST_F(Cli, TablesAlignByDisplayColumns) {
  Ok({"init", "--name", "Personal"});
  // Two columns each, one column each, a combining accent (none) and plain ASCII.
  for (const char* name :
       {"\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", "\xc3\x84rger", "Cafe\xcc\x81", "Plain"}) {
    Ok({"add", "1", name, "--text", "x"});
  }
  const std::string listing = Ok({"ls", "1"});
  // The UPDATED column starts at the same display column on every line.
  std::istringstream lines(listing);
  std::string line;
  std::vector<size_t> starts;
  while (std::getline(lines, line)) {
    const size_t at = line.find("  ", line.find(' ', 0) + 2);
    size_t column = 0;
    const std::string before = line.substr(0, line.find_first_not_of(' ', at));
    for (size_t i = 0; i < before.size(); ++i) {
      const auto c = static_cast<unsigned char>(before[i]);
      if ((c & 0xC0) == 0x80) continue;
      if (c == 0xE6 || c == 0xE8) {
        column += 2;  // the CJK characters of the first name
      } else if (c == 0xCC) {
        continue;  // the combining acute accent
      } else {
        ++column;
      }
    }
    starts.push_back(column);
  }
  ASSERT_EQ(starts.size(), 5u) << listing;
  for (size_t start : starts) EXPECT_EQ(start, starts.front()) << listing;
}

TEST_F(Cli, StandardInputIsTakenAsDashAndNeverMakesAnEmptyClipping) {
  Ok({"init", "--name", "Personal"});
  const std::string piped = Trim(Ok({"add", "1", "Piped", "--file", "-"}, "from a pipe\n"));
  EXPECT_EQ(Ok({"show", piped, "--raw", "2"}), "from a pipe\n");
  const std::string empty =
      "error: standard input was empty: there is no content to add (error 5, clipcat)\n";
  EXPECT_EQ(Fails({"add", "1", "Empty", "--file", "-"}), empty);
  EXPECT_EQ(Fails({"add", "1", "Empty"}), empty);
  EXPECT_EQ(FirstColumn(Ok({"ls", "1"})), Ids{piped}) << "nothing was added";
  // An empty --text is content given on purpose.
  EXPECT_NE(Trim(Ok({"add", "1", "Blank", "--text", ""})), "");
}

TEST_F(Cli, NamesThatAreEmptyBlankOrHoldControlCharactersAreRefused) {
  Ok({"init", "--name", "Personal"});
  const std::string letters = Trim(Ok({"mkdir", "1", "Letters"}));
  const std::string greeting = Trim(Ok({"add", letters, "Greeting", "--text", "x"}));
  const std::string before = Ok({"export"});
  const std::vector<std::pair<std::string, std::string>> names = {
      {"", "cannot be empty"},
      {"   ", "cannot be only spaces"},
      {"two\nlines", "cannot hold a newline"},
      {"a\ttab", "cannot hold a tab"},
      {"cr\r", "cannot hold a carriage return"},
      {std::string("nul\x01", 4), "cannot hold a control character"},
      {"del\x7f", "cannot hold a control character"},
      {"c1\xc2\x85", "cannot hold a control character"},
  };
  for (const auto& [name, why] : names) {
    for (const auto& [args, what] : std::vector<std::pair<Args, std::string>>{
             {{"mkdir", "1", name}, "folder"},
             {{"add", letters, name, "--text", "x"}, "clipping"},
             {{"rename", letters, name}, "folder"},
             {{"rename", greeting, name}, "clipping"},
             {{"tag", greeting, name}, "category"},
             {{"link", name, "--connection", FileDetails(catalog_)}, "folder"}}) {
      EXPECT_EQ(Fails(args), "error: a " + what + " name " + why + " (error 5, clipcat)\n")
          << args[0];
    }
  }
  EXPECT_EQ(Ok({"export"}), before);
  // Spaces inside a name, and names beyond ASCII, are names like any other.
  EXPECT_NE(Trim(Ok({"mkdir", "1", "  Two words  "})), "");
  Ok({"rename", greeting,
      "Gr\xc3\xbc\xc3\x9f"
      "e"});
  EXPECT_NE(Ok({"ls", letters})
                .find("Gr\xc3\xbc\xc3\x9f"
                      "e"),
            npos);
}

}  // namespace
