/// @file
/// A string that is filled inside this module and read by a client.
#pragma once

#include <string>

#include "velmora/platform/export.h"

namespace velmora {

/// Holds one `std::string` and nothing else; despite the name it has no lock.
///
/// Its text is allocated and freed inside this module, whoever owns the object.
///
/// @threadsafety as a `std::string`
class VELMORA_EXPORT NxSafeString {
 public:
  NxSafeString();
  NxSafeString(const NxSafeString&);
  NxSafeString(NxSafeString&&) noexcept;
  ~NxSafeString();
  NxSafeString& operator=(const NxSafeString&);
  NxSafeString& operator=(NxSafeString&&) noexcept;

  const std::string& GetString() const noexcept;
  void SetString(const std::string& text);

 private:
  std::string text_;
};

}  // namespace velmora
