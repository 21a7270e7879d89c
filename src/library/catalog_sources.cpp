// Building catalog documents from a directory of files and from JSON: both are written as the
// catalog document's XML and then checked as any document is.
#include "library/catalog_sources.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

#include "library/catalog_document_internal.h"
#include "util/base64.h"
#include "util/errors.h"

namespace clipcat {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using internal::SetTextAttribute;

// The runtime's "Path/File access error".
constexpr int32_t kPathFileAccessError = 75;
// Deeper folder trees than this are refused in JSON, so that no document can exhaust the stack.
constexpr int kMaxJsonDepth = 200;

constexpr int32_t kRtfType = 1;
constexpr int32_t kTextType = 2;
constexpr int32_t kCatalogXmlType = 5;

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool HasKnownExtension(const fs::path& file) {
  const std::string extension = Lower(file.extension().string());
  return extension == ".txt" || extension == ".rtf" || extension == ".xml";
}

// A new catalog document with a top folder without a name.
pugi::xml_node NewDocument(pugi::xml_document& xml) {
  pugi::xml_node root = xml.append_child(doc::kRoot);
  root.append_attribute(doc::kVersionAttribute).set_value(doc::kVersion);
  pugi::xml_node top = root.append_child(doc::kFolder);
  top.append_attribute(doc::kName).set_value("");
  return top;
}

pugi::xml_node AppendNamed(pugi::xml_node parent, const char* tag, const std::string& name,
                           const std::string& description) {
  pugi::xml_node element = parent.append_child(tag);
  SetTextAttribute(element, doc::kName, name);
  SetTextAttribute(element, doc::kDescription, description);
  return element;
}

void AppendData(pugi::xml_node clipping, int32_t type, const std::string& bytes) {
  pugi::xml_node data = clipping.append_child(doc::kData);
  data.append_attribute(doc::kType).set_value(type);
  data.append_attribute(doc::kEncoding).set_value(doc::kBase64);
  const std::string encoded = EncodeBase64(bytes);
  data.append_child(pugi::node_pcdata).set_value(encoded.c_str());
}

[[noreturn]] void CannotRead(const std::string& path) {
  throw AutomationError(kPathFileAccessError, kComponentSource, "Cannot read " + path);
}

std::string FileBytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) CannotRead(file.string());
  std::ostringstream content;
  content << in.rdbuf();
  if (in.bad()) CannotRead(file.string());
  return content.str();
}

// The entries of `directory` worth importing, in the order of their names.
std::vector<fs::directory_entry> Entries(const fs::path& directory) {
  std::vector<fs::directory_entry> entries;
  std::error_code error;
  for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
    if (it->path().filename().string().starts_with(".")) continue;
    entries.push_back(*it);
  }
  if (error) CannotRead(directory.string());
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
  return entries;
}

// --- JSON ---

[[noreturn]] void InvalidJson(const std::string& what) {
  RaiseError(err::kInvalidProcedureCall, kComponentSource,
             RuntimeErrorDescription(err::kInvalidProcedureCall) +
                 ": not a clipcat JSON document: " + what);
}

