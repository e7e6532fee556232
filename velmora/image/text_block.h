/// @file
/// A block of text located on a page.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "velmora/foundation/object_base.h"
#include "velmora/geometry/point.h"
#include "velmora/platform/export.h"

namespace velmora {

/// One block of text on a page of a PDF file, as the page reader found it.
///
/// @threadsafety as a plain value
class VELMORA_EXPORT TextBlock : public NxObjectBase {
 public:
  using Corners = std::array<basic_structures::NxPoint_<int>, 4>;

  /// Corners (0, 0), numbers 0, no text.
  TextBlock();
  TextBlock(const TextBlock&);
  TextBlock(TextBlock&&);
  ~TextBlock() override;
  TextBlock& operator=(const TextBlock&);
  TextBlock& operator=(TextBlock&&);

  /// The corners of the block, in pixels of the page image.
  const Corners& GetLocation() const noexcept { return location_; }
  void SetLocation(const Corners& corners) { location_ = corners; }

  /// Two numbers of the page reader's own; kept and copied here, not interpreted.
  int GetFirstReaderNumber() const noexcept { return firstReaderNumber_; }
  void SetFirstReaderNumber(int number) noexcept { firstReaderNumber_ = number; }
  int GetSecondReaderNumber() const noexcept { return secondReaderNumber_; }
  void SetSecondReaderNumber(int number) noexcept { secondReaderNumber_ = number; }

  /// NUL-terminated; valid until the text is set or the block dies.
  const char* GetText() const noexcept { return text_.c_str(); }
  /// Replaces the text up to the NUL; null clears it.
  void SetText(const char* text) { text_.assign(text != nullptr ? text : ""); }

 private:
  Corners location_;
  std::int32_t firstReaderNumber_ = 0;
  std::int32_t secondReaderNumber_ = 0;
  std::string text_;
};

}  // namespace velmora
