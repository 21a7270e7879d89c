// The XML rules every entity shares: which text may be written, how attributes and text content
// are written and read with their fallbacks, how text is parsed (or refused) and how elements are
// printed. Used only inside the entities layer; stateless and safe to use from any thread.
#pragma once

#include <cstdint>
#include <ostream>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "util/date.h"
#include "util/variant.h"

namespace clipcat::xml {

// True when `text` is well-formed UTF-8 made only of characters XML 1.0 can carry: tab, line
// feed, carriage return, and U+0020 ... U+D7FF, U+E000 ... U+FFFD, U+10000 ... U+10FFFF.
bool IsXmlText(std::string_view text);

// Raises 5 "Invalid procedure call or argument" (source "clipcat"), naming `what`, unless
// IsXmlText(text). Writers call it so that they never produce text that cannot be parsed back.
void CheckXmlText(std::string_view text, std::string_view what);

// Writers. Each appends to `element` after what is already there, so the call order is the
// attribute order of the printed text. Text values are checked with CheckXmlText first and kept
// in the tree already escaped, the way Print writes them: a tree built with these writers is for
// printing, not for reading values back. Markup characters are written as "&amp;", "&lt;",
// "&gt;" (in text) and "&quot;" (in attributes); CR always, and tab and LF in attribute values,
// as character references, so that any XML 1.0 parser reads the exact bytes back.
void SetTextAttribute(pugi::xml_node element, const char* name, std::string_view value);
void SetLongAttribute(pugi::xml_node element, const char* name, int32_t value);
// Booleans are written as "true" and "false".
void SetBooleanAttribute(pugi::xml_node element, const char* name, bool value);
// Dates are written in the catalog form "HH:MM:SS D MMM YYYY" of the current locale.
void SetDateAttribute(pugi::xml_node element, const char* name, const Date& value);
// Makes `value` the element's text content. The empty text adds no text node.
void SetTextContent(pugi::xml_node element, std::string_view value);
// Makes `value`, whatever bytes it holds, the element's content: as SetTextContent when
// IsXmlText(value), otherwise in base64 with the attribute encoding="base64" appended. Never
// raises.
void SetDataContent(pugi::xml_node element, std::string_view value);

// Writes `document`, a tree built with plain values (not with the writers above), to `out` with a
// declaration and two-space indentation, such that any XML 1.0 parser reads back exactly the
// values it holds: pugixml's escaping, and CR in text written as "&#13;", which pugixml leaves
// raw and a parser would turn into LF. Text nodes stay inline, so indentation never enters them.
void SaveIndented(const pugi::xml_document& document, std::ostream& out);

// The same text one piece at a time, for a document written as it is made: the declaration; an
// element and everything under it at `depth` levels of indentation; the start tag alone of an
// element whose children are written next (the element itself may hold none yet); the end tag of
// one. Written in document order, the pieces give exactly what SaveIndented gives for the tree.
void SaveDeclaration(std::ostream& out);
void SaveIndentedElement(pugi::xml_node element, unsigned depth, std::ostream& out);
void SaveIndentedStartTag(pugi::xml_node element, unsigned depth, std::ostream& out);
void SaveIndentedEndTag(const char* name, unsigned depth, std::ostream& out);

// The element and everything under it as text: no declaration, no indentation, no line breaks.
std::string Print(pugi::xml_node element);

// "<name>", then each top-level node of `members` as Print gives it, then "</name>". An empty
// document gives "<name></name>".
std::string PrintList(const char* name, const pugi::xml_document& members);

// Parses `text` into `document` and answers its root element, which must be named exactly
// `root_name`. Raises 424 "Object required" when the text is not well formed (including invalid
// UTF-8 and references to characters XML cannot carry), holds a document type declaration, has
// other than one top-level element, or that element has another name.
pugi::xml_node LoadRoot(pugi::xml_document& document, std::string_view text, const char* root_name);

// True for a text node holding only blanks (space, tab, CR, LF): layout between member elements,
// which readers skip.
bool IsBlankText(pugi::xml_node node);

// Answers `node` when it is an element named exactly `name`; raises 424 "Object required"
// otherwise. Readers call it for every non-blank child that must be a member.
pugi::xml_node RequireElement(pugi::xml_node node, const char* name);

// The attribute's value as text, or Null when the element (or node) has no such attribute.
Variant AttributeValue(pugi::xml_node node, const char* name);

// Readers with the fallbacks of a missing attribute: text "", number 0, date the current time,
// boolean false. ReadLong raises 13 "Type mismatch" for text that is not a number and 6
// "Overflow" beyond 32 bits. ReadBoolean accepts "true"/"false" in any case, "Yes"/"No" and
// numbers (0 is false); anything else is false.
std::string ReadText(pugi::xml_node element, const char* name);
int32_t ReadLong(pugi::xml_node element, const char* name);
Date ReadDate(pugi::xml_node element, const char* name);
bool ReadBoolean(pugi::xml_node element, const char* name);

// The concatenated text of every text and CDATA node under `node`, in document order.
std::string TextContent(pugi::xml_node node);

// The content SetDataContent wrote: TextContent(node), decoded when `node` has the attribute
// encoding="base64" (blanks in the base64 text are skipped). Raises 424 "Object required" for
// another encoding or text that is not base64.
std::string DataContent(pugi::xml_node node);

}  // namespace clipcat::xml
