#include "velmora/foundation/error_code.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

namespace velmora {
namespace {

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
    if (text == "Unknown error.") continue;
    table += std::to_string(code) + ' ' + text + '\n';
    ++rows;
  }
  EXPECT_EQ(rows, 63) << "and the row of EC_Unknown";
  EXPECT_EQ(Fnv1a(table), 0xCED897FDAA660F97U) << table;
  for (const int code : {int{EC_Unknown}, 12345, INT_MAX, INT_MIN})
    EXPECT_STREQ(Nc_GetErrorString(code), "Unknown error.") << code;
}

}  // namespace
}  // namespace velmora
