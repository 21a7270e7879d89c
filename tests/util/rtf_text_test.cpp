#include "util/rtf_text.h"

#include <gtest/gtest.h>
#include <unicode/utf8.h>

#include <string>

namespace clipcat::testing {
namespace {

std::string Doc(const std::string& body) { return "{\\rtf1\\ansi\\deff0 " + body + "}"; }

bool IsValidUtf8(const std::string& text) {
  const auto length = static_cast<int32_t>(text.size());
  for (int32_t i = 0; i < length;) {
    UChar32 c = 0;
    U8_NEXT(text.data(), i, length, c);
    if (c < 0) return false;
  }
  return true;
}

TEST(RtfToText, ReadsTextBreaksAndEscapes) {
  EXPECT_EQ(RtfToText(Doc("Hello\\par\r\nworld\\par }")), "Hello\nworld");
  EXPECT_EQ(RtfToText(Doc("a\\par\\par ")), "a\n") << "only the last paragraph mark goes";
  EXPECT_EQ(RtfToText(Doc("one\\line two\\tab three\\sect four\\page five")),
            "one\ntwo\tthree\nfour\nfive");
  EXPECT_EQ(RtfToText(Doc("a\\\\b\\{c\\}d")), "a\\b{c}d");
  EXPECT_EQ(RtfToText(Doc("\\b bold\\b0  and\\i1 \\fs-24  x")), "bold and x")
      << "one space after a control word is its delimiter, a second one is text";
  EXPECT_EQ(RtfToText(Doc("a\\\nb")), "a\nb") << "a backslash before a line break is \\par";
  EXPECT_EQ(RtfToText(Doc("co\\-op\\~x\\_y")), "coop\u00a0x\u2011y");
  EXPECT_EQ(RtfToText(Doc("\\emdash\\endash\\bullet\\lquote\\rquote\\ldblquote\\rdblquote")),
            "\u2014\u2013\u2022\u2018\u2019\u201c\u201d");
  EXPECT_EQ(RtfToText(Doc("\\trowd a\\cell b\\cell\\row c\\cell d\\cell\\row")), "a\tb\nc\td");
  EXPECT_EQ(RtfToText("{\\rtf1 kept}dropped"), "kept") << "reading ends with the document";
}

TEST(RtfToText, LeavesOutGroupsWithoutVisibleText) {
  const std::string skipped[] = {
      "{\\fonttbl{\\f0\\fswiss Arial;}}",
      "{\\colortbl;\\red255\\green0\\blue0;}",
      "{\\stylesheet{\\s0 Normal;}}",
      "{\\info{\\title T}{\\author A}}",
      "{\\pict\\wmetafile8 0102ff}",
      "{\\header page head}",
      "{\\footerl left foot}",
      "{\\listtable{\\list{\\listlevel{\\leveltext x;}}}}",
      "{\\*\\generator Riched20 10.0;}",
      "{\\*\\unknowndest secret{\\nested too}}",
      "{\\field{\\*\\fldinst HYPERLINK \"x\"}}",
      "{\\v hidden}",
      "{\\footnote note}",
  };
  for (const std::string& group : skipped) {
    EXPECT_EQ(RtfToText(Doc("a" + group + "b")), "ab") << group;
  }
  EXPECT_EQ(RtfToText(Doc("{\\field{\\*\\fldinst HYPERLINK \"u\"}{\\fldrslt link}}")), "link");
  EXPECT_EQ(RtfToText(Doc("{\\object{\\*\\objclass P}{\\objdata 01ab}{\\result shown}}")), "shown");
  EXPECT_EQ(RtfToText(Doc("a\\v b\\v0 c{\\v d\\plain e}f")), "acef");
}

TEST(RtfToText, DecodesBytesInTheCodepageOfTheFontOrDocument) {
  EXPECT_EQ(RtfToText(Doc("caf\\'e9 \\'80 \xe9")), "caf\u00e9 \u20ac \u00e9");
  EXPECT_EQ(RtfToText("{\\rtf1\\ansi\\ansicpg1251 \\'cf\\'f0\\'e8}"), "\u041f\u0440\u0438");
  EXPECT_EQ(RtfToText("{\\rtf1\\ansi\\ansicpg99999 \\'e9}"), "\u00e9") << "unknown reads as 1252";
  EXPECT_EQ(RtfToText("{\\rtf1\\mac \\'8e}"), "\u00e9");
  EXPECT_EQ(RtfToText("{\\rtf1\\ansicpg65001 \\'c3\\'a9}"), "\u00e9");
  const std::string fonts =
      "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fcharset0 Arial;}{\\f1\\fcharset204 Arial Cyr;}"
      "{\\f2\\fcharset128 MS Mincho;}{\\f3\\cpg1253 Greek;}}";
  EXPECT_EQ(RtfToText(fonts + "\\'e9\\f1 \\'e9{\\f2 \\'82\\'a0}\\'e9\\f3 \\'e1\\plain\\'e9}"),
            "\u00e9\u0439\u3042\u0439\u03b1\u00e9");
  // A double-byte character may end in a byte written as it is, or escaped.
  EXPECT_EQ(RtfToText(fonts + "\\f2 \\'83e\\'95\\\\}"), "\u30c6\u8868");
  EXPECT_EQ(RtfToText(fonts + "\\f2 a\\'82}"), "a\ufffd") << "a lead byte cut short";
}

TEST(RtfToText, AsciiTextReadsTheSameInEveryCodepageAroundOtherBytes) {
  // Plain ASCII runs between escaped bytes, NULs, Unicode and a cut surrogate pair, in code pages
  // that keep ASCII and in ones read through their converter only.
  for (const std::string codepage : {"1252", "1251", "932", "936", "65001", "10000", "437"}) {
    const std::string head = "{\\rtf1\\ansi\\ansicpg" + codepage + " ";
    EXPECT_EQ(RtfToText(head + "Hello, world}"), "Hello, world") << codepage;
    EXPECT_EQ(RtfToText(head + "a{\\b b}c\\par d\\tab e}"), "abc\nd\te") << codepage;
    EXPECT_EQ(RtfToText(head + "x\\'00y}"), "xy") << codepage << ": a NUL is no character";
    EXPECT_EQ(RtfToText(head + "\\u55357?ab}"), "\ufffdab") << codepage << ": a lone lead unit";
  }
  EXPECT_EQ(RtfToText("{\\rtf1\\ansi\\ansicpg1252 caf\\'e9s ok}"), "caf\u00e9s ok");
  EXPECT_EQ(RtfToText("{\\rtf1\\ansi\\ansicpg1251 \\'cf ok}"), "\u041f ok");
}

TEST(RtfToText, ReadsUnicodeAndSkipsItsFallback) {
  EXPECT_EQ(RtfToText(Doc("\\u8364?x")), "\u20acx");
  EXPECT_EQ(RtfToText(Doc("\\u-3913?")), "\uf0b7") << "negative units count from 65536";
  EXPECT_EQ(RtfToText(Doc("\\uc2\\u12354\\'82\\'a0x")), "\u3042x");
  EXPECT_EQ(RtfToText(Doc("\\uc0\\u233 x")), "\u00e9x");
  EXPECT_EQ(RtfToText(Doc("{\\uc3 \\u233 abc}\\u233 ab")), "\u00e9\u00e9b") << "\\uc is scoped";
  EXPECT_EQ(RtfToText(Doc("\\u233\\'e9x\\u233\\par y")), "\u00e9x\u00e9y")
      << "a byte or a control word is one fallback character";
  EXPECT_EQ(RtfToText(Doc("\\u233{x}")), "\u00e9x") << "a brace ends the fallback";
  EXPECT_EQ(RtfToText(Doc("\\u-10179?\\u-8704?")), "\U0001f600");
  EXPECT_EQ(RtfToText(Doc("\\u-10179?x\\u-8704?")), "\ufffdx\ufffd");
  EXPECT_EQ(RtfToText(Doc("\\u99999?")), "\ufffd");
}

TEST(RtfToText, SkipsBinaryData) {
  const std::string data("}{\\\xff\0", 5);
  EXPECT_EQ(RtfToText(Doc("a{\\*\\blob\\bin5 " + data + "}b\\bin5 " + data + "c")), "abc");
  EXPECT_EQ(RtfToText(Doc("a\\bin999 bc")), "a");
}

TEST(RtfToText, DamagedInputGivesTheTextReadSoFar) {
  EXPECT_EQ(RtfToText("{\\rtf1 Hello {\\b world"), "Hello world");
  EXPECT_EQ(RtfToText("{\\rtf1 a\\'4"), "a");
  EXPECT_EQ(RtfToText("{\\rtf1 a\\'4g\\"), "ag");
  EXPECT_EQ(RtfToText("{\\rtf1 a\\u"), "a");
  EXPECT_EQ(RtfToText("{\\rtf1 \\ansicpg1251\\'"), "");
  // Deep nesting is read without recursion; what lies too deep is skipped.
  const std::string deep = std::string(100000, '{') + "x" + std::string(100000, '}');
  EXPECT_EQ(RtfToText(Doc("a" + deep + "b")), "ab");
  EXPECT_EQ(RtfToText(Doc("a{{{x}}}b")), "axb");
  const std::string bytes[] = {"{\\rtf1 \\'ff\\'fe\xc3(\\u-1\\u55296",
                               "{\\rtf1\\ansicpg65001 \xe2\x82"};
  for (const std::string& text : bytes) EXPECT_TRUE(IsValidUtf8(RtfToText(text))) << text;
}

TEST(RtfToText, OtherInputIsReturnedAsValidUtf8) {
  EXPECT_EQ(RtfToText("plain {\\b text}\n"), "plain {\\b text}\n");
  EXPECT_EQ(RtfToText("caf\xc3\xa9 \xff!"), "caf\u00e9 \ufffd!");
  EXPECT_EQ(RtfToText(""), "");
  EXPECT_EQ(RtfToText("\r\n {\\rtf1 x}"), "x");
  EXPECT_EQ(RtfToText("{\\rtx1 x}"), "{\\rtx1 x}");
}

}  // namespace
}  // namespace clipcat::testing
