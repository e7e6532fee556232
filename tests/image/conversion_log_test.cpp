#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora/log/log.h"

namespace velmora {
namespace {

using namespace basic_structures;

// What a conversion of a 2x2 image with rows of 16 bytes writes, without thread and time stamps and
// with the durations as "N".
std::string LoggedBy(LogMode mode, int level, int format, ColourChannelUsageType usage) {
  const testing::TemporaryDirectory directory;
  NxLog& log = NxLog::GetInstance();
  log.InitLogFromSetting(mode, level, (directory / "").c_str());
  const unsigned char bytes[32] = {};
  const CImageData image(32, bytes, nullptr, 2, 2, 16, static_cast<ImagePixelFormat>(format), 0,
                         nullptr);
  const std::unique_ptr<CImageData> result(Nx_ConvertImageData(&image, usage));
  log.InitLogFromSetting(LM_None, 0, "");
  const std::string text = std::regex_replace(testing::ReadFile(directory / "VelmoraScanlyx.log"),
                                              std::regex("\\[TID:[^\\]]*\\][^\\]]*\\]"), "");
  return std::regex_replace(text, std::regex("duration [^\n]*"), "duration N");
}

TEST(ConversionLog, WritesTheStepsOfAConversion) {
  struct Row {
    const char* name;
    int level, format;
    ColourChannelUsageType usage;
    std::string steps;
  };
  for (const Row& row :
       {Row{"formats are at level 9", 9, PXF_Colour8888, CCU_Unrestricted,
            "before convert imagePixelFormat: 7\n\n"
            "FuncStart Nx_ConvertToRGB\n"
            "FuncEnd Nx_ConvertToRGB, duration N\n"
            "after convert imagePixelFormat: 6\n\n"},
        Row{"functions at level 1", 1, PXF_Grayscale8, CCU_Unrestricted,
            "FuncStart Nx_ConvertToGrayscale\n"
            "FuncEnd Nx_ConvertToGrayscale, duration N\n"},
        Row{"a refusal has no end", 1, PXF_Colour161616, CCU_Green,
            "FuncStart Nx_ConvertToGrayscale\n"},
        Row{"to colour neither", 1, -1, CCU_Unrestricted, "FuncStart Nx_ConvertToRGB\n"}}) {
    EXPECT_EQ(
        LoggedBy(LM_Text, row.level, row.format, row.usage),
        "FuncStart Nx_ConvertImageData\n" + row.steps + "FuncEnd Nx_ConvertImageData, duration N\n")
        << row.name;
  }
  EXPECT_EQ(LoggedBy(LM_Image, 9, PXF_Colour8888, CCU_Unrestricted), "");
}

}  // namespace
}  // namespace velmora
