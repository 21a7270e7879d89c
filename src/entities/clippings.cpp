#include <utility>

#include "entities/clipping.h"
#include "entities/clipping_names.h"
#include "entities/entity_xml_internal.h"
#include "util/errors.h"

namespace clipcat {

Clippings::Clippings() : clippings_(std::make_shared<ClippingCollection>()) {}

std::string Clippings::XML() const {
  return internal::ListXml<Clipping, internal::ClippingXml>(clipping_xml::kClippingsElement,
                                                            *clippings_);
}

void Clippings::SetXML(const std::string& sNewValue) {
  ClearClippings();
  internal::ReadList<Clipping, internal::ClippingXml>(sNewValue, clipping_xml::kClippingsElement,
                                                      clipping_xml::kClippingElement, *clippings_);
}

void Clippings::ClearClippings() { clippings_ = std::make_shared<ClippingCollection>(); }

void Clippings::AddClippings(const std::shared_ptr<Clippings>& colClippings) {
  if (!colClippings) RaiseRuntimeError(err::kObjectVariableNotSet);
  for (std::shared_ptr<Clipping>& clipping : colClippings->clippings_->Snapshot()) {
    clippings_->Add(std::move(clipping));
  }
}

void Clippings::AddClipping(std::shared_ptr<Clipping> oClipping) {
  clippings_->Add(std::move(oClipping));
}

}  // namespace clipcat
