// The hostile inputs the robustness tests feed to clipcat: texts that try to change the SQL they
// are spliced into, texts of other scripts and encodings, NUL bytes, very long texts, and XML
// that tries to expand entities, read files or nest without end. Stateless.
#pragma once

#include <string>
#include <vector>

namespace clipcat::robustness {

struct HostileValue {
  std::string label;  // short and printable, for messages
  std::string text;
};

// Hostile texts for text parameters and properties, each meant to be refused or taken literally.
const std::vector<HostileValue>& HostileTexts();

// A few of HostileTexts, one of each kind (a condition, a statement, NUL, a megabyte, invalid
// UTF-8), for places whose text takes a path already swept with all of them.
std::vector<HostileValue> SomeHostileTexts();

// Hostile XML for the XML property of an entity whose form has the root element `root` and whose
// ordinary text is `benign_xml` (its one element, e.g. "<category Name=\"A\" .../>"): entity
// declarations (billion laughs, external files, parameter entities), undeclared entities,
// references to characters XML cannot carry, the root nested 10,000 and 100,000 levels deep,
// elements nested 10,000 levels inside the ordinary text, and malformed text.
std::vector<HostileValue> HostileXml(const std::string& root, const std::string& benign_xml);

// A few of HostileXml: the billion laughs, an external entity and the 10,000 levels.
std::vector<HostileValue> SomeHostileXml(const std::string& root, const std::string& benign_xml);

// `text` as it appears inside a double-quoted XML attribute written by clipcat: "&", "<" and
// double quotes, tab, carriage return and line feed as references.
std::string EscapeXmlAttribute(const std::string& text);

}  // namespace clipcat::robustness
