/// @file
/// Units that publish an image: the original on its way through the steps of preparation.
#pragma once

#include "velmora/platform/export.h"
#include "velmora/results/intermediate_result_unit.h"

namespace velmora::basic_structures {
class CImageData;
}  // namespace velmora::basic_structures

namespace velmora::intermediate_results {

// Each class adds the same two operations to those of the base. They are repeated rather than
// inherited: every class stands for itself, and a cast to one never finds another.

/// The colour image that the work starts from.
class VELMORA_EXPORT CColourImageUnit : public CIntermediateResultUnit {
 public:
  ~CColourImageUnit() override;

  /// @return borrowed, alive until the image is set or the unit dies; null if there is none
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  /// Copies @p image into the unit: what later stages go on with.
  /// @return 0, or an `ErrorCode` with nothing changed: -10002 (`EC_NullPointer`), -10070
  ///         (`EC_ImageSizeNotMet`), -10071 (`EC_ImagePixelFormatNotMet`)
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The colour image, scaled down to the size that the work needs.
class VELMORA_EXPORT CScaledColourImageUnit : public CIntermediateResultUnit {
 public:
  ~CScaledColourImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The image as 8-bit luminance.
class VELMORA_EXPORT CGrayscaleImageUnit : public CIntermediateResultUnit {
 public:
  ~CGrayscaleImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The grayscale image after transforms such as inversion.
class VELMORA_EXPORT CTransformedGrayscaleImageUnit : public CIntermediateResultUnit {
 public:
  ~CTransformedGrayscaleImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The grayscale image after enhancement such as sharpening or levelling.
class VELMORA_EXPORT CEnhancedGrayscaleImageUnit : public CIntermediateResultUnit {
 public:
  ~CEnhancedGrayscaleImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The image in black and white.
class VELMORA_EXPORT CBinaryImageUnit : public CIntermediateResultUnit {
 public:
  ~CBinaryImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The grayscale image without its background texture.
class VELMORA_EXPORT CTextureRemovedGrayscaleImageUnit : public CIntermediateResultUnit {
 public:
  ~CTextureRemovedGrayscaleImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The black-and-white image without its background texture.
class VELMORA_EXPORT CTextureRemovedBinaryImageUnit : public CIntermediateResultUnit {
 public:
  ~CTextureRemovedBinaryImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

/// The black-and-white image without its text, as a finder of lines and codes wants it.
class VELMORA_EXPORT CTextRemovedBinaryImageUnit : public CIntermediateResultUnit {
 public:
  ~CTextRemovedBinaryImageUnit() override;

  /// As in `CColourImageUnit`.
  virtual const basic_structures::CImageData* GetImageData() const = 0;
  virtual int SetImageData(const basic_structures::CImageData* image) = 0;
};

}  // namespace velmora::intermediate_results
