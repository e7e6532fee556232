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

std::vector<int> IndicesOf(const CTextZone& zone) {
  int* indices = nullptr;
  int count = -5;
  zone.GetCharContoursIndices(&indices, &count);
  EXPECT_EQ(indices == nullptr, count == 0);
  return {indices, indices + count};
}

bool IsAt(const CTextZone& zone, const CQuadrilateral& place) {
  const CQuadrilateral location = zone.GetLocation();
  for (int i = 0; i < 4; ++i)
    if (location.points[i] != place.points[i]) return false;
  return location.id == place.id;
}

TEST(TextZone, TakesIndicesOnlyWithAPositiveCount) {
  EXPECT_TRUE(IsAt(CTextZone(), CQuadrilateral()));
  EXPECT_TRUE(IsAt(CTextZone(kPlace), kPlace));
  EXPECT_EQ(IndicesOf(CTextZone(kPlace)), std::vector<int>());
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
    const CTextZone zone(kPlace, row.indices, row.count);
    EXPECT_EQ(IndicesOf(zone), row.want);
    CTextZone set(kPlace, kIndices.data(), 2);
    set.SetCharContoursIndices(row.indices, row.count);
    EXPECT_EQ(IndicesOf(set), row.want);
  }
}

TEST(TextZone, CopiesAreIndependent) {
  CTextZone zone(kPlace, kIndices.data(), 3);
  const CTextZone copy(zone);
  EXPECT_NE(ArrayOf(copy), ArrayOf(zone));
  zone.SetLocation(CQuadrilateral());
  zone.SetCharContoursIndices(ArrayOf(zone) + 1, 2);
  EXPECT_EQ(IndicesOf(zone), (std::vector{-1, 2147483647})) << "given a part of its own array";
  EXPECT_TRUE(IsAt(zone, CQuadrilateral()));
  EXPECT_EQ(IndicesOf(copy), kIndices);
  EXPECT_TRUE(IsAt(copy, kPlace));
}

TEST(TextZone, AssignmentLeavesTheOldArrayToItsReader) {
  const CTextZone source(kPlace, kIndices.data(), 3);
  CTextZone target(CQuadrilateral(), kIndices.data(), 1);
  int* old = ArrayOf(target);
  target = source;
  EXPECT_EQ(*old, 5);
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(old));
  EXPECT_TRUE(IsAt(target, kPlace));
  EXPECT_EQ(IndicesOf(target), kIndices);
  EXPECT_NE(ArrayOf(target), ArrayOf(source));

  old = ArrayOf(target);
  target = *&target;
  EXPECT_EQ(IndicesOf(target), std::vector<int>());
  EXPECT_TRUE(IsAt(target, kPlace));
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(old));
}

TEST(TextZone, TellsNothingToOnePointer) {
  const CTextZone zone(kPlace, kIndices.data(), 3);
  int* indices = nullptr;
  int count = -5;
  zone.GetCharContoursIndices(nullptr, &count);
  zone.GetCharContoursIndices(&indices, nullptr);
  EXPECT_EQ(indices, nullptr);
  EXPECT_EQ(count, -5);
}

}  // namespace
}  // namespace velmora::intermediate_results
