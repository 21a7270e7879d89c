// Moving long values through a recordset field in pieces. A text value is stored as its UTF-16LE
// bytes (two per character), the form other programs that share a catalog read; raw bytes (a
// compression frame) are stored as they are. Stateless; thread-safe on distinct recordsets.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "engine/recordset.h"
#include "engine/updatable_recordset.h"

namespace clipcat {

// The size of the pieces a long value is written in.
inline constexpr size_t kBlobChunkBytes = 4096;

// Stores `text` (UTF-8) in field `field` of the row being added as its UTF-16LE bytes, in pieces.
// The empty text stores Null. Errors of the recordset reach the caller.
void WriteBlobField(const std::string& text, UpdatableRecordset& recordset, std::string_view field);

// Stores `bytes` as they are in field `field` of the row being added, in pieces. No bytes store
// Null.
void WriteBlobBytes(std::string_view bytes, UpdatableRecordset& recordset, std::string_view field);

// The text stored by WriteBlobField in field `field` of the current row: its bytes read as UTF-16LE
// (text stored as text is answered as it is). Null answers the empty text.
std::string ReadBlobField(const Recordset& recordset, std::string_view field);

// The bytes of field `field` of the current row as stored; Null answers no bytes.
std::string ReadBlobBytes(const Recordset& recordset, std::string_view field);

}  // namespace clipcat
