#include "velmora/results/intermediate_result_unit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <string>

#include "velmora/image/image_tag.h"

namespace velmora::intermediate_results {
namespace {

using basic_structures::CFileImageTag;
using basic_structures::CImageTag;

using Matrix = std::array<double, 9>;
constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr Matrix kUntouched = {-7, -7, -7, -7, -7, -7, -7, -7, -7};

// Only what the base class does is of interest here.
class BareUnit final : public CIntermediateResultUnit {
 public:
  IntermediateResultUnitType GetUnitType() const override { return IRUT_None; }
  CIntermediateResultUnit* Clone() const override { return nullptr; }
  int Replace(const CIntermediateResultUnit*) override { return 0; }
  void Retain() const override {}
  void Release() const override {}

  void Set(int type, const Matrix& matrix) {
    SetTransformMatrix(static_cast<TransformMatrixType>(type), matrix.data());
  }
  Matrix Get(int type) const {
    Matrix matrix = kUntouched;
    GetTransformMatrix(static_cast<TransformMatrixType>(type), matrix.data());
    return matrix;
  }
};

Matrix Product(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      for (std::size_t i = 0; i < 3; ++i)
        product[3 * row + column] += a[3 * row + i] * b[3 * i + column];
  return product;
}

double Distance(const Matrix& a, const Matrix& b) {
  double distance = 0;
  for (std::size_t i = 0; i < 9; ++i) distance = std::fmax(distance, std::abs(a[i] - b[i]));
  return distance;
}

TEST(IntermediateResultUnit, StartsBareWithIdentitiesAndOneUser) {
  BareUnit unit;
  EXPECT_EQ(unit.GetHashId(), nullptr);
  EXPECT_EQ(unit.GetOriginalImageHashId(), nullptr);
  EXPECT_EQ(unit.GetOriginalImageTag(), nullptr);
  for (int type = 0; type < 6; ++type) EXPECT_EQ(unit.Get(type), kIdentity) << type;
  EXPECT_EQ(unit.GetUsageCount(), 1);
  unit.SetUsageCount(3);
  EXPECT_EQ(unit.GetUsageCount(), 3);
}

TEST(IntermediateResultUnit, KeepsCopiesOfItsIds) {
  BareUnit unit;
  std::string text = "BKDR_1";
  unit.SetHashId(text.c_str());
  unit.SetOriginalImageHashId("BKDR_2");
  text[0] = 'x';
  unit.SetHashId(nullptr);
  unit.SetOriginalImageHashId(nullptr);
  EXPECT_STREQ(unit.GetHashId(), "BKDR_1");
  EXPECT_STREQ(unit.GetOriginalImageHashId(), "BKDR_2");
  unit.SetHashId(unit.GetHashId() + 5);
  EXPECT_STREQ(unit.GetHashId(), "1") << "a part of the text that is replaced";
  unit.SetHashId("");
  EXPECT_STREQ(unit.GetHashId(), "");
}

TEST(IntermediateResultUnit, ASecondTagLeavesTheFirstToItsReader) {
  BareUnit unit;
  const CFileImageTag given("first", 1, 3);
  unit.SetOriginalImageTag(&given);
  const CImageTag* first = unit.GetOriginalImageTag();
  EXPECT_NE(first, &given);
  unit.SetOriginalImageTag(nullptr);
  EXPECT_EQ(unit.GetOriginalImageTag(), first);
  unit.SetOriginalImageTag(first);
  EXPECT_NE(unit.GetOriginalImageTag(), first);
  EXPECT_STREQ(dynamic_cast<const CFileImageTag&>(*first).GetFilePath(), "first");
  delete first;
  EXPECT_STREQ(dynamic_cast<const CFileImageTag&>(*unit.GetOriginalImageTag()).GetFilePath(),
               "first");
}

// Computed by hand; the determinant is 1, so that every entry is exact.
TEST(IntermediateResultUnit, InvertsByTheAdjugate) {
  const Matrix matrix = {1, 2, 3, 0, 1, 4, 5, 6, 0};
  const Matrix inverse = {-24, 18, 5, 20, -15, -4, -5, 4, 1};
  for (int k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    BareUnit unit;
    unit.Set(2 * k, matrix);
    EXPECT_EQ(unit.Get(2 * k), matrix);
    EXPECT_EQ(unit.Get(2 * k + 1), inverse);
    unit.Set(2 * k + 1, matrix);
    EXPECT_EQ(unit.Get(2 * k), inverse);
    EXPECT_EQ(unit.Get(2 * k + 1), matrix);
    for (int other = 0; other < 6; ++other) {
      if (other / 2 != k) {
        EXPECT_EQ(unit.Get(other), kIdentity) << other;
      }
    }
  }
}

TEST(IntermediateResultUnit, BothDirectionsCancel) {
  std::mt19937 random(20240611);
  std::uniform_real_distribution<double> entry(-4, 4);
  for (int i = 0; i < 500; ++i) {
    SCOPED_TRACE(i);
    Matrix matrix;
    for (double& value : matrix) value = entry(random);
    for (const std::size_t diagonal : {0U, 4U, 8U}) matrix[diagonal] += 13;  // well conditioned
    BareUnit unit;
    unit.Set(i % 6, matrix);
    EXPECT_LT(Distance(Product(unit.Get(i % 6), unit.Get(i % 6 ^ 1)), kIdentity), 1e-12);
    EXPECT_LT(Distance(unit.Get(i % 6), matrix), 1e-12);
  }
}

TEST(IntermediateResultUnit, SingularMatricesAndUnknownTypesChangeNothing) {
  const Matrix singular = {1, 2, 3, 2, 4, 6, 0, 0, 1};
  const Matrix scale = {2, 0, 0, 0, 2, 0, 0, 0, 1};
  BareUnit unit;
  unit.Set(TMT_OriginalToLocal, scale);
  unit.Set(TMT_LocalToOriginal, singular);
  EXPECT_EQ(unit.Get(TMT_OriginalToLocal), scale);
  unit.Set(TMT_Matrix2, singular);
  EXPECT_EQ(unit.Get(TMT_Matrix2), singular) << "stored as it is";
  EXPECT_EQ(unit.Get(TMT_InverseOfMatrix2), kUntouched);
  for (const int type : {6, 7, -1, -2}) {
    SCOPED_TRACE(type);
    unit.Set(type, kUntouched);
    EXPECT_EQ(unit.Get(type), kUntouched);
  }
  EXPECT_EQ(unit.Get(TMT_Matrix1), kIdentity);

  // Nearly singular is not singular.
  const Matrix flat = {1e-200, 0, 0, 0, 1, 0, 0, 0, 1};
  unit.Set(TMT_InverseOfMatrix1, flat);
  EXPECT_EQ(unit.Get(TMT_Matrix1)[0], 1e200);
}

}  // namespace
}  // namespace velmora::intermediate_results
