#include "scenario_common.h"

#include <stdexcept>

#include "floor_engine.h"

namespace clipcat_bench {

int64_t Count(const std::string& path, const std::string& sql) {
  FloorDb db(path);
  Statement& s = db.Prepare(sql);
  const int64_t n = s.Step() ? s.ColumnInt(0) : -1;
  s.Reset();
  return n;
}

void RequireSameCount(const std::string& ours_path, const std::string& floor_path,
                      const std::string& sql) {
  const int64_t ours = Count(ours_path, sql);
  const int64_t floor = Count(floor_path, sql);
  if (ours != floor) {
    throw std::runtime_error("ours and the floor differ on \"" + sql +
                             "\": " + std::to_string(ours) + " against " + std::to_string(floor));
  }
}

void Require(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error("ours and the floor differ: " + what);
}

}  // namespace clipcat_bench
