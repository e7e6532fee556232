// Hashes, roots, arrays, strings and the texts of errors.
#include <cerrno>

#include "tests/support/test.h"

namespace velmora {
namespace {

using basic_structures::CCoreModule;

// The hash in 64 bits, where nothing overflows, cut to 32 bits after each step.
std::uint32_t SlowHash(const std::string& bytes, std::size_t step) {
  std::int64_t hash = 0;
  for (std::size_t i = 0; i < bytes.size(); i += step) {
    hash = (hash * 31 + static_cast<signed char>(bytes[i])) & 0xFFFFFFFF;
  }
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

TEST(Array, OfCharsIsACString) {
  const NxArray<char> array("hello", 4);
  EXPECT_EQ(array.GetCount(), 5U);
  EXPECT_STREQ(array.GetData(), "hell");
  EXPECT_THROW(NxArray<char>("", 0xFFFFFFFFU), std::length_error);
}

TEST(Array, CopiesOrZeroesItsElements) {
  const int values[] = {3, 1, 2};
  NxArray<int> copied(values, 3);
  copied[1] = 7;
  EXPECT_EQ(std::accumulate(copied.begin(), copied.end(), 0), 12);
  const NxArray<int> zeroed(4);
  EXPECT_EQ(std::accumulate(zeroed.begin(), zeroed.end(), 0), 0);
}

TEST(CharArray, CopyReplacesTheOldString) {
  char* text = nullptr;
  Nx_CopyCharArray("first", &text);
  Nx_CopyCharArray("", &text);
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "");
  Nx_CopyCharArray(nullptr, &text);
  EXPECT_STREQ(text, "") << "a null source changes nothing";
  Nx_CopyCharArray("x", nullptr);
  const std::string own = "longer than what a heap writes into a block that it got back";
  Nx_CopyCharArray(own.c_str(), &text);
  Nx_CopyCharArray(text, &text);
  Nx_CopyCharArray(text + 2, &text);
  EXPECT_EQ(text, own.substr(2));
  for (int twice = 0; twice < 2; ++twice) {
    Nx_DeleteCharArray(&text);
    EXPECT_EQ(text, nullptr);
  }
  Nx_DeleteCharArray(nullptr);
}

TEST(CoreModule, FreesWhatItGaveEvenZeroBytes) {
  char* text = nullptr;
  Nx_CopyCharArray("freed through FreeBytes", &text);
  unsigned char* bytes = CCoreModule::AllocateBytes(0);
  ASSERT_NE(bytes, nullptr);
  CCoreModule::FreeBytes(reinterpret_cast<unsigned char*>(text));
  text = reinterpret_cast<char*>(bytes);
  Nx_DeleteCharArray(&text);
  CCoreModule::FreeBytes(nullptr);
}

TEST(CoreModule, HasTheLibrarysVersion) {
  EXPECT_STREQ(CCoreModule::GetVersion(), "4.6.50.9329");
}

TEST(CharArray, CopyStringToBufferFillsAndMayLeaveNoTerminator) {
  struct Row {
    const char* name;
    int size;
    std::string want;  // of a buffer of ten 'x'
  };
  for (const Row& row :
       {Row{"shorter than the string", 4, "abcdxxxxxx"},
        Row{"as long as the string", 6, "abcdefxxxx"},
        Row{"longer", 10, std::string("abcdef\0\0\0\0", 10)}, Row{"negative", -3, "xxxxxxxxxx"}}) {
    SCOPED_TRACE(row.name);
    std::string buffer(10, 'x');
    CopyStringToBuffer("abcdef", buffer.data(), row.size);
    EXPECT_EQ(buffer, row.want);
  }
  CopyStringToBuffer("abc", nullptr, 3);
}

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
  for (const int code : {int{EC_Unknown}, 12345, INT_MAX, INT_MIN}) {
    EXPECT_STREQ(Nc_GetErrorString(code), "Unknown error.") << code;
  }
}

}  // namespace
}  // namespace velmora