const Json* Member(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string StringMember(const Json& object, const char* key, const std::string& where,
                         bool required) {
  const Json* value = Member(object, key);
  if (value == nullptr) {
    if (required) InvalidJson(where + " has no \"" + key + "\"");
    return "";
  }
  if (!value->is_string())
    InvalidJson("\"" + std::string(key) + "\" of " + where + " is not a string");
  return value->get<std::string>();
}

const Json& ArrayMember(const Json& object, const char* key, const std::string& where) {
  static const Json kEmpty = Json::array();
  const Json* value = Member(object, key);
  if (value == nullptr) return kEmpty;
  if (!value->is_array())
    InvalidJson("\"" + std::string(key) + "\" of " + where + " is not a list");
  return *value;
}

const Json& RequireObject(const Json& value, const std::string& where) {
  if (!value.is_object()) InvalidJson(where + " is not an object");
  return value;
}

int32_t ItemType(const Json& item, const std::string& where) {
  const Json* type = Member(item, "type");
  if (type == nullptr) InvalidJson(where + " has no \"type\"");
  if (type->is_string()) {
    const std::string name = type->get<std::string>();
    static const std::pair<const char*, int32_t> kNames[] = {{"rtf", kRtfType},
                                                             {"text", kTextType},
                                                             {"excel-xml", 3},
                                                             {"word-xml", 4},
                                                             {"catalog-xml", kCatalogXmlType}};
    for (const auto& [known, number] : kNames) {
      if (name == known) return number;
    }
    InvalidJson("the type \"" + name + "\" of " + where +
                " is not a data type name (text, rtf, excel-xml, word-xml, catalog-xml) or number");
  }
  if (!type->is_number_integer() || type->get<int64_t>() < 1 || type->get<int64_t>() > INT32_MAX) {
    InvalidJson("the type of " + where + " is not a positive number");
  }
  return static_cast<int32_t>(type->get<int64_t>());
}

void AppendJsonClipping(pugi::xml_node folder, const Json& clipping, const std::string& where) {
  RequireObject(clipping, where);
  const std::string name = StringMember(clipping, "name", where, true);
  const std::string here = "clipping \"" + name + "\"";
  pugi::xml_node element =
      AppendNamed(folder, doc::kClipping, name, StringMember(clipping, "description", here, false));
  size_t number = 0;
  for (const Json& item : ArrayMember(clipping, "items", here)) {
    const std::string item_where = "item " + std::to_string(++number) + " of " + here;
    RequireObject(item, item_where);
    const int32_t type = ItemType(item, item_where);
    const Json* text = Member(item, "text");
    const Json* base64 = Member(item, "base64");
    if ((text == nullptr) == (base64 == nullptr)) {
      InvalidJson(item_where + " needs either \"text\" or \"base64\"");
    }
    if (text != nullptr) {
      AppendData(element, type, StringMember(item, "text", item_where, true));
      continue;
    }
    const std::optional<std::string> bytes =
        DecodeBase64(StringMember(item, "base64", item_where, true));
    if (!bytes) InvalidJson("the base64 of " + item_where + " does not decode");
    AppendData(element, type, *bytes);
  }
}

// What a folder object holds (its clippings, then its child folders) into `element`; iterative so
// that depth is counted rather than spent on the stack.
void AppendJsonContent(pugi::xml_node top_element, const Json& top) {
  struct Pending {
    pugi::xml_node element;
    const Json* folder;
    std::string where;
    int depth;
  };
  std::vector<Pending> pending = {{top_element, &top, "the document", 0}};
  while (!pending.empty()) {
    const Pending at = pending.back();
    pending.pop_back();
    if (at.depth > kMaxJsonDepth) {
      InvalidJson("folders nested deeper than " + std::to_string(kMaxJsonDepth));
    }
    size_t number = 0;
    for (const Json& clipping : ArrayMember(*at.folder, "clippings", at.where)) {
      AppendJsonClipping(at.element, clipping,
                         "clipping " + std::to_string(++number) + " of " + at.where);
    }
    std::vector<Pending> children;
    number = 0;
    for (const Json& folder : ArrayMember(*at.folder, "folders", at.where)) {
      const std::string where = "folder " + std::to_string(++number) + " of " + at.where;
      RequireObject(folder, where);
      const std::string name = StringMember(folder, "name", where, true);
      const std::string here = "folder \"" + name + "\"";
      pugi::xml_node element = AppendNamed(at.element, doc::kFolder, name,
                                           StringMember(folder, "description", here, false));
      children.push_back({element, &folder, here, at.depth + 1});
    }
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
}

void AppendJsonCategories(pugi::xml_node root, const Json& document) {
  size_t number = 0;
  for (const Json& category : ArrayMember(document, "categories", "the document")) {
    const std::string where = "category " + std::to_string(++number);
    RequireObject(category, where);
    const std::string name = StringMember(category, "name", where, true);
    const std::string here = "category \"" + name + "\"";
    pugi::xml_node element =
        AppendNamed(root, doc::kCategory, name, StringMember(category, "description", here, false));
    for (const Json& member : ArrayMember(category, "members", here)) {
      if (!member.is_string()) InvalidJson("a member of " + here + " is not a path");
      element.append_child(doc::kMember)
          .append_attribute(doc::kMemberPath)
          .set_value(member.get<std::string>().c_str());
    }
  }
}

}  // namespace

int32_t DataTypeOfFile(const std::string& file_name) {
  const std::string extension = Lower(fs::path(file_name).extension().string());
  if (extension == ".rtf") return kRtfType;
  if (extension == ".xml") return kCatalogXmlType;
  return kTextType;
}

CatalogDocument DocumentFromDirectory(const std::string& directory) {
  std::error_code error;
  if (!fs::is_directory(directory, error)) {
    throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + directory);
  }
  pugi::xml_document xml;
  std::vector<std::pair<fs::path, pugi::xml_node>> pending = {{directory, NewDocument(xml)}};
  while (!pending.empty()) {
    auto [path, folder] = pending.back();
    pending.pop_back();
    std::vector<std::pair<fs::path, pugi::xml_node>> children;
    for (const fs::directory_entry& entry : Entries(path)) {
      const fs::path& file = entry.path();
      if (entry.is_directory(error) && !entry.is_symlink(error)) {
        children.push_back({file, AppendNamed(folder, doc::kFolder, file.filename().string(), "")});
      } else if (entry.is_regular_file(error)) {
        const std::string name =
            HasKnownExtension(file) ? file.stem().string() : file.filename().string();
        pugi::xml_node clipping = AppendNamed(folder, doc::kClipping, name, "");
        AppendData(clipping, DataTypeOfFile(file.string()), FileBytes(file));
      }
    }
    // Each folder's clippings come before its child folders, as in any catalog document.
    for (auto& child : children) folder.append_move(child.second);
    pending.insert(pending.end(), children.rbegin(), children.rend());
  }
  return CatalogDocument::FromXml(std::move(xml));
}

CatalogDocument DocumentFromJson(const std::string& text) {
  Json document;
  try {
    document = Json::parse(text);
  } catch (const Json::exception& error) {
    InvalidJson("the text is not JSON (" + std::string(error.what()) + ")");
  }
  RequireObject(document, "the document");
  pugi::xml_document xml;
  const pugi::xml_node top = NewDocument(xml);
  AppendJsonContent(top, document);
  AppendJsonCategories(xml.child(doc::kRoot), document);
  return CatalogDocument::FromXml(std::move(xml));
}

CatalogDocument ParseDocumentText(std::string text, const std::string& file_name) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  const bool json = Lower(fs::path(file_name).extension().string()) == ".json" ||
                    (first != std::string::npos && text[first] == '{');
  return json ? DocumentFromJson(text) : CatalogDocument::Parse(std::move(text));
}

CatalogDocument OpenDocumentFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AutomationError(err::kFileNotFound, kComponentSource, "File not found: " + path);
  char first = ' ';
  while (in.get(first) && (first == ' ' || first == '\t' || first == '\r' || first == '\n')) {
  }
  if (Lower(fs::path(path).extension().string()) != ".json" && !(in && first == '{')) {
    return CatalogDocument::Open(path);
  }
  in.clear();
  in.seekg(0);
  std::ostringstream text;
  text << in.rdbuf();
  return DocumentFromJson(text.str());
}

}  // namespace clipcat
