#include "velmora/results/text_zone.h"

#include <gtest/gtest.h>

#include <vector>

#include "velmora/foundation/core_module.h"

namespace velmora::intermediate_results {
namespace {

using basic_structures::CCoreModule;
using basic_structures::CQuadrilateral;

const std::vector<int> kIndices = {5, -1, 2147483647};
const CQuadrilateral kPlace{{{1, 2}, {30, 4}, {29, 40}, {3, 39}}, 7};

int* ArrayOf(const CTextZone& zone) {
  int* indices = nullptr;
  int count = 0;
  zone.GetCharContoursIndices(&indices, &count);
  return indices;
}

void ExpectZone(const CTextZone& zone, const CQuadrilateral& place, const std::vector<int>& want) {
  const CQuadrilateral location = zone.GetLocation();
  EXPECT_TRUE(std::equal(location.points, location.points + 4, place.points));
  EXPECT_EQ(location.id, place.id);
  int* indices = nullptr;
  int count = -5;
  zone.GetCharContoursIndices(nullptr, &count);
  zone.GetCharContoursIndices(&indices, nullptr);
  EXPECT_TRUE(indices == nullptr && count == -5) << "tells nothing to one pointer";
  zone.GetCharContoursIndices(&indices, &count);
  EXPECT_EQ(std::vector<int>(indices, indices + count), want);
  EXPECT_EQ(indices == nullptr, count == 0);
}

TEST(TextZone, TakesIndicesOnlyWithAPositiveCount) {
  ExpectZone(CTextZone(), CQuadrilateral(), {});
  ExpectZone(CTextZone(kPlace), kPlace, {});
  struct Row {
    const char* name;
    const int* indices;
    int count;
    std::vector<int> want;
  };
  for (const Row& row :
       {Row{"all", kIndices.data(), 3, kIndices}, Row{"the first", kIndices.data(), 1, {5}},
        Row{"none", kIndices.data(), 0, {}}, Row{"negative", kIndices.data(), -1, {}},
        Row{"null", nullptr, 5, {}}}) {
    SCOPED_TRACE(row.name);
    ExpectZone(CTextZone(kPlace, row.indices, row.count), kPlace, row.want);
    CTextZone set(kPlace, kIndices.data(), 2);
    set.SetCharContoursIndices(row.indices, row.count);
    ExpectZone(set, kPlace, row.want);
  }
}

TEST(TextZone, CopiesAreIndependent) {
  CTextZone zone(kPlace, kIndices.data(), 3);
  const CTextZone copy(zone);
  zone.SetLocation(CQuadrilateral());
  zone.SetCharContoursIndices(ArrayOf(zone) + 1, 2);  // a part of its own array
  ExpectZone(zone, CQuadrilateral(), {-1, 2147483647});
  ExpectZone(copy, kPlace, kIndices);
}

TEST(TextZone, AssignmentLeavesTheOldArrayToItsReader) {
  const CTextZone source(kPlace, kIndices.data(), 3);
  CTextZone target(CQuadrilateral(), kIndices.data(), 1);
  int* const first = ArrayOf(target);
  target = source;
  EXPECT_EQ(*first, 5);
  ExpectZone(target, kPlace, kIndices);
  int* const second = ArrayOf(target);
  EXPECT_NE(second, ArrayOf(source));
  target = *&target;
  ExpectZone(target, kPlace, {});
  for (int* old : {first, second}) CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(old));
}

}  // namespace
}  // namespace velmora::intermediate_results
