/// @file
/// The result of one captured image, as an application sees it.
#pragma once

#include "velmora/platform/export.h"

namespace velmora::basic_structures {

class CImageTag;

/// What all results of one captured image have in common. A product adds the access to its items.
///
/// Implemented by a class that derives from `ResultImpBase` too, whose members of the same meaning
/// answer each of these operations. This library calls none of them.
///
/// @threadsafety read-only once the result has been handed out
class VELMORA_EXPORT CCapturedResultBase {
 protected:
  // The first virtual operation: modules are compiled against the order of this table.
  virtual ~CCapturedResultBase();

 public:
  CCapturedResultBase() = default;
  CCapturedResultBase(const CCapturedResultBase&) = default;
  CCapturedResultBase& operator=(const CCapturedResultBase&) = default;

  /// Hash id of the captured image.
  /// @return never null; alive as long as this result
  virtual const char* GetSourceImageHashId() const = 0;

  /// Where the image came from.
  /// @return borrowed, alive as long as this result; null if the image had no tag
  virtual const CImageTag* GetSourceImageTag() const = 0;

  /// The rotation that was applied to the image, 3x3 and row-major.
  virtual void GetSourceImageRotationMatrix(double matrix[9]) const = 0;

  /// @return an `ErrorCode`; 0 if the whole capture succeeded
  virtual int GetErrorCode() const = 0;

  /// @return the message that belongs to the error code; never null, alive as long as this result
  virtual const char* GetErrorString() const = 0;
};

}  // namespace velmora::basic_structures
