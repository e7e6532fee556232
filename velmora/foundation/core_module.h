/// @file
/// What the library as a module offers: its version and its heap.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

extern "C" {

/// @return the library's version, "major.minor.patch.build"; a constant, never to be freed
/// @threadsafety any thread
VELMORA_EXPORT const char* Nx_GetLibVersion();
}

namespace velmora {
using ::Nx_GetLibVersion;
}  // namespace velmora

namespace velmora::basic_structures {

/// Version and memory of this module. Memory that crosses the module's border is allocated and
/// freed here, so that two C heaps are never mixed.
///
/// @threadsafety any thread
class VELMORA_EXPORT CCoreModule {
 public:
  /// @return the very pointer that `Nx_GetLibVersion()` returns
  static const char* GetVersion() noexcept;

  /// Allocates from this module's C heap. A size of 0 gives a real block too.
  /// @return the block, uninitialised, to be freed with `FreeBytes`; null if there is no memory
  [[nodiscard]] static unsigned char* AllocateBytes(std::uint32_t size) noexcept;

  /// Frees a block of `AllocateBytes` or `Nx_CopyCharArray`; null is accepted. Fits wherever an
  /// image asks for a function that releases its bytes.
  static void FreeBytes(const unsigned char* bytes) noexcept;
};

}  // namespace velmora::basic_structures
