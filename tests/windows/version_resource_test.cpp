#include <windows.h>

#include "tests/support/test.h"

namespace velmora {
namespace {

// The version resource of the DLL that this program runs with.
TEST(VersionResource, HasTheVersionAsStringsAndNumbers) {
  char path[MAX_PATH] = {};
  ASSERT_NE(GetModuleFileNameA(GetModuleHandleA("VelmoraCorex86.dll"), path, MAX_PATH), 0U);
  std::vector<char> resource(GetFileVersionInfoSizeA(path, nullptr));
  ASSERT_TRUE(GetFileVersionInfoA(path, 0, static_cast<DWORD>(resource.size()), resource.data()));
  void* value = nullptr;
  UINT length = 0;
  const auto find = [&](const std::string& name) {
    return VerQueryValueA(resource.data(), name.c_str(), &value, &length) != 0;
  };
  const std::pair<std::string, std::string> strings[] = {
      {"FileVersion", Nx_GetLibVersion()},        {"ProductVersion", "4.6.50.9329"},
      {"FileDescription", "Velmora Core"},        {"InternalName", "VelmoraCore"},
      {"OriginalFilename", "VelmoraCorex86.dll"},
  };
  for (const auto& [name, want] : strings) {
    ASSERT_TRUE(find("\\StringFileInfo\\040904b0\\" + name)) << name;
    EXPECT_EQ(static_cast<const char*>(value), want) << name;
  }
  ASSERT_TRUE(find("\\"));
  const auto* info = static_cast<const VS_FIXEDFILEINFO*>(value);
  EXPECT_EQ(info->dwFileVersionMS, 4U << 16 | 6U);
  EXPECT_EQ(info->dwFileVersionLS, 50U << 16 | 9329U);
  EXPECT_EQ(info->dwProductVersionMS, info->dwFileVersionMS);
  EXPECT_EQ(info->dwProductVersionLS, info->dwFileVersionLS);
}

}  // namespace
}  // namespace velmora
