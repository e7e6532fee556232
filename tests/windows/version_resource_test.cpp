#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "velmora/foundation/core_module.h"

namespace velmora {
namespace {

// The version resource of the DLL that this program runs with.
class VersionResource : public ::testing::Test {
 protected:
  void SetUp() override {
    char path[MAX_PATH] = {};
    ASSERT_NE(GetModuleFileNameA(GetModuleHandleA("VelmoraCorex86.dll"), path, MAX_PATH), 0U);
    resource_.resize(GetFileVersionInfoSizeA(path, nullptr));
    ASSERT_FALSE(resource_.empty());
    ASSERT_TRUE(GetFileVersionInfoA(path, 0, static_cast<DWORD>(resource_.size()), &resource_[0]));
  }

  std::string String(const std::string& name) {
    void* value = nullptr;
    UINT length = 0;
    const std::string path = "\\StringFileInfo\\040904b0\\" + name;
    if (!VerQueryValueA(resource_.data(), path.c_str(), &value, &length)) return "missing";
    return static_cast<const char*>(value);
  }

  std::vector<char> resource_;
};

TEST_F(VersionResource, HasAllStrings) {
  EXPECT_EQ(String("FileVersion"), Nx_GetLibVersion());
  EXPECT_EQ(String("ProductVersion"), "4.6.50.9329");
  EXPECT_EQ(String("FileDescription"), "Velmora Core");
  EXPECT_EQ(String("InternalName"), "VelmoraCore");
  EXPECT_EQ(String("OriginalFilename"), "VelmoraCorex86.dll");
}

TEST_F(VersionResource, HasTheNumbersForComparison) {
  void* value = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueA(resource_.data(), "\\", &value, &length));
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
  const DWORD high = 4 << 16 | 6;
  const DWORD low = 50 << 16 | 9329;
  EXPECT_EQ(info->dwFileVersionMS, high);
  EXPECT_EQ(info->dwFileVersionLS, low);
  EXPECT_EQ(info->dwProductVersionMS, high);
  EXPECT_EQ(info->dwProductVersionLS, low);
}

}  // namespace
}  // namespace velmora
