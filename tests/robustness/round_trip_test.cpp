// read(write(x)) == x for random entities: through their XML (every field, the lists too) and
// through a catalog of each engine (the fields a client hands the store). The entities come from
// seeded generators; a failure prints the seed and the smallest field values that still fail.
// CLIPCAT_ROUND_TRIPS sets how many entities of each kind are tried (the long run sets it), and
// CLIPCAT_ROUND_TRIP_SEED the first seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/connection_string.h"
#include "robustness/entity_samples.h"
#include "robustness/robustness_support.h"
#include "store/catalog_schema.h"
#include "store/data_access.h"
#include "support/postgres_test_server.h"
#include "util/errors.h"

namespace clipcat::robustness {
namespace {

constexpr SampleKind kAllKinds[] = {SampleKind::kFolder,   SampleKind::kFolders,
                                    SampleKind::kClipping, SampleKind::kClippings,
                                    SampleKind::kCategory, SampleKind::kCategories};
constexpr SampleKind kStoredKinds[] = {SampleKind::kFolder, SampleKind::kClipping,
                                       SampleKind::kCategory};
// Failures shown in full per kind; the rest are only counted.
constexpr int kFailuresShown = 3;

uint64_t EnvNumber(const char* name, uint64_t fallback) {
  const char* text = std::getenv(name);
  return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : fallback;
}

// How many entities of each kind a test tries: the environment's count, else `fallback`, scaled
// by `share` (the store is slower than the XML).
uint64_t Trials(uint64_t fallback, uint64_t share = 1) {
  return std::max<uint64_t>(1, EnvNumber("CLIPCAT_ROUND_TRIPS", fallback) / share);
}
uint64_t FirstSeed() { return EnvNumber("CLIPCAT_ROUND_TRIP_SEED", 1); }

// What `check` says of `sample` once more; a failure that does not recur depends on more than
// the sample's values (the state the earlier trials left).
std::string Recheck(const SampleCheck& check, const Sample& sample) {
  const std::string why = check(sample);
  return why.empty() ? "the failure did not recur when the sample was tried again\n" : why;
}

// Runs `check` for `trials` samples of `kind` from consecutive seeds; a failing one is shrunk and
// reported with its seed. Answers the number of failures.
int CheckSamples(SampleKind kind, SampleUse use, uint64_t trials, const SampleCheck& check) {
  int failures = 0;
  for (uint64_t seed = FirstSeed(); seed < FirstSeed() + trials; ++seed) {
    const Sample sample = GenerateSample(kind, use, seed);
    const std::string why = check(sample);
    if (why.empty()) continue;
    if (++failures > kFailuresShown) continue;
    const Sample smallest = Shrink(sample, check);
    ADD_FAILURE() << KindName(kind) << " with seed " << seed << " (CLIPCAT_ROUND_TRIP_SEED=" << seed
                  << " CLIPCAT_ROUND_TRIPS=1 reproduces it): " << why << "shrunk to:\n"
                  << DescribeSample(smallest) << "where: " << Recheck(check, smallest);
  }
  return failures;
}

// "" when reading back the XML of the entity built from `sample` gives every field again and
// writes the same XML; otherwise what differs.
std::string XmlRoundTrip(SampleKind kind, const Sample& sample) {
  try {
    const BuiltEntity built = BuildEntity(kind, sample);
    const std::string built_difference =
        SampleDifference(sample, ReadEntity(kind, built, SampleUse::kXml));
    if (!built_difference.empty()) return "the entity is not what was set:\n" + built_difference;
    const std::string xml = EntityXml(kind, built);
    const BuiltEntity read = EntityFromXml(kind, xml);
    const std::string difference =
        SampleDifference(sample, ReadEntity(kind, read, SampleUse::kXml));
    if (!difference.empty()) return "read back from " + Printable(xml, 300) + ":\n" + difference;
    const std::string again = EntityXml(kind, read);
    if (again != xml) return "written again as " + Printable(again, 300) + "\n";
    return "";
  } catch (const AutomationError& e) {
    return "raised " + std::to_string(e.number()) + " " + e.description() + "\n";
  }
}

TEST(RoundTrip, EveryEntityReadsBackFromItsXml) {
  const uint64_t trials = Trials(2000);
  for (const SampleKind kind : kAllKinds) {
    SCOPED_TRACE(KindName(kind));
    EXPECT_EQ(CheckSamples(kind, SampleUse::kXml, trials,
                           [&](const Sample& s) { return XmlRoundTrip(kind, s); }),
              0);
  }
  std::printf("%llu entities of each of %zu kinds read back from their XML\n",
              static_cast<unsigned long long>(trials), std::size(kAllKinds));
}

// The sample as the store keeps it: the store writes every text without the spaces around it
// (an automation Trim, spaces alone: tabs and line ends stay), and nothing for a text that is
// then empty, which reads back as "".
Sample StoredForm(Sample sample) {
  for (Field& field : sample) {
    if (field.kind != FieldKind::kText) continue;
    const size_t first = field.text.find_first_not_of(' ');
    field.text = first == std::string::npos
                     ? std::string()
                     : field.text.substr(first, field.text.find_last_not_of(' ') - first + 1);
  }
  return sample;
}

// The sample with its content items sorted by type and content. The store keeps no position for
// an item (a server hands them back in the order the rows lie in its table, which after deletes
// is not the order they were written in), so items are compared as a set.
Sample ItemsSorted(Sample sample) {
  std::vector<std::pair<int64_t, std::string>> items;
  std::vector<size_t> at;
  for (size_t i = 0; i + 1 < sample.size(); ++i) {
    if (sample[i].name.ends_with(".type") && sample[i + 1].kind == FieldKind::kBytes) {
      items.emplace_back(sample[i].number, sample[i + 1].text);
      at.push_back(i);
    }
  }
  std::sort(items.begin(), items.end());
  for (size_t k = 0; k < at.size(); ++k) {
    sample[at[k]].number = items[k].first;
    sample[at[k] + 1].text = items[k].second;
  }
  return sample;
}

// Writes the entity `sample` describes into the catalog, reads it back by its new id and removes
// it again, so that every trial starts from the same catalog.
class StoreRoundTrip {
 public:
  explicit StoreRoundTrip(const std::string& connection_string) {
    access_->SetConnectionString(connection_string);
    root_ = access_->GetPersonalCatalogRootFolder()->ID();
    auto folder = Folder::Create();
    folder->SetName("round trips");
    folder_ = access_->AddFolder(folder, root_, true)->ID();
  }
  ~StoreRoundTrip() { access_->CloseCatalog(); }

