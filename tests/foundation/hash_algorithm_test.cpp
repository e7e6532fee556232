#include "velmora/foundation/hash_algorithm.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <string>

#include "velmora/foundation/math.h"

namespace velmora {
namespace {

// The hash in 64 bits, where nothing overflows, cut to 32 bits after each step.
std::uint32_t SlowHash(const std::string& bytes, std::size_t step) {
  std::int64_t hash = 0;
  for (std::size_t i = 0; i < bytes.size(); i += step)
    hash = (hash * 31 + static_cast<signed char>(bytes[i])) & 0xFFFFFFFF;
  return static_cast<std::uint32_t>(hash & 0x7FFFFFFF);
}

std::uint32_t Hash(const std::string& bytes) {
  return NxHashAlgorithm::BKDRHash(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

TEST(HashAlgorithm, SamplesLongInputs) {
  std::string bytes;
  for (int i = 0; i < 70'000; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 256));
  for (const auto& [length, step] :
       {std::pair{5U, 1U}, std::pair{32'767U, 1U}, std::pair{32'768U, 2U}, std::pair{65'535U, 2U},
        std::pair{65'536U, 3U}}) {
    SCOPED_TRACE(length);
    const std::string input = bytes.substr(0, length);
    EXPECT_EQ(Hash(input), SlowHash(input, step));
  }
}

TEST(HashAlgorithm, KnownValues) {
  EXPECT_EQ(Hash("\xFF"), 0x7FFFFFFFU) << "-1 with its top bit cleared";
  EXPECT_EQ(NxHashAlgorithm::BKDRHash(nullptr, 0), 0U);
  EXPECT_EQ(NxHashAlgorithm::Generate_BKDRHash("ab", 2), "BKDR_3105");
  const NxArrayRef<char> text = NxHashAlgorithm::GenerateHash("ab", 2);
  EXPECT_EQ(text->GetCount(), 10U);
  EXPECT_STREQ(text->GetData(), "BKDR_3105");
}

TEST(Sqrt, ReportsADomainErrorOnlyBelowZero) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    const char* name;
    double x, want;
    int error;
  };
  for (const Row& row :
       {Row{"square", 16.0, 4.0, 0}, Row{"negative", -4.0, nan, EDOM}, Row{"zero", 0.0, 0.0, 0},
        Row{"minus zero", -0.0, -0.0, 0}, Row{"NaN", nan, nan, 0},
        Row{"infinity", kInfinity, kInfinity, 0}, Row{"-infinity", -kInfinity, nan, EDOM}}) {
    SCOPED_TRACE(row.name);
    errno = 0;
    const double got = Nc_Sqrt(row.x);
    EXPECT_EQ(errno, row.error);
    EXPECT_EQ(std::isnan(got), std::isnan(row.want));
    if (std::isnan(row.want)) continue;
    EXPECT_EQ(got, row.want);
    EXPECT_EQ(std::signbit(got), std::signbit(row.want));
  }
}

}  // namespace
}  // namespace velmora
