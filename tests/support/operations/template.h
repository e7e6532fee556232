// Any text as a template: made ready with its modules and their settings, and run on a small image,
// or refused with errors that name their place.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "velmora/image/image_data.h"
#include "velmora_capture/capture.h"

namespace velmora::testing {

inline void RunTemplate(const std::uint8_t* bytes, std::size_t size) {
  using namespace capture;
  CaptureOptions options;
  options.threads = 1;
  options.templateName = "T";
  std::vector<TemplateError> errors;
  const std::unique_ptr<Capture> capture =
      Capture::Create(std::string(reinterpret_cast<const char*>(bytes), size), options, errors);
  VELMORA_REQUIRE((capture != nullptr) == errors.empty());
  for (const TemplateError& error : errors) {
    VELMORA_REQUIRE(error.file == "T" && error.line >= 1 && error.column >= 1);
    VELMORA_REQUIRE(!error.message.empty() && error.code != 0);
  }
  if (capture == nullptr) return;
  VELMORA_REQUIRE(capture->GetGraphDot().find("digraph") == 0);

  // Bars, in which the modules find something to measure.
  constexpr int kWidth = 64, kHeight = 24;
  std::vector<unsigned char> pixels;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    pixels.push_back(i % kWidth / 4 % 2 == 0 ? 0xFF : 0x10);
  }
  const basic_structures::CImageData image(pixels.size(), pixels.data(), nullptr, kWidth, kHeight,
                                           kWidth, basic_structures::PXF_Grayscale8, 0, nullptr);
  const NxRef<CaptureResult> result = capture->Read(image);
  VELMORA_REQUIRE(result && result->GetCodeCount() >= 0);
  const CaptureStatistics counts = capture->GetStatistics();
  VELMORA_REQUIRE(counts.offered == 1 && counts.delivered == 1 && counts.queued == 0);
}

}  // namespace velmora::testing
