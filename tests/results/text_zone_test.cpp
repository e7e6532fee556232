#include "tests/support/test.h"

namespace velmora::intermediate_results {
namespace {

using basic_structures::CCoreModule;
using basic_structures::CQuadrilateral;

const std::vector<int> kIndices = {5, -1, 2147483647};
const CQuadrilateral kPlace{{{1, 2}, {30, 4}, {29, 40}, {3, 39}}, 7};

// Returns the array of the zone.
int* ExpectZone(const CTextZone& zone, const CQuadrilateral& place, const std::vector<int>& want) {
  EXPECT_TRUE(std::equal(place.points, place.points + 4, zone.GetLocation().points));
  int* indices = nullptr;
  int count = -5;
  zone.GetCharContoursIndices(nullptr, &count);
  zone.GetCharContoursIndices(&indices, nullptr);
  EXPECT_TRUE(indices == nullptr && count == -5) << "tells nothing to one pointer";
  zone.GetCharContoursIndices(&indices, &count);
  EXPECT_EQ(std::vector<int>(indices, indices + count), want);
  EXPECT_EQ(indices == nullptr, count == 0);
  return indices;
}

TEST(TextZone, TakesIndicesOnlyWithAPositiveCount) {
  struct Row {
    const char* name;
    const int* indices;
    int count;
    std::vector<int> want;
  };
  for (const Row& row : {Row{"one", kIndices.data(), 1, {5}}, Row{"none", kIndices.data(), 0, {}},
                         Row{"negative", kIndices.data(), -1, {}}, Row{"null", nullptr, 5, {}}}) {
    SCOPED_TRACE(row.name);
    ExpectZone(CTextZone(kPlace, row.indices, row.count), kPlace, row.want);
    CTextZone set(kPlace, kIndices.data(), 2);
    set.SetCharContoursIndices(row.indices, row.count);
    ExpectZone(set, kPlace, row.want);
  }
}

TEST(TextZone, CopiesAreIndependentAndAssignmentLeavesTheOldArrayToItsReader) {
  CTextZone zone(kPlace, kIndices.data(), 3), assigned;
  const CTextZone copy(zone);
  assigned = zone;
  int* const own = ExpectZone(zone, kPlace, kIndices);
  zone.SetLocation(CQuadrilateral());
  zone.SetCharContoursIndices(own + 1, 2);  // a part of its own array
  ExpectZone(zone, CQuadrilateral(), {-1, 2147483647});
  ExpectZone(copy, kPlace, kIndices);
  int* const old = ExpectZone(assigned, kPlace, kIndices);
  assigned = *&assigned;
  ExpectZone(assigned, kPlace, {});
  EXPECT_EQ(*old, 5);
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(old));
}

// The leak checker sees an array that is dropped.
TEST(TextZone, MovesTheArrayItself) {
  static_assert(std::is_nothrow_move_constructible_v<CTextZone>);
  std::vector<CTextZone> zones;
  for (const int count : {1, 2, 3}) zones.emplace_back(kPlace, kIndices.data(), count);
  int* const array = ExpectZone(zones[2], kPlace, kIndices);
  zones.erase(zones.begin());
  std::swap(zones[0], zones[1]);
  EXPECT_EQ(ExpectZone(zones[0], kPlace, kIndices), array);
  ExpectZone(zones[1], kPlace, {5, -1});
  zones[0] = std::move(*&zones[0]);
  zones[1] = CTextZone(std::move(zones[0]));
  ExpectZone(zones[0], kPlace, {});  // NOLINT(bugprone-use-after-move): is left without
  zones[0] = std::move(zones[1]);
  EXPECT_EQ(ExpectZone(zones[0], kPlace, kIndices), array);
}

}  // namespace
}  // namespace velmora::intermediate_results
