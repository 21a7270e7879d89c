// The checks of a catalog document, made as a walk meets its parts, so that a document held whole
// and one streamed from a file are checked by the same code.
#include <string_view>

#include "engine/case_folding.h"
#include "entities/connection_details.h"
#include "library/catalog_document_internal.h"
#include "util/errors.h"
#include "util/text.h"

namespace clipcat::internal {

void DocumentChecker::Child(pugi::xml_node child, char kind) {
  if (live_names_.empty()) return;  // the top folder
  const std::string name = kind + FoldCase(TrimSpaces(TextAttribute(child, doc::kName)));
  std::set<std::string>& live = live_names_.back();
  if (!child.attribute(doc::kDeleted)) {
    live.insert(name);
  } else if (live.count(name) > 0) {
    checked_->marked_after_live = true;
  }
}

void DocumentChecker::FolderStart(pugi::xml_node folder) {
  ReadFolder(folder);
  ++checked_->counts.folders;
  if (IsMarkedDeleted(folder)) ++checked_->counts.deleted;
  checked_->references.EnterFolder(folder);
  Child(folder, 'f');
  live_names_.emplace_back();
}

void DocumentChecker::FolderEnd() {
  checked_->references.LeaveFolder();
  live_names_.pop_back();
}

void DocumentChecker::Clipping(pugi::xml_node clipping) {
  const pugi::xml_attribute id = clipping.attribute(doc::kId);
  if (id && !clipping_ids_.insert(id.value()).second) {
    InvalidDocument("two clippings have the id " + std::string(id.value()));
  }
  const std::string name = ReadClipping(clipping)->Name();
  DocumentCounts& counts = checked_->counts;
  ++counts.clippings;
  std::set<int32_t> numbers;
  for (pugi::xml_node version : clipping.children(doc::kVersionElement)) {
    const int32_t number = ReadVersion(version).first.version;
    if (!numbers.insert(number).second) {
      InvalidDocument("clipping \"" + name + "\" has version " + std::to_string(number) + " twice");
    }
    ++counts.versions;
  }
  if (IsMarkedDeleted(clipping)) ++counts.deleted;
  checked_->references.AddClipping(clipping);
  Child(clipping, 'c');
}

void DocumentChecker::Category(pugi::xml_node category) { checked_->kept.append_copy(category); }

void DocumentChecker::Link(pugi::xml_node link) { checked_->kept.append_copy(link); }

std::unique_ptr<CheckedDocument> DocumentChecker::Finish() {
  DocumentCounts& counts = checked_->counts;
  const ClippingReferences& references = checked_->references;
  for (pugi::xml_node category : checked_->kept.children(doc::kCategory)) {
    RequiredName(category);
    TextAttribute(category, doc::kDescription);
    ++counts.categories;
    std::set<size_t> members;
    for (pugi::xml_node member : Children(category, {doc::kMember})) {
      if (!members.insert(references.Find(member)).second) {
        InvalidDocument("a clipping is a member twice: " +
                        std::string(member.first_attribute().value()));
      }
      ++counts.memberships;
    }
  }
  for (pugi::xml_node link : checked_->kept.children(doc::kLink)) {
    RequiredName(link);
    const auto details = ConnectionDetails::Create();
    try {
      RequiredAttribute(link, doc::kConnection);
      details->SetXML(TextAttribute(link, doc::kConnection));
    } catch (const AutomationError&) {
      InvalidDocument("the connection of linked folder \"" + RequiredName(link) +
                      "\" is not connection details");
    }
    ++counts.links;
  }
  return std::move(checked_);
}

}  // namespace clipcat::internal
