// Walking a catalog document file as a stream: libxml2's reader takes the file a node at a time,
// and each clipping, category and link is made into a small pugixml tree of its own, so that the
// elements are read by the same code (catalog_document.cpp) as those of a document held whole.
#include <libxml/xmlreader.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "library/catalog_document_internal.h"

namespace clipcat::internal {
namespace {

// Parser options: no network, no DTD loaded, no entities substituted, no default attributes, no
// messages on standard error; the limits of depth and text length stay as libxml2 sets them.
constexpr int kReaderOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// The file as the reader takes it, refusing it at the first raw carriage return: the reader would
// turn it into a line feed, and Parse keeps it.
struct Input {
  std::FILE* file = nullptr;
  bool carriage_return = false;

  static int Read(void* context, char* buffer, int size) {
    auto* input = static_cast<Input*>(context);
    const size_t read = std::fread(buffer, 1, static_cast<size_t>(size), input->file);
    if (std::memchr(buffer, '\r', read) != nullptr) {
      input->carriage_return = true;
      return -1;
    }
    if (read == 0 && std::ferror(input->file)) return -1;
    return static_cast<int>(read);
  }
  static int Close(void*) { return 0; }
};

struct ReaderFree {
  void operator()(xmlTextReaderPtr reader) const { xmlFreeTextReader(reader); }
};
struct FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string_view Text(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

class StreamWalk {
 public:
  StreamWalk(xmlTextReaderPtr reader, DocumentVisitor& visitor)
      : reader_(reader), visitor_(visitor) {
    xmlTextReaderSetErrorHandler(reader_, &StreamWalk::OnError, this);
  }

  // False for a document that is not streamed; see StreamDocument.
  bool Run() {
    int status;
    while ((status = xmlTextReaderRead(reader_)) == 1 && !failed_) {
      switch (xmlTextReaderNodeType(reader_)) {
        case XML_READER_TYPE_ELEMENT:
          Start();
          break;
        case XML_READER_TYPE_END_ELEMENT:
          End();
          break;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
          AddText(xmlTextReaderNodeType(reader_) == XML_READER_TYPE_CDATA);
          break;
        case XML_READER_TYPE_DOCUMENT_TYPE:
        case XML_READER_TYPE_ENTITY_REFERENCE:
        case XML_READER_TYPE_ENTITY:
          return false;
        default:  // comments, processing instructions: not part of the document
          break;
      }
    }
    return status == 0 && !failed_ && root_done_;
  }

 private:
  static void OnError(void* walk, const char*, xmlParserSeverities severity,
                      xmlTextReaderLocatorPtr) {
    if (severity == XML_PARSER_SEVERITY_ERROR || severity == XML_PARSER_SEVERITY_VALIDITY_ERROR) {
      static_cast<StreamWalk*>(walk)->failed_ = true;
    }
  }

  // The element the reader is on, with its attributes, appended to `parent`.
  pugi::xml_node Copy(pugi::xml_node parent) {
    pugi::xml_node element =
        parent.append_child(reinterpret_cast<const char*>(xmlTextReaderConstName(reader_)));
    while (xmlTextReaderMoveToNextAttribute(reader_) == 1) {
      const std::string_view value = Text(xmlTextReaderConstValue(reader_));
      element.append_attribute(reinterpret_cast<const char*>(xmlTextReaderConstName(reader_)))
          .set_value(value.data(), value.size());
    }
    xmlTextReaderMoveToElement(reader_);
    return element;
  }

  const char* Container() const { return folders_ == 0 ? doc::kRoot : doc::kFolder; }

  void Start() {
    const bool empty = xmlTextReaderIsEmptyElement(reader_) == 1;
    if (!building_.empty()) {
      const pugi::xml_node element = Copy(building_.back());
      if (!empty) building_.push_back(element);
      return;
    }
    if (!in_root_) {
      CheckRoot(Copy(scratch_));
      scratch_.reset();
      in_root_ = true;
      if (empty) EndRoot();
      return;
    }
    const std::string_view name = Text(xmlTextReaderConstName(reader_));
    const bool allowed =
        name == doc::kFolder ||
        (folders_ == 0 ? name == doc::kCategory || name == doc::kLink : name == doc::kClipping);
    if (!allowed) {
      InvalidDocument("unexpected element <" + std::string(name) + "> in <" + Container() + ">");
    }
    if (name == doc::kFolder) {
      if (folders_ == 0 && ++top_folders_ > 1) {
        InvalidDocument("it must hold exactly one top <folder>");
      }
      visitor_.FolderStart(Copy(scratch_));
      scratch_.reset();
      if (empty) {
        visitor_.FolderEnd();
      } else {
        ++folders_;
      }
      return;
    }
    const pugi::xml_node element = Copy(scratch_);
    if (empty) {
      Hand(element);
    } else {
      building_.push_back(element);
    }
  }

  void End() {
    if (!building_.empty()) {
      const pugi::xml_node element = building_.back();
      building_.pop_back();
      DropLayout(element);
      if (building_.empty()) Hand(element);
      return;
    }
    if (folders_ > 0) {
      --folders_;
      visitor_.FolderEnd();
      return;
    }
    EndRoot();
  }

  void EndRoot() {
    if (top_folders_ != 1) InvalidDocument("it must hold exactly one top <folder>");
    root_done_ = true;
  }

  void AddText(bool cdata) {
    const std::string_view text = Text(xmlTextReaderConstValue(reader_));
    if (building_.empty()) {
      if (!IsBlank(text)) InvalidDocument("unexpected text in <" + std::string(Container()) + ">");
      return;
    }
    building_.back()
        .append_child(cdata ? pugi::node_cdata : pugi::node_pcdata)
        .set_value(text.data(), text.size());
  }

  // Blank text beside other nodes is layout, and goes, as Parse drops it; blank text alone in an
  // element stays (data made only of blanks).
  static void DropLayout(pugi::xml_node element) {
    if (element.first_child() == element.last_child()) return;
    for (pugi::xml_node child = element.first_child(); child;) {
      const pugi::xml_node next = child.next_sibling();
      if (child.type() == pugi::node_pcdata && IsBlank(child.value())) element.remove_child(child);
      child = next;
    }
  }

  // A clipping, category or link made whole.
  void Hand(pugi::xml_node element) {
    const std::string_view name = element.name();
    if (name == doc::kClipping) {
      visitor_.Clipping(element);
    } else if (name == doc::kCategory) {
      visitor_.Category(element);
    } else {
      visitor_.Link(element);
    }
    scratch_.reset();
  }

  xmlTextReaderPtr reader_;
  DocumentVisitor& visitor_;
  bool failed_ = false;
  bool in_root_ = false;
  bool root_done_ = false;
  size_t folders_ = 0;  // folders open
  size_t top_folders_ = 0;
  pugi::xml_document scratch_;
  std::vector<pugi::xml_node> building_;  // the open elements of the part being made
};

}  // namespace

bool StreamDocument(const std::string& path, DocumentVisitor& visitor) {
  const std::unique_ptr<std::FILE, FileClose> file(std::fopen(path.c_str(), "rb"));
  if (!file) return false;
  Input input{file.get()};
  xmlInitParser();
  const std::unique_ptr<xmlTextReader, ReaderFree> reader(
      xmlReaderForIO(&Input::Read, &Input::Close, &input, nullptr, "UTF-8", kReaderOptions));
  if (!reader) return false;
  return StreamWalk(reader.get(), visitor).Run() && !input.carriage_return;
}

}  // namespace clipcat::internal
