/// @file
/// Regions of an image as observers of the work see them.
#pragma once

#include <cstdint>

#include "velmora/platform/export.h"

namespace velmora::basic_structures {
class CQuadrilateral;
}  // namespace velmora::basic_structures

namespace velmora::intermediate_results {

/// Kind of a region. The modules that produce regions own the numbers; this library knows the ones
/// listed here and passes the others through.
enum RegionObjectElementType : std::int32_t {
  ROET_Default = 0,    ///< what a region is until its producer says otherwise
  ROET_Internal7 = 7,  ///< a region inside the engine, without a public element
  ROET_Internal8 = 8,  ///< a second kind of region without a public element
};

/// Whether regions of a kind exist inside the engine only, so that no other region's element may
/// name them as its reference.
constexpr bool IsWithoutPublicElement(RegionObjectElementType type) noexcept {
  return type == ROET_Internal7 || type == ROET_Internal8;
}

/// The public face of a region: what an observer reads, whichever module found it.
///
/// Implemented by a class that derives from `NxRegionObject` too, whose members of the same meaning
/// answer these operations. Elements are shared: who wants to keep one beyond the life of its unit
/// calls `Retain()` and later `Release()`.
///
/// @threadsafety Retain() and Release() from any thread; setters belong to whoever built the
///               element or cloned it
class VELMORA_EXPORT CRegionObjectElement {
 public:
  CRegionObjectElement() = default;
  CRegionObjectElement(const CRegionObjectElement&) = default;
  CRegionObjectElement& operator=(const CRegionObjectElement&) = default;
  virtual ~CRegionObjectElement();

  /// What the region is, so that the caller knows which class to cast it to.
  virtual RegionObjectElementType GetElementType() const = 0;

  /// Where the region is, in the coordinates of the image that its unit works on.
  virtual basic_structures::CQuadrilateral GetLocation() const = 0;

  /// Moves the region.
  /// @param location  convex; vertices in either direction
  /// @return 0, or -50057 (`EC_QuadrilateralInvalid`) with nothing changed
  virtual int SetLocation(const basic_structures::CQuadrilateral& location) = 0;

  /// The region in which this one was found.
  /// @return borrowed, alive as long as this element; null if there is none, or none with a public
  ///         element
  virtual const CRegionObjectElement* GetReferencedElement() const = 0;

  /// An independent copy with one reference.
  /// @return to be given back with `Release()`
  [[nodiscard]] virtual CRegionObjectElement* Clone() const = 0;

  /// Adds a reference: the element outlives its unit. `const`, since sharing does not change it.
  virtual void Retain() const = 0;

  /// Drops a reference and destroys the element with the last one.
  /// @throws int 4711 if the element is released more often than retained
  virtual void Release() const = 0;
};

/// A region that a first look at the whole image found worth working on.
class VELMORA_EXPORT CPredetectedRegionElement : public CRegionObjectElement {
 public:
  CPredetectedRegionElement() = default;
  CPredetectedRegionElement(const CPredetectedRegionElement&) = default;
  CPredetectedRegionElement& operator=(const CPredetectedRegionElement&) = default;
  ~CPredetectedRegionElement() override;

  /// Name of the detection mode that found the region.
  /// @return never null; alive until the name is set or the element dies
  virtual const char* GetModeName() const = 0;
  /// Copies @p name; null clears it.
  virtual void SetModeName(const char* name) = 0;

  /// How sure the detection is, in percent.
  virtual int GetConfidence() const = 0;
  virtual void SetConfidence(int percent) = 0;
};

/// A region that helps others to be found, for example the frame of a form around its fields.
class VELMORA_EXPORT CAuxiliaryRegionElement : public CRegionObjectElement {
 public:
  CAuxiliaryRegionElement() = default;
  CAuxiliaryRegionElement(const CAuxiliaryRegionElement&) = default;
  CAuxiliaryRegionElement& operator=(const CAuxiliaryRegionElement&) = default;
  ~CAuxiliaryRegionElement() override;

  /// Name by which other tasks ask for the region.
  /// @return never null; alive until the name is set or the element dies
  virtual const char* GetName() const = 0;
  /// Copies @p name; null clears it.
  virtual void SetName(const char* name) = 0;

  /// How sure the detection is, in percent.
  virtual int GetConfidence() const = 0;
  virtual void SetConfidence(int percent) = 0;
};

}  // namespace velmora::intermediate_results
