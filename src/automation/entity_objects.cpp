#include "automation/entity_objects.h"

#include "automation/progid_registry.h"
#include "util/text.h"

namespace clipcat {
namespace {

// One creatable entity class: how to make a default object and, for classes with an XML form,
// one read from text.
struct EntityClass {
  const char* name;
  std::shared_ptr<Dispatch> (*create)();
  std::shared_ptr<Dispatch> (*from_xml)(const std::string& xml);  // nullptr: no XML form
};

template <typename T>
std::shared_ptr<Dispatch> CreateDefault() {
  return std::make_shared<EntityObject<T>>(T::Create());
}

template <typename T>
std::shared_ptr<Dispatch> CreateFromXml(const std::string& xml) {
  auto entity = T::Create();
  entity->SetXML(xml);
  return std::make_shared<EntityObject<T>>(std::move(entity));
}

template <typename T>
constexpr EntityClass WithXml() {
  return {EntityClassName<T>::value, &CreateDefault<T>, &CreateFromXml<T>};
}

template <typename T>
constexpr EntityClass WithoutXml() {
  return {EntityClassName<T>::value, &CreateDefault<T>, nullptr};
}

constexpr EntityClass kEntityClasses[] = {
    WithXml<Folder>(),       WithXml<Folders>(),           WithXml<Clipping>(),
    WithXml<ClippingData>(), WithXml<Clippings>(),         WithXml<Category>(),
    WithXml<Categories>(),   WithXml<ConnectionDetails>(), WithoutXml<ExternalCatalog>(),
    WithXml<Search>(),
};

}  // namespace

std::shared_ptr<Dispatch> CreateEntityFromXML(const std::string& class_name,
                                              const std::string& xml) {
  for (const EntityClass& entity_class : kEntityClasses) {
    if (!EqualsIgnoreCase(entity_class.name, class_name)) continue;
    if (entity_class.from_xml == nullptr) break;
    return entity_class.from_xml(xml);
  }
  RaiseRuntimeError(err::kTypeMismatch);
}

void RegisterEntityClasses() {
  for (const EntityClass& entity_class : kEntityClasses) {
    RegisterProgID(std::string("TORVEL.") + entity_class.name, entity_class.create);
  }
}

}  // namespace clipcat
