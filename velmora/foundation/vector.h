/// @file
/// A vector that can be shared.
#pragma once

#include <utility>
#include <vector>

#include "velmora/foundation/object_base.h"

namespace velmora {

/// A `std::vector` behind a reference count.
///
/// @threadsafety as the vector inside
template <typename T>
class NxVector : public NxObjectBase {
 public:
  NxVector() = default;
  explicit NxVector(std::vector<T> elements) : elements_(std::move(elements)) {}

  std::vector<T>& GetVector() noexcept { return elements_; }
  const std::vector<T>& GetVector() const noexcept { return elements_; }

 private:
  std::vector<T> elements_;
};

}  // namespace velmora
