#include "robustness/hostile_values.h"

#include <string_view>

namespace clipcat::robustness {
namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

std::string Repeat(const std::string& piece, size_t times) {
  std::string text;
  text.reserve(piece.size() * times);
  for (size_t i = 0; i < times; ++i) text += piece;
  return text;
}

// `inner` placed inside the root element of `benign_xml`, after everything already in it.
std::string Inside(const std::string& benign_xml, const std::string& root,
                   const std::string& inner) {
  const std::string close = "</" + root + ">";
  const size_t at = benign_xml.rfind(close);
  if (at != std::string::npos) return benign_xml.substr(0, at) + inner + benign_xml.substr(at);
  return benign_xml.substr(0, benign_xml.rfind("/>")) + ">" + inner + close;  // it closed itself
}

}  // namespace

const std::vector<HostileValue>& HostileTexts() {
  static const std::vector<HostileValue> values = {
      {"1 OR 1=1", "1 OR 1=1"},
      {"1; DROP TABLE Folder", "1; DROP TABLE Folder", true},
      {"0) OR (1=1", "0) OR (1=1"},
      {"' OR ''='", "' OR ''='", true},
      {"1' OR '1'='1", "1' OR '1'='1"},
      {"x'); DROP TABLE Clipping; --", "x'); DROP TABLE Clipping; --"},
      {"quote in double quotes", "\" OR \"\"=\""},
      {"comment after a key", "1 -- "},
      {"block comment after a key", "1 /* */"},
      {"typographic quotes",
       "\xe2\x80\x9c"
       "1\xe2\x80\x9d OR \xe2\x80\x98"
       "1\xe2\x80\x99=\xe2\x80\x98"
       "1\xe2\x80\x99"},
      {"guillemets and fullwidth apostrophes",
       "\xc2\xab"
       "Folder\xc2\xbb \xef\xbc\x87 OR "
       "\xef\xbc\x87\xef\xbc\x87=\xef\xbc\x87"},
      {"linked id with a condition", "P1C1 OR 1=1"},
      {"linked id with a statement", "P0C1; DROP TABLE Folder"},
      {"LIKE wildcards", "%_%"},
      {"backslash and bracket", "\\'[a]*"},
      {"NUL inside", std::string("a\0b", 3)},
      {"NUL before a statement", std::string("1\0; DROP TABLE Folder", 21), true},
      {"1 MB of letters", std::string(kMegabyte, 'A')},
      {"1 MB of quotes", std::string(kMegabyte, '\''), true},
      {"1 MB of digits", std::string(kMegabyte, '9')},
      {"invalid UTF-8 bytes", "\xff\xfe", true},
      {"overlong UTF-8 slash", "\xc0\xaf"},
      {"UTF-8 surrogate", "\xed\xa0\x80"},
      {"lone continuation byte", "a\x80z"},
      {"control characters", "\x01\x1b[2J\x7f"},
      {"number beyond 32 bits", "9999999999999999999999"},
      {"number beyond double", "1e309"},
      {"XML markup", "&amp;<b>&#0;</b>]]>"},
  };
  return values;
}

std::vector<HostileValue> Sample(std::vector<HostileValue> values) {
  std::erase_if(values, [](const HostileValue& value) { return !value.sample; });
  return values;
}

std::vector<HostileValue> HostileXml(const std::string& benign_xml) {
  const std::string root = benign_xml.substr(1, benign_xml.find_first_of(" />", 1) - 1);
  std::string laughs = "<!DOCTYPE " + root + " [<!ENTITY lol \"lol\">";
  std::string previous = "lol";
  for (int level = 1; level <= 9; ++level) {
    const std::string name = "lol" + std::to_string(level);
    laughs += "<!ENTITY " + name + " \"" + Repeat("&" + previous + ";", 10) + "\">";
    previous = name;
  }
  laughs += "]><" + root + " Name=\"&lol9;\">&lol9;</" + root + ">";

  const std::string open = "<" + root + ">";
  const std::string close = "</" + root + ">";
  return {
      {"billion laughs", laughs, true},
      {"external entity",
       "<!DOCTYPE " + root + " [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">]><" + root +
           " Name=\"&xxe;\">&xxe;</" + root + ">",
       true},
      {"parameter entity",
       "<!DOCTYPE " + root + " [<!ENTITY % p SYSTEM \"file:///etc/passwd\"> %p;]>" + benign_xml},
      {"document type only", "<!DOCTYPE " + root + ">" + benign_xml},
      {"undeclared entity", "<" + root + " Name=\"&xxe;\">&xxe;</" + root + ">"},
      {"reference to NUL", "<" + root + " Name=\"&#0;\">&#0;</" + root + ">"},
      {"reference to a surrogate", "<" + root + " Name=\"&#xD800;\"></" + root + ">"},
      {"root nested 10,000 levels", Repeat(open, 10'000) + Repeat(close, 10'000), true},
      {"root nested 100,000 levels", Repeat(open, 100'000) + Repeat(close, 100'000)},
      {"elements nested 10,000 levels inside",
       Inside(benign_xml, root, Repeat("<x>", 10'000) + Repeat("</x>", 10'000))},
      {"1 MB attribute", "<" + root + " Name=\"" + std::string(kMegabyte, 'A') + "\"/>"},
      {"unclosed root", "<" + root},
      {"two roots", benign_xml + benign_xml},
      {"NUL in the text", benign_xml.substr(0, 1) + std::string(1, '\0') + benign_xml.substr(1)},
      {"processing instruction and comment", "<?php system('id'); ?><!-- x -->" + benign_xml},
  };
}

std::string EscapeXmlAttribute(const std::string& text) {
  static const char* const kReferences[] = {"&amp;", "&lt;", "&quot;", "&#09;", "&#13;", "&#10;"};
  std::string out;
  for (const char c : text) {
    const size_t at = std::string_view("&<\"\t\r\n").find(c);
    if (at == std::string_view::npos) {
      out += c;
    } else {
      out += kReferences[at];
    }
  }
  return out;
}

}  // namespace clipcat::robustness
