// The plain text of a clipping's content, as content search indexes it and shows it: one reader
// per data type. Stateless; thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "entities/clipping.h"

namespace clipcat {

// The data types whose content has text (the clipping data type numbers of every catalog).
inline constexpr int32_t kRichTextDataType = 1;
inline constexpr int32_t kPlainTextDataType = 2;
inline constexpr int32_t kSpreadsheetXmlDataType = 3;
inline constexpr int32_t kWordProcessorXmlDataType = 4;
inline constexpr int32_t kCatalogXmlDataType = 5;

// The short name people and programs use for data type `type`: "rtf", "text", "excel-xml",
// "word-xml", "catalog-xml", and "type-N" for any other number. These names reach scripts and the
// HTTP API: never change one.
std::string DataTypeName(int32_t type);

// The data type a short name stands for (DataTypeName's names, without regard to case), or 0 for
// text that names none.
int32_t DataTypeNamed(std::string_view name);

// The text of content of data type `type`: plain text as it is, rich text as its visible text,
// the XML kinds as their text nodes (what a damaged document holds before the damage), each piece
// on a line of its own. Bytes that are not UTF-8 become U+FFFD and NUL a space, so that every
// engine takes the text. Other types hold no text.
std::string PlainTextOf(int32_t type, std::string_view content);

// The text of every item of `items`, in order, one item's text after another on new lines; at
// most `max_bytes` bytes, cut between words.
std::string PlainTextOfItems(const ClippingDataCollection& items, size_t max_bytes);

}  // namespace clipcat
