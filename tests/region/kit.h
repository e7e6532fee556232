// What the tests of this room share. The concrete region and unit are those of the example for
// module authors.
#pragma once

#include <string>

#include "tests/support/temporary_directory.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/log/log.h"

namespace velmora::testing {

// The hash id of a picture depends on its bytes alone, so few of them do for any size.
inline NxRef<NxImageData> MakeImage(const std::string& bytes, int width, int height,
                                    const basic_structures::CImageTag* tag = nullptr) {
  return new NxImageData(bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()), width,
                         height, width, basic_structures::PXF_Grayscale8, 0, tag);
}

// Turns the log of the process on, and off again.
class ScopedLog {
 public:
  ScopedLog(LogMode mode, int level) {
    NxLog::GetInstance().InitLogFromSetting(mode, level, (directory_ / "").c_str());
  }
  ~ScopedLog() { NxLog::GetInstance().InitLogFromSetting(LM_None, 0, ""); }
  ScopedLog(const ScopedLog&) = delete;
  ScopedLog& operator=(const ScopedLog&) = delete;

  std::string Text() const { return ReadFile(directory_ / "VelmoraScanlyx.log"); }

 private:
  TemporaryDirectory directory_;
};

}  // namespace velmora::testing
