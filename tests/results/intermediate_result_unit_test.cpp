#include "tests/support/test.h"

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

TEST(IntermediateResultUnit, KeepsCopiesOfItsIds) {
  BareUnit unit;
  unit.SetHashId(std::string("BKDR_1").c_str());
  unit.SetOriginalImageHashId("BKDR_2");
  unit.SetHashId(nullptr);
  EXPECT_STREQ(unit.GetHashId(), "BKDR_1");
  EXPECT_STREQ(unit.GetOriginalImageHashId(), "BKDR_2");
  unit.SetHashId(unit.GetHashId() + 5);
  EXPECT_STREQ(unit.GetHashId(), "1") << "a part of the text that is replaced";
}

TEST(IntermediateResultUnit, ASecondTagLeavesTheFirstToItsReader) {
  BareUnit unit;
  const CFileImageTag given("first", 1, 3);
  unit.SetOriginalImageTag(&given);
  const CImageTag* first = unit.GetOriginalImageTag();
  unit.SetOriginalImageTag(nullptr);
  EXPECT_EQ(unit.GetOriginalImageTag(), first);
  unit.SetOriginalImageTag(first);
  EXPECT_NE(unit.GetOriginalImageTag(), first);
  delete first;
  EXPECT_STREQ(dynamic_cast<const CFileImageTag&>(*unit.GetOriginalImageTag()).GetFilePath(),
               "first");
}

void ExpectInverse(const Matrix& a, const Matrix& b) {
  for (std::size_t entry = 0; entry < 9; ++entry) {
    const std::size_t row = entry / 3 * 3, column = entry % 3;
    const double product =
        a[row] * b[column] + a[row + 1] * b[3 + column] + a[row + 2] * b[6 + column];
    EXPECT_NEAR(product, kIdentity[entry], 1e-12);
  }
}

TEST(IntermediateResultUnit, BothDirectionsCancelAndLeaveTheOtherMatrices) {
  std::mt19937 random(20240611);
  std::uniform_real_distribution<double> entry(-4, 4);
  for (int i = 0; i < 600; ++i) {
    SCOPED_TRACE(i);
    Matrix matrix;
    for (double& value : matrix) value = entry(random);
    for (const std::size_t diagonal : {0U, 4U, 8U}) matrix[diagonal] += 13;  // well conditioned
    const int type = i % 6, opposite = type ^ 1;
    BareUnit unit;
    unit.Set(type, matrix);
    ExpectInverse(matrix, unit.Get(opposite));
    ExpectInverse(unit.Get(type), unit.Get(opposite));
    for (int other = 0; other < 6; ++other) {
      EXPECT_EQ(unit.Get(other) == kIdentity, other / 2 != type / 2) << other;
    }
  }
}

TEST(IntermediateResultUnit, SingularMatricesAndUnknownTypesChangeNothing) {
  const Matrix singular = {1, 2, 3, 2, 4, 6, 0, 0, 1};
  const Matrix flat = {1e-200, 0, 0, 0, 1, 0, 0, 0, 1};
  BareUnit unit;
  unit.Set(TMT_LocalToOriginal, singular);
  EXPECT_EQ(unit.Get(TMT_OriginalToLocal), kIdentity);
  unit.Set(TMT_Matrix2, singular);
  EXPECT_EQ(unit.Get(TMT_Matrix2), singular) << "stored as it is";
  EXPECT_EQ(unit.Get(TMT_InverseOfMatrix2), kUntouched);
  unit.Set(TMT_InverseOfMatrix1, flat);
  EXPECT_EQ(unit.Get(TMT_Matrix1)[0], 1e200) << "nearly singular is not singular";
  for (const int type : {6, 7, -1, -2}) {
    unit.Set(type, kUntouched);
    EXPECT_EQ(unit.Get(type), kUntouched) << type;
  }
}

}  // namespace
}  // namespace velmora::intermediate_results
