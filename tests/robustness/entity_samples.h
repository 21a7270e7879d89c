// Random entities for the round-trip tests, described as flat lists of field values so that one
// shrinker serves every kind: a sample is generated from a seed, built into an entity, and an
// entity is read back into a sample of the same shape, so that two samples compare field by field.
// Stateless apart from the generator each call is given; safe from any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"

namespace clipcat::robustness {

// kText holds text XML can carry (valid UTF-8, no NUL or other control characters but tab, CR and
// LF); kBytes any bytes; kNumber a 32-bit number; kDate seconds from day zero (1899-12-30
// 00:00:00), negative before it; kCount how many members follow (never shrunk: the shape of a
// sample stays fixed while its values shrink).
enum class FieldKind { kText, kBytes, kNumber, kDate, kCount };

struct Field {
  std::string name;  // "Name", "item[2].content", "child[1].child[0].Status" ...
  FieldKind kind = FieldKind::kText;
  std::string text;    // kText and kBytes
  int64_t number = 0;  // kNumber, kDate and kCount

  friend bool operator==(const Field& a, const Field& b) {
    return a.name == b.name && a.kind == b.kind && a.text == b.text && a.number == b.number;
  }
};
using Sample = std::vector<Field>;

enum class SampleKind { kFolder, kFolders, kClipping, kClippings, kCategory, kCategories };
std::string KindName(SampleKind kind);

// What the sample may hold. For the store: only the fields a client hands it (the store fills
// the rest), names and descriptions without NUL, content items that are not empty, and data
// types of the catalog's table (1 ... 5).
enum class SampleUse { kXml, kStore };

// A random sample of `kind`, the same for the same seed.
Sample GenerateSample(SampleKind kind, SampleUse use, uint64_t seed);

// The entity the sample describes (for a list, a Folders, Clippings or Categories object), and
// the sample an entity of `kind` reads as: every field the sample's use has, in the order
// GenerateSample gives them. ReadEntity(BuildEntity(s)) == s for every generated s.
struct BuiltEntity {
  std::shared_ptr<Folder> folder;
  std::shared_ptr<Folders> folders;
  std::shared_ptr<Clipping> clipping;
  std::shared_ptr<Clippings> clippings;
  std::shared_ptr<Category> category;
  std::shared_ptr<Categories> categories;
};
BuiltEntity BuildEntity(SampleKind kind, const Sample& sample);
Sample ReadEntity(SampleKind kind, const BuiltEntity& entity, SampleUse use);

// The entity's XML, and a new entity of `kind` read from `xml`.
std::string EntityXml(SampleKind kind, const BuiltEntity& entity);
BuiltEntity EntityFromXml(SampleKind kind, const std::string& xml);

// "" when the samples are equal, else the first fields that differ, readable.
std::string SampleDifference(const Sample& expected, const Sample& actual);

// A property of a sample: "" when it holds, else what went wrong.
using SampleCheck = std::function<std::string(const Sample&)>;

// The smallest sample found (each value emptied, halved, cut by pieces, numbers brought towards
// 0) for which `check` still fails, starting from a failing `sample`; at most `max_checks` calls.
Sample Shrink(const Sample& sample, const SampleCheck& check, int max_checks = 2000);

// Every field of the sample on its own line, text escaped, for a failure message.
std::string DescribeSample(const Sample& sample);

}  // namespace clipcat::robustness
