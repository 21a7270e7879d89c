// Hostile XML for every class clients create by ProgID that has an XML form: entity
// declarations (the billion laughs, external files) are refused before anything is expanded or
// read, and text nested tens of thousands of levels deep is read without recursion or refused,
// never a crash. The classes come from the ProgID registry, so a new class is covered too.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "automation/automation_object.h"
#include "automation/entity_objects.h"
#include "automation/progid_registry.h"
#include "automation/register_classes.h"
#include "robustness/hostile_values.h"
#include "robustness/robustness_support.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

// A fresh object of each creatable class that can be set from XML, with its ProgID.
std::vector<std::pair<std::string, std::shared_ptr<Dispatch>>> ClassesWithXml() {
  RegisterClasses();
  std::vector<std::pair<std::string, std::shared_ptr<Dispatch>>> classes;
  for (const std::string& progid : RegisteredProgIDs()) {
    const auto object = std::dynamic_pointer_cast<AutomationObject>(CreateObject(progid));
    if (object && object->Members().Find("XML", InvokeKind::kPropertyPut)) {
      classes.emplace_back(progid, object);
    }
  }
  return classes;
}

// Runs `step`; answers 0 when it completes, else the number of the AutomationError it raised,
// which must have a number, a source and a description. Anything else escapes to the test.
template <typename Step>
int32_t Raised(Step&& step) {
  try {
    step();
    return 0;
  } catch (const AutomationError& e) {
    EXPECT_TRUE(e.number() != 0 && !e.source().empty() && !e.description().empty()) << e.what();
    return e.number();
  }
}

// The depth of the folder tree under `folder`, counted without recursion.
size_t TreeDepth(const std::shared_ptr<Folder>& folder) {
  size_t depth = 0;
  for (auto level = folder; level; ++depth) {
    const auto children = level->ChildFolders();
    level = children->Count() > 0 ? children->Item(1) : nullptr;
  }
  return depth;
}

TEST(HostileXml, EntitiesAndMalformedTextAreRefusedAndDeepTextIsReadWithoutRecursion) {
  const std::set<std::string> refused = {
      "billion laughs",     "external entity",  "parameter entity",
      "document type only", "reference to NUL", "reference to a surrogate",
      "unclosed root",      "two roots",        "NUL in the text"};
  const auto classes = ClassesWithXml();
  ASSERT_GE(classes.size(), 8u);
  for (const auto& entry : classes) {
    // Named, not bound: clang before 16 cannot capture a structured binding in a lambda.
    const std::string& progid = entry.first;
    const std::shared_ptr<Dispatch>& object = entry.second;
    const std::string ordinary = GetProperty(object, "XML").ToText();
    for (const HostileValue& value : HostileXml(ordinary)) {
      SCOPED_TRACE(progid + " <- " + value.label);
      const int32_t number = Raised([&] { SetProperty(object, "XML", value.text); });
      if (refused.count(value.label)) {
        EXPECT_EQ(number, err::kObjectRequired);
        EXPECT_EQ(GetProperty(object, "XML").ToText(), ordinary);
      } else if (number == 0) {
        // An undeclared entity may be kept as the text it is; nothing is looked up or expanded.
        std::string written;
        Raised([&] { written = GetProperty(object, "XML").ToText(); });
        EXPECT_EQ(written.find("lollol"), std::string::npos);
        EXPECT_EQ(written.find("root:"), std::string::npos);
        if (progid == "TORVEL.Folder") {
          const size_t levels = value.label == "root nested 100,000 levels"  ? 100'000
                                : value.label == "root nested 10,000 levels" ? 10'000
                                                                             : 1;
          EXPECT_EQ(TreeDepth(Unwrap<Folder>(Variant(object))), levels);
        }
      }
      SetProperty(object, "XML", ordinary);
    }
  }
}

}  // namespace
}  // namespace clipcat::robustness
