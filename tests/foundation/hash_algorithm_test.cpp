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
    const std::string input = bytes.substr(0, length);
    EXPECT_EQ(Hash(input), SlowHash(input, step)) << length;
  }
}

TEST(HashAlgorithm, KnownValues) {
  EXPECT_EQ(Hash("\xFF"), 0x7FFFFFFFU) << "-1 with its top bit cleared";
  EXPECT_EQ(NxHashAlgorithm::BKDRHash(nullptr, 0), 0U);
  EXPECT_STREQ(NxHashAlgorithm::GenerateHash("ab", 2)->GetData(), "BKDR_3105");
}

TEST(Sqrt, ReportsADomainErrorOnlyBelowZero) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    const char* name;
    double x, want;
    int error;
  };
  for (const Row& row :
       {Row{"square", 16.0, 4.0, 0}, Row{"negative", -4.0, kNaN, EDOM}, Row{"NaN", kNaN, kNaN, 0},
        Row{"minus zero", -0.0, -0.0, 0}, Row{"-infinity", -kInfinity, kNaN, EDOM}}) {
    errno = 0;
    const double got = Nc_Sqrt(row.x);
    EXPECT_EQ(errno, row.error) << row.name;
    // The inverse tells -0 from 0.
    EXPECT_TRUE(std::isnan(row.want) ? std::isnan(got) : 1 / got == 1 / row.want) << row.name;
  }
}

}  // namespace
}  // namespace velmora
