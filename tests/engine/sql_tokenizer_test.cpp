#include "engine/sql_tokenizer.h"

#include <gtest/gtest.h>

#include <string>

namespace clipcat {
namespace {

// Each significant token as "kind:text".
std::string Describe(const std::string& sql) {
  std::string text;
  for (const SqlToken& token : TokenizeSql(sql)) {
    if (!IsInsignificant(token)) text += std::to_string(static_cast<int>(token.kind)) + ":";
    text += token.text;
  }
  return text;
}

TEST(SqlTokenizer, TokensGiveTheTextBackAndLiteralsHideEverythingInside) {
  for (const std::string sql :
       {"", "SELECT 'unterminated", "SELECT /* unterminated comment", "\xC3\xA9t\xC3\xA9 = 'x'",
        "SELECT [odd name], \"quoted \"\" id\", `tick` FROM t -- trailing\n;",
        "x<=y>=z<>w!=v==u||t 1.5e+3 .25 0x1F ?1 :name @p $v"}) {
    std::string joined;
    for (const SqlToken& token : TokenizeSql(sql)) joined += token.text;
    EXPECT_EQ(joined, sql);
  }
  // Kinds: 2 string, 3 quoted identifier, 4 identifier, 5 number, 6 operator, 7 parameter.
  EXPECT_EQ(Describe("a='x; -- /* '' \" [ y' ; [a b] `e` x<=1.5e+3||:p"),
            "4:a6:=2:'x; -- /* '' \" [ y' 6:; 3:[a b] 3:`e` 4:x6:<=5:1.5e+36:||7::p");
  const auto tokens = TokenizeSql("'x; -- /* '' \" [ y' \"c\"\"d\" 'open ended");
  EXPECT_EQ(StringLiteralValue(tokens[0]) + "|" + IdentifierName(tokens[2]) + "|" +
                StringLiteralValue(tokens[4]),
            "x; -- /* ' \" [ y|c\"d|open ended");
}

}  // namespace
}  // namespace clipcat
