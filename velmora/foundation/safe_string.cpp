#include "velmora/foundation/safe_string.h"

namespace velmora {

NxSafeString::NxSafeString() = default;
NxSafeString::NxSafeString(const NxSafeString&) = default;
NxSafeString::NxSafeString(NxSafeString&&) noexcept = default;
NxSafeString::~NxSafeString() = default;
NxSafeString& NxSafeString::operator=(const NxSafeString&) = default;
NxSafeString& NxSafeString::operator=(NxSafeString&&) noexcept = default;

const std::string& NxSafeString::GetString() const noexcept {
  return text_;
}

void NxSafeString::SetString(const std::string& text) {
  text_ = text;
}

}  // namespace velmora
