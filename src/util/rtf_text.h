// The plain text of a rich-text (RTF) clipping, for searching and for the text of a clipping
// pasted as rich text only.
//
// What counts as text:
// - Groups that hold no visible text are left out: the font, colour, style, list and revision
//   tables, document information, pictures, object data, headers and footers, footnotes, index
//   and contents entries, field instructions (a field gives its result) and every group marked
//   ignorable with \*. Hidden text (\v) is left out too.
// - \par, \line, \sect, \page and a backslash before a line break give "\n"; \tab gives "\t".
//   Table cells are separated by "\t" and each row ends with "\n".
// - \'hh is a byte in the codepage of the current font (\fN with \fcharsetN or \cpgN in the font
//   table), else of the document (\ansicpgN, \mac, \pc, \pca; 1252 when none is given); so are
//   bytes above 0x7F written as they are. A byte the codepage does not define becomes U+FFFD, and
//   an unknown codepage reads as 1252.
// - \uN is a UTF-16 unit (negative N count from 65536), surrogate pairs combine and an unpaired
//   surrogate becomes U+FFFD; the \ucN fallback characters after it (1 by default, scoped to the
//   group) are skipped.
// - Line breaks in the RTF source and NUL characters are not text; \binN skips N bytes.
//
// Damaged input gives the text read so far: an unclosed group ends with the input, a \'h cut
// short is dropped, groups nested deeper than 256 levels are skipped. Reading stops at the brace
// that closes the document. The result is always valid UTF-8 and never throws.
//
// A document's last paragraph mark is not part of its text: one trailing "\n" is dropped, so a
// one-line clipping saved by an editor as "Hello\par }" reads as "Hello".
//
// Input that does not start with "{\rtf" (after spaces and line breaks) is not rich text: it is
// returned as it is, except that bytes that are not valid UTF-8 become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace clipcat {

// Visible text of an RTF document, as UTF-8.
std::string RtfToText(std::string_view rtf);

}  // namespace clipcat
