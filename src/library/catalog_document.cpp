// Checking a catalog document as it is read, and writing one out.
#include "library/catalog_document.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/sqlite_file_header.h"
#include "entities/connection_details.h"
#include "entities/xml_io.h"
#include "library/catalog_document_internal.h"
#include "library/item_paths.h"
#include "util/base64.h"
#include "util/errors.h"

namespace clipcat {
namespace {

using internal::InvalidDocument;
using internal::RequiredAttribute;
using internal::RequiredName;

// Carriage returns in data come back byte for byte (no end-of-line normalisation), and data made
// only of blanks keeps them; layout between elements is dropped.
constexpr unsigned kParseOptions =
    (pugi::parse_default & ~pugi::parse_eol) | pugi::parse_ws_pcdata_single;

// The runtime's "Path/File access error": a file that cannot be written.
constexpr int32_t kPathFileAccessError = 75;

int32_t DataType(pugi::xml_node data) {
  const std::string text = RequiredAttribute(data, doc::kType);
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || value < 1 || value > INT32_MAX) {
    InvalidDocument("data type \"" + text + "\" is not a positive number");
  }
  return static_cast<int32_t>(value);
}

// The content of a <data> element, decoded when it is in base64.
std::string DataContent(pugi::xml_node data) {
  std::string text;
  for (pugi::xml_node child : data.children()) {
    if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) {
      InvalidDocument("<data> holds more than text");
    }
    text += child.value();
  }
  const pugi::xml_attribute encoding = data.attribute(doc::kEncoding);
  if (!encoding) return text;
  if (std::string(encoding.value()) != doc::kBase64) {
    InvalidDocument("unknown data encoding \"" + std::string(encoding.value()) + "\"");
  }
  std::optional<std::string> decoded = DecodeBase64(text);
  if (!decoded) InvalidDocument("data in base64 that does not decode");
  return std::move(*decoded);
}

std::shared_ptr<ClippingData> ReadDataItem(pugi::xml_node data) {
  const auto item = ClippingData::Create();
  item->SetClippingDataType(DataType(data));
  item->SetRawData(DataContent(data));
  return item;
}

[[noreturn]] void CannotWrite(const std::string& file) {
  throw AutomationError(kPathFileAccessError, kComponentSource, "Cannot write " + file);
}

}  // namespace

namespace internal {

void InvalidDocument(const std::string& what) {
  RaiseError(err::kInvalidProcedureCall, kComponentSource,
             RuntimeErrorDescription(err::kInvalidProcedureCall) +
                 ": not a clipcat catalog document: " + what);
}

std::string RequiredAttribute(pugi::xml_node element, const char* name) {
  const pugi::xml_attribute attribute = element.attribute(name);
  if (!attribute) {
    InvalidDocument("<" + std::string(element.name()) + "> without \"" + name + "\"");
  }
  return attribute.value();
}

std::string TextAttribute(pugi::xml_node element, const char* name) {
  const std::string value = element.attribute(name).value();
  const pugi::xml_attribute encoding =
      element.attribute((std::string(name) + doc::kEncodingSuffix).c_str());
  if (!encoding) return value;
  if (std::string(encoding.value()) != doc::kBase64) {
    InvalidDocument("unknown " + std::string(name) + " encoding \"" + encoding.value() + "\"");
  }
  std::optional<std::string> decoded = DecodeBase64(value);
  if (!decoded) InvalidDocument("a " + std::string(name) + " in base64 that does not decode");
  return std::move(*decoded);
}

void SetTextAttribute(pugi::xml_node element, const char* name, const std::string& value) {
  if (xml::IsXmlText(value)) {
    element.append_attribute(name).set_value(value.c_str());
    return;
  }
  element.append_attribute(name).set_value(EncodeBase64(value).c_str());
  element.append_attribute((std::string(name) + doc::kEncodingSuffix).c_str())
      .set_value(doc::kBase64);
}

std::string RequiredName(pugi::xml_node element) {
  RequiredAttribute(element, doc::kName);
  return TextAttribute(element, doc::kName);
}

std::shared_ptr<Folder> ReadFolder(pugi::xml_node element) {
  auto folder = Folder::Create();
  folder->SetName(RequiredName(element));
  folder->SetDescription(TextAttribute(element, doc::kDescription));
  return folder;
}

std::shared_ptr<Clipping> ReadClipping(pugi::xml_node element) {
  auto clipping = Clipping::Create();
  clipping->SetName(RequiredName(element));
  clipping->SetDescription(TextAttribute(element, doc::kDescription));
  for (pugi::xml_node data : Children(element, {doc::kData, doc::kVersionElement})) {
    if (std::string(data.name()) == doc::kData) clipping->ClippingData()->Add(ReadDataItem(data));
  }
  return clipping;
}

std::pair<ClippingVersion, std::shared_ptr<Clipping>> ReadVersion(pugi::xml_node element) {
  ClippingVersion version;
  const std::string number = RequiredAttribute(element, doc::kNumber);
  char* end = nullptr;
  const long value = std::strtol(number.c_str(), &end, 10);
  if (number.empty() || *end != '\0' || value < 1 || value > INT32_MAX) {
    InvalidDocument("version number \"" + number + "\" is not a positive number");
  }
  version.version = static_cast<int32_t>(value);
  const std::string saved = RequiredAttribute(element, doc::kSaved);
  const std::optional<Date> when = ParseIsoDate(saved);
  if (!when)
    InvalidDocument("version time \"" + saved + "\" is not a time of the form yyyy-mm-dd hh:nn:ss");
  version.saved = *when;
  version.saved_by = TextAttribute(element, doc::kSavedBy);
  version.name = RequiredName(element);
  version.description = TextAttribute(element, doc::kDescription);
  auto state = Clipping::Create();
  for (pugi::xml_node data : Children(element, {doc::kData})) {
    state->ClippingData()->Add(ReadDataItem(data));
  }
  return {std::move(version), std::move(state)};
}

bool IsMarkedDeleted(pugi::xml_node element) {
  const pugi::xml_attribute mark = element.attribute(doc::kDeleted);
  if (!mark) return false;
  if (std::string(mark.value()) != "1") {
    InvalidDocument("deleted=\"" + std::string(mark.value()) + "\" is not \"1\"");
  }
  DeletedAt(element);
  TextAttribute(element, doc::kDeletedBy);
  return true;
}

std::optional<Date> DeletedAt(pugi::xml_node element) {
  const pugi::xml_attribute at = element.attribute(doc::kDeletedAt);
  if (!at) return std::nullopt;
  const std::optional<Date> when = ParseIsoDate(at.value());
  if (!when) {
    InvalidDocument("deletion time \"" + std::string(at.value()) +
                    "\" is not a time of the form yyyy-mm-dd hh:nn:ss");
  }
  return when;
}

void WriteFileInPlace(const std::string& path, const std::function<void(std::ostream&)>& write) {
  const std::optional<SqliteFileHeader> header = ReadSqliteFileHeader(path);
  if (header && header->file_size > 0 && !IsForeignFile(*header)) {
    throw AutomationError(kPathFileAccessError, kComponentSource,
                          "Cannot write " + path + ": it is a catalog file");
  }
  const std::string partial = path + ".partial";
  try {
    std::ofstream out(partial, std::ios::binary | std::ios::trunc);
    if (!out) CannotWrite(partial);
    write(out);
    out.flush();
    if (!out) CannotWrite(partial);
  } catch (...) {
    std::remove(partial.c_str());
    throw;
  }
  std::error_code error;
  std::filesystem::rename(partial, path, error);
  if (error) {
    std::remove(partial.c_str());
    CannotWrite(path);
  }
}

}  // namespace internal

