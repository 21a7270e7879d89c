#include "engine/blob_field.h"

#include <algorithm>

#include "util/utf16.h"

namespace clipcat {

void WriteBlobBytes(std::string_view bytes, UpdatableRecordset& recordset, std::string_view field) {
  if (bytes.empty()) {
    recordset.SetValue(field, Variant::Null());
    return;
  }
  recordset.BeginLongValue(field, bytes.size());
  for (size_t offset = 0; offset < bytes.size(); offset += kBlobChunkBytes) {
    recordset.AppendChunk(field,
                          bytes.substr(offset, std::min(kBlobChunkBytes, bytes.size() - offset)));
  }
}

void WriteBlobField(const std::string& text, UpdatableRecordset& recordset,
                    std::string_view field) {
  WriteBlobBytes(Utf8ToUtf16LE(text), recordset, field);
}

std::string ReadBlobField(const Recordset& recordset, std::string_view field) {
  const Variant value = recordset.Value(field);
  if (value.IsNull()) return {};
  return value.ToText();
}

std::string ReadBlobBytes(const Recordset& recordset, std::string_view field) {
  return std::string(recordset.Bytes(field));
}

}  // namespace clipcat
