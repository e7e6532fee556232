#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora/log/log.h"

namespace velmora {
namespace {

using basic_structures::CImageData;
using basic_structures::ImagePixelFormat;

// What a conversion of a 2x2 image with rows of 16 bytes writes, without thread and time stamps and
// with the durations as "N".
std::string LoggedBy(LogMode mode, int level, ImagePixelFormat format,
                     basic_structures::ColourChannelUsageType usage) {
  const testing::TemporaryDirectory directory;
  NxLog& log = NxLog::GetInstance();
  log.InitLogFromSetting(mode, level, (directory / "").c_str());
  const unsigned char bytes[32] = {};
  const CImageData image(32, bytes, nullptr, 2, 2, 16, format, 0, nullptr);
  const std::unique_ptr<CImageData> result(Nx_ConvertImageData(&image, usage));
  log.InitLogFromSetting(LM_None, 0, "");
  std::istringstream text(testing::ReadFile(directory / "VelmoraScanlyx.log"));
  std::string bare;
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("[TID:", 0) == 0) line.erase(0, line.find(']', line.find(']') + 1) + 1);
    const std::size_t duration = line.find("duration ");
    if (duration != std::string::npos) line.replace(duration + 9, std::string::npos, "N");
    bare += line + '\n';
  }
  return bare;
}

TEST(ConversionLog, WritesTheStepsOfAConversion) {
  using namespace basic_structures;
  EXPECT_EQ(LoggedBy(LM_Text, 9, PXF_Colour8888, CCU_Unrestricted),
            "FuncStart Nx_ConvertImageData\n"
            "before convert imagePixelFormat: 7\n\n"
            "FuncStart Nx_ConvertToRGB\n"
            "FuncEnd Nx_ConvertToRGB, duration N\n"
            "after convert imagePixelFormat: 6\n\n"
            "FuncEnd Nx_ConvertImageData, duration N\n");
  EXPECT_EQ(LoggedBy(LM_Text, 1, PXF_Grayscale8, CCU_Unrestricted),
            "FuncStart Nx_ConvertImageData\n"
            "FuncStart Nx_ConvertToGrayscale\n"
            "FuncEnd Nx_ConvertToGrayscale, duration N\n"
            "FuncEnd Nx_ConvertImageData, duration N\n");
  EXPECT_EQ(LoggedBy(LM_Image, 9, PXF_Colour8888, CCU_Unrestricted), "");
}

TEST(ConversionLog, EarlyReturnsHaveNoEndLine) {
  using namespace basic_structures;
  EXPECT_EQ(LoggedBy(LM_Text, 1, PXF_Colour161616, CCU_Green),
            "FuncStart Nx_ConvertImageData\n"
            "FuncStart Nx_ConvertToGrayscale\n"
            "FuncEnd Nx_ConvertImageData, duration N\n")
      << "a refusal of the converter";
  EXPECT_EQ(LoggedBy(LM_Text, 1, static_cast<ImagePixelFormat>(-1), CCU_Unrestricted),
            "FuncStart Nx_ConvertImageData\n"
            "FuncStart Nx_ConvertToRGB\n"
            "FuncEnd Nx_ConvertImageData, duration N\n");
}

}  // namespace
}  // namespace velmora
