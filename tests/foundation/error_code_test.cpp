#include "velmora/foundation/error_code.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

namespace velmora {
namespace {

constexpr char kUnknown[] = "Unknown error.";

std::uint64_t Fnv1a(const std::string& text) {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return hash;
}

// Applications show, compare and translate these texts: none may change, appear or vanish. The
// digest is that of the published table, its rows by falling code.
TEST(ErrorString, TheTableStandsAsPublished) {
  std::string table;
  int rows = 0;
  for (int code = 10; code >= -100'000; --code) {
    const std::string text = Nc_GetErrorString(code);
    if (text == kUnknown) continue;
    table += std::to_string(code) + ' ' + text + '\n';
    ++rows;
  }
  EXPECT_EQ(rows, 63) << "and the row of EC_Unknown";
  EXPECT_EQ(Fnv1a(table), 0xCED897FDAA660F97U) << table;
}

TEST(ErrorString, AnswersEnumeratorsGapsAndStrangers) {
  EXPECT_STREQ(Nc_GetErrorString(EC_Ok), "Successful.");
  EXPECT_STREQ(Nc_GetErrorString(EC_Timeout), "Operation timeout.");
  EXPECT_STREQ(Nc_GetErrorString(EC_JsonNameKeyMissing), "The mandatory key \"Name\" is missing.");
  EXPECT_STREQ(Nc_GetErrorString(EC_QuadrilateralInvalid), "The quadrilateral is invalid.");
  for (const int code : {int{EC_Unknown}, -10009, 12345, INT_MAX, INT_MIN}) {
    EXPECT_STREQ(Nc_GetErrorString(code), kUnknown) << code;
  }
}

}  // namespace
}  // namespace velmora