  std::string Check(SampleKind kind, const Sample& sample) {
    // The shrinker may empty a content item or zero its type, which the store does not take
    // (empty items are not stored, types are rows of the catalog's table): not a failure.
    for (const Field& field : sample) {
      const bool is_type = field.name.ends_with(".type");
      if ((is_type && (field.number < 1 || field.number > 5)) ||
          (field.kind == FieldKind::kBytes && field.text.empty())) {
        return "";
      }
    }
    try {
      const BuiltEntity built = BuildEntity(kind, sample);
      BuiltEntity read;
      switch (kind) {
        case SampleKind::kFolder: {
          const std::string id = access_->AddFolder(built.folder, folder_, false)->ID();
          read.folder = access_->GetFolder(id);
          access_->DeleteFolder(id, true);
          break;
        }
        case SampleKind::kClipping: {
          const std::string id = access_->AddClipping(built.clipping, folder_)->ID();
          read.clipping = access_->GetClipping(id, true);
          access_->DeleteClipping(id, true);
          break;
        }
        default: {
          const std::string id = access_->AddCategory(built.category, "")->ID();
          read.category = access_->GetCategory(id);
          access_->DeleteCategory(id);
          break;
        }
      }
      const std::string difference = SampleDifference(
          ItemsSorted(StoredForm(sample)), ItemsSorted(ReadEntity(kind, read, SampleUse::kStore)));
      return difference.empty() ? "" : "read back from the catalog:\n" + difference;
    } catch (const AutomationError& e) {
      return "raised " + std::to_string(e.number()) + " (" + e.source() + ") " + e.description() +
             "\n";
    }
  }

 private:
  std::shared_ptr<DataAccess> access_ = DataAccessSQL::Create();
  std::string root_;
  std::string folder_;
};

void CheckStore(const std::string& connection_string, uint64_t trials) {
  StoreRoundTrip store(connection_string);
  for (const SampleKind kind : kStoredKinds) {
    SCOPED_TRACE(KindName(kind));
    EXPECT_EQ(CheckSamples(kind, SampleUse::kStore, trials,
                           [&](const Sample& s) { return store.Check(kind, s); }),
              0);
  }
  std::printf("%llu entities of each of %zu kinds read back from the catalog\n",
              static_cast<unsigned long long>(trials), std::size(kStoredKinds));
}

TEST(RoundTrip, EveryEntityReadsBackFromAFileCatalog) {
  ScratchDir dir;
  const std::string path = dir.File("catalog.db");
  CreateCatalog(path, "Personal");
  CheckStore(FileCatalogConnectionString(path), Trials(2000, 10));
}

TEST(RoundTrip, EveryEntityReadsBackFromAServerCatalog) {
  CLIPCAT_POSTGRES_SERVER_OR_SKIP(server);
  const std::string connection_string = server->ConnectionString(server->CreateDatabase());
  CreateServerCatalog(connection_string, "Personal");
  CheckStore(connection_string, Trials(2000, 20));
}

}  // namespace
}  // namespace clipcat::robustness