CatalogDocument MakeCatalogDocument(pugi::xml_document xml, DocumentCounts counts) {
  CatalogDocument document;
  document.xml_ = std::move(xml);
  document.counts_ = counts;
  return document;
}

CatalogDocument CatalogDocument::Parse(std::string text) {
  if (!xml::IsXmlText(text)) InvalidDocument("the text is not UTF-8 that XML can carry");
  // On the heap, so that moving the document never moves the characters the nodes point into.
  auto owned = std::make_unique<std::string>(std::move(text));
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed =
      xml.load_buffer_inplace(owned->data(), owned->size(), kParseOptions, pugi::encoding_utf8);
  if (!parsed) {
    InvalidDocument(std::string(parsed.description()) + " at offset " +
                    std::to_string(parsed.offset));
  }
  CatalogDocument document = FromXml(std::move(xml));
  document.text_ = std::move(owned);
  return document;
}

CatalogDocument CatalogDocument::FromXml(pugi::xml_document xml) {
  const pugi::xml_node root = xml.document_element();
  internal::CheckRoot(root);
  internal::DocumentChecker checker;
  internal::WalkDocument(root, checker);
  std::shared_ptr<const internal::CheckedDocument> checked = checker.Finish();
  CatalogDocument document = MakeCatalogDocument(std::move(xml), checked->counts);
  document.checked_ = std::move(checked);
  return document;
}

CatalogDocument CatalogDocument::Open(const std::string& path) {
  if (!std::ifstream(path, std::ios::binary)) {
    throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + path);
  }
  internal::DocumentChecker checker;
  if (!internal::StreamDocument(path, checker)) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return Parse(std::move(text).str());
  }
  std::shared_ptr<const internal::CheckedDocument> checked = checker.Finish();
  CatalogDocument document;
  document.file_ = path;
  document.counts_ = checked->counts;
  document.checked_ = std::move(checked);
  return document;
}

void CatalogDocument::Write(std::ostream& out) const {
  if (file_.empty()) {
    xml::SaveIndented(xml_, out);
    return;
  }
  std::ifstream in(file_, std::ios::binary);
  out << in.rdbuf();
}

void CatalogDocument::WriteFile(const std::string& path) const {
  internal::WriteFileInPlace(path, [this](std::ostream& out) { Write(out); });
}

}  // namespace clipcat
