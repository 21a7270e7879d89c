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
  bool sample = false;  // one of a few of each kind, for places already swept with all of them
};

// Hostile texts for text parameters and properties, each meant to be refused or taken literally;
// the sample a condition, a statement, NUL, a megabyte and invalid UTF-8.
const std::vector<HostileValue>& HostileTexts();

// Hostile XML for the XML property of an entity whose ordinary text is `benign_xml` (its one
// element, e.g. "<category Name=\"A\" .../>", whose name the hostile texts take): entity
// declarations (billion laughs, external files, parameter entities), undeclared entities,
// references to characters XML cannot carry, the root nested 10,000 and 100,000 levels deep,
// elements nested 10,000 levels inside the ordinary text, and malformed text; the sample the
// billion laughs, an external entity and the 10,000 levels.
std::vector<HostileValue> HostileXml(const std::string& benign_xml);

// The sample of `values`.
std::vector<HostileValue> Sample(std::vector<HostileValue> values);

// `text` as it appears inside a double-quoted XML attribute written by clipcat: "&", "<" and
// double quotes, tab, carriage return and line feed as references.
std::string EscapeXmlAttribute(const std::string& text);

}  // namespace clipcat::robustness
