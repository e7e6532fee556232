/// @file
/// Units that publish what was found in an image: texture, contours, lines, text and regions.
#pragma once

#include "velmora/platform/export.h"
#include "velmora/results/intermediate_result_unit.h"

namespace velmora::basic_structures {
class CContour;
class CLineSegment;
struct CVector4;
}  // namespace velmora::basic_structures

namespace velmora::intermediate_results {

class CPredetectedRegionElement;
class CTextZone;

// The lists below share one shape. Positions are in the coordinates of the image that the unit
// works on. An index counts from 0; what changes a list gives -10008 (`EC_IndexInvalid`) for one
// that is out of range and -10002 (`EC_NullPointer`) for a null argument.

/// The outlines of the shapes in a binary image.
class VELMORA_EXPORT CContoursUnit : public CIntermediateResultUnit {
 public:
  ~CContoursUnit() override;

  /// Tells where the contours and their hierarchy are; null pointers are passed over.
  /// @param contours     gets @p count contours, valid until they are set or the unit dies
  /// @param hierarchies  gets as many {next, previous, first child, parent} indices, -1 for none
  virtual void GetContours(const basic_structures::CContour** contours,
                           const basic_structures::CVector4** hierarchies, int* count) const = 0;
  /// Copies @p count contours and their hierarchy.
  /// @return 0, or an `ErrorCode` with nothing changed
  virtual int SetContours(const basic_structures::CContour* contours,
                          const basic_structures::CVector4* hierarchies, int count) = 0;
};

/// The stripes of background texture in an image.
class VELMORA_EXPORT CTextureDetectionResultUnit : public CIntermediateResultUnit {
 public:
  ~CTextureDetectionResultUnit() override;

  /// Distance of the stripes along x, in pixels; 0 for none.
  virtual int GetSpacingX() const = 0;
  virtual void SetSpacingX(int pixels) = 0;
  /// Distance of the stripes along y, in pixels; 0 for none.
  virtual int GetSpacingY() const = 0;
  virtual void SetSpacingY(int pixels) = 0;
};

/// The regions that a first look at the whole image found worth working on.
class VELMORA_EXPORT CPredetectedRegionsUnit : public CIntermediateResultUnit {
 public:
  ~CPredetectedRegionsUnit() override;

  /// Number of regions.
  virtual int GetCount() const = 0;
  /// @return borrowed, valid until the list changes; null if there is no such region
  virtual const CPredetectedRegionElement* GetPredetectedRegion(int index) const = 0;
  /// Appends a clone. @return 0, or an `ErrorCode` with nothing changed
  virtual int AddPredetectedRegion(const CPredetectedRegionElement* region) = 0;
  /// Stores a clone in place of the region at @p index. @return 0, or an `ErrorCode`
  virtual int SetPredetectedRegion(int index, const CPredetectedRegionElement* region) = 0;
  /// The regions behind it move up one place. @return 0, or an `ErrorCode`
  virtual int RemovePredetectedRegion(int index) = 0;
  virtual void RemoveAllPredetectedRegions() = 0;
};

/// The places where text was found.
class VELMORA_EXPORT CTextZonesUnit : public CIntermediateResultUnit {
 public:
  ~CTextZonesUnit() override;

  /// Number of zones.
  virtual int GetCount() const = 0;
  /// @return borrowed, valid until the list changes; null if there is no such zone
  virtual const CTextZone* GetTextZone(int index) const = 0;
  /// Appends a copy. @return 0, or an `ErrorCode` with nothing changed
  virtual int AddTextZone(const CTextZone* textZone) = 0;
  /// Stores a copy in place of the zone at @p index. @return 0, or an `ErrorCode`
  virtual int SetTextZone(int index, const CTextZone* textZone) = 0;
  /// The zones behind it move up one place. @return 0, or an `ErrorCode`
  virtual int RemoveTextZone(int index) = 0;
  virtual void RemoveAllTextZones() = 0;
};

/// The straight lines in an image.
class VELMORA_EXPORT CLineSegmentsUnit : public CIntermediateResultUnit {
 public:
  ~CLineSegmentsUnit() override;

  /// Number of lines.
  virtual int GetCount() const = 0;
  /// @return borrowed, valid until the list changes; null if there is no such line
  virtual const basic_structures::CLineSegment* GetLineSegment(int index) const = 0;
  /// Appends a copy. @return 0, or an `ErrorCode` with nothing changed
  virtual int AddLineSegment(const basic_structures::CLineSegment* line) = 0;
  /// Stores a copy in place of the line at @p index. @return 0, or an `ErrorCode`
  virtual int SetLineSegment(int index, const basic_structures::CLineSegment* line) = 0;
  /// The lines behind it move up one place. @return 0, or an `ErrorCode`
  virtual int RemoveLineSegment(int index) = 0;
  virtual void RemoveAllLineSegments() = 0;
};

/// The short straight pieces from which longer lines are put together.
class VELMORA_EXPORT CShortLinesUnit : public CIntermediateResultUnit {
 public:
  ~CShortLinesUnit() override;

  /// Number of lines.
  virtual int GetCount() const = 0;
  /// @return borrowed, valid until the list changes; null if there is no such line
  virtual const basic_structures::CLineSegment* GetShortLine(int index) const = 0;
  /// Appends a copy. @return 0, or an `ErrorCode` with nothing changed
  virtual int AddShortLine(const basic_structures::CLineSegment* line) = 0;
  /// Stores a copy in place of the line at @p index. @return 0, or an `ErrorCode`
  virtual int SetShortLine(int index, const basic_structures::CLineSegment* line) = 0;
  /// The lines behind it move up one place. @return 0, or an `ErrorCode`
  virtual int RemoveShortLine(int index) = 0;
  virtual void RemoveAllShortLines() = 0;
};

}  // namespace velmora::intermediate_results
