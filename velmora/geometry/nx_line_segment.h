/// @file
/// The working forms of a line segment: measuring, moving, rotating, rasterising.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/geometry/line_segment.h"
#include "velmora/geometry/point.h"
#include "velmora/platform/export.h"

namespace velmora {

/// A direction angle is reduced modulo this many degrees: 180 takes away the sense of a direction,
/// 90 also which of two perpendicular lines is meant.
enum Nx_Angle_Domain : std::int32_t {
  AD_90 = 90,
  AD_180 = 180,
  AD_360 = 360,
};

/// A point of a segment by its place on it.
enum Nx_LS_Point_Alignment : std::int32_t {
  LSPA_START = 0,
  LSPA_END = 1,
  LSPA_MIDDLE = 2,
};

/// To which side a segment moves: the side that `CalcPointPositionStatus` calls by the same value.
enum Nx_LS_Translating_Direction : std::int32_t {
  LSTD_RIGHT = 1,  ///< right-hand side on the image, seen from start to end
  LSTD_LEFT = 3,   ///< left-hand side
};

/// What the amount of `StretchLength` means.
enum Nx_LS_Length_Transform_Mode : std::int32_t {
  LSLTM_ADD = 0,       ///< pixels to add to the length
  LSLTM_MULTIPLY = 1,  ///< factor of the length
};

/// On which side of a directed line a point lies. The interior of a clockwise quadrilateral is on
/// the right of each edge.
///
///     start ------> end
///            right
enum Nx_LS_Point_Position_Relation : std::int32_t {
  LSPPR_ON_LINE = 0,
  LSPPR_RIGHT = 1,
  LSPPR_LEFT = 3,
};

enum Nx_LS_Line_Direction_Status : std::int32_t {
  LSLDS_FLAT = 0,   ///< 45 degrees or less from the x axis
  LSLDS_STEEP = 1,  ///< steeper
};

enum Nx_Coordinates_Axis : std::int32_t {
  CA_X = 0,
  CA_Y = 1,
};

/// Which pixels of a segment are listed.
enum Nx_Pixelate_Mode : std::int32_t {
  PXM_SAMPLED = 0,  ///< one every few pixels
  PXM_CHAIN = 1,    ///< all, each beside or below the one before: no diagonal steps
};

/// A segment that can be shared. @threadsafety as a plain value
class VELMORA_EXPORT Nx_LineSegment : public basic_structures::CLineSegment, public NxObjectBase {
 public:
  Nx_LineSegment() = default;
  Nx_LineSegment(const NxPoint_<int>& start, const NxPoint_<int>& end, std::int32_t id = -1)
      : CLineSegment(start, end, id) {}

 protected:
  Nx_LineSegment(InPlace, const NxPoint_<int>& start, const NxPoint_<int>& end)
      : CLineSegment(InPlace::kEnds, start, end) {}
};

/// A segment that remembers what was computed from its ends.
///
/// Midpoint, length, pixel length, angle and line equation are computed when they are first asked
/// for. A change of the ends forgets exactly what it invalidates: a translation keeps length and
/// angle, a rotation the length, anything else nothing.
///
/// Directions are whole degrees, 0 to 359, clockwise on the image from the +x axis. "Rounded" means
/// to the nearest int, halves away from zero. Ends may lie anywhere in the range of an int; a
/// result that does not fit wraps or, where it was computed in floating point, is the most negative
/// int.
///
/// @threadsafety one thread at a time, readers included: reading fills the caches
class VELMORA_EXPORT Nx_LineSegmentEnhanced : public Nx_LineSegment {
 public:
  Nx_LineSegmentEnhanced() = default;
  Nx_LineSegmentEnhanced(const NxPoint_<int>& start, const NxPoint_<int>& end)
      : Nx_LineSegment(InPlace::kEnds, start, end) {}
  explicit Nx_LineSegmentEnhanced(const Nx_LineSegment& segment) : Nx_LineSegment(segment) {}

  /// The segment from @p start in the direction @p angle; the end is rounded. `GetAngle` and
  /// `GetRealLength` go on to answer with the two arguments, not with what the rounded segment
  /// has; the angle is not reduced to 0..359.
  Nx_LineSegmentEnhanced(const NxPoint_<int>& start, int angle, int length);

  void SetVertices(const NxPoint_<int>& start, const NxPoint_<int>& end);
  void SetVertices(const NxPoint_<int>* two);  ///< start, then end

  /// Forgets the pixel length, the midpoint and whatever else is chosen.
  void InitEnhanced(bool clearLength, bool clearAngle, bool clearEquation);

  void GetVertices(NxPoint_<int>* out) const;  ///< @param out receives start and end
  /// Start, end or midpoint; any other alignment leaves @p out alone.
  void GetVertex(NxPoint_<int>& out, Nx_LS_Point_Alignment which) const;

  /// Whether an end has x outside 0..width-1 or y outside 0..height-1.
  bool IsOutOfBounds(int width, int height) const;

  /// Halfway between the ends, rounded toward minus infinity.
  const NxPoint_<int>& GetMidPoint() const { return CalcMiddlePointCoord(); }
  const NxPoint_<int>& CalcMiddlePointCoord() const;

  float GetRealLength() const;  ///< Euclidean
  int GetPixelLength() const;   ///< pixels along the longer axis, both ends counted

  /// The direction modulo the domain's value, which must not be 0.
  int GetAngle(Nx_Angle_Domain domain) const { return CalcAngle() % domain; }
  int CalcAngle() const;  ///< 0 for a zero-length segment

  Nx_LS_Line_Direction_Status GetLineDirectionStatus() const;

  /// Fills the cached equation a*x + b*y + c = 0, scaled so that b is 1, 0 or -1 (and a is 1 or -1
  /// if b is 0). All three are 0 for a zero-length segment.
  void CalcEquation() const;
  /// @param coefficients receives a, b and c
  void GetLineEquation(float* coefficients) const;
  /// The line as `coordinate = slope * otherCoordinate + intercept`.
  /// @param axis the coordinate that the formula yields: CA_Y for y = slope * x + intercept
  /// @return false if the line runs along that axis (a divisor below 0.001): both results are the
  ///         largest float then; any other axis value is false too and leaves them alone
  bool GetLineEquation(Nx_Coordinates_Axis axis, float& slope, float& intercept) const;

  /// Where the line meets a row or column; the largest float if it runs along it (a divisor below
  /// 0.001).
  /// @param isValid receives whether it meets it
  float CalcX(int y) const;
  float CalcX(int y, bool& isValid) const;
  float CalcY(int x) const;
  float CalcY(int x, bool& isValid) const;

  /// Signed distance from the line; not a number for a zero-length segment.
  float CalcDistanceToPoint(const NxPoint_<int>& p) const;
  /// The sign of the line equation at @p p: 0 while its value is between -1 and 1.
  int CalcPointStatusOnLineEquation(const NxPoint_<int>& p) const;
  /// The cross product of the two directions, 32-bit: positive if @p other points clockwise of
  /// this one.
  int CalcVectorCrossProductOfTwoLines(const Nx_LineSegment& other) const;

  /// The foot of the perpendicular from @p p on the line, in float, rounded. On a zero-length
  /// segment it is the start.
  void CalcProjectionPtOfLine(const NxPoint_<int>& p, NxPoint_<int>& out) const;
  /// Where @p p lies along the segment, 0 at the start and 1 at the end, by the coordinate of the
  /// longer axis alone. Infinite or not a number for a zero-length segment.
  float CalcRelativeCoordFromPoint(const NxPoint_<int>& p) const;
  /// The point at @p t, 0 at the start and 1 at the end, rounded from the start.
  void CalcPointFromRelativeCoord(float t, NxPoint_<int>& out) const;

  /// Whether @p p lies between the ends along one axis, y from 46 to 135 degrees (modulo 180) and
  /// x elsewhere. Its distance from the line does not matter.
  /// @param ratio of the pixel length, by which either end reaches further
  bool JudgePtIsInLineSeg(const NxPoint_<int>& p, float ratio) const;

  /// The side of @p p, or "on the line" within less than @p tolerance pixels of it: never for a
  /// tolerance of 0, always for a zero-length segment and a positive one. 64-bit.
  Nx_LS_Point_Position_Relation CalcPointPositionStatus(const NxPoint_<int>& p,
                                                        int tolerance) const;
  /// 0 if the lines are parallel and 1 if they are perpendicular, within less than @p tolerance
  /// degrees; else -1. Parallel is tried first.
  int CalcPositionStatusOfInputLine(const Nx_LineSegmentEnhanced& other, int tolerance) const;
  /// The angle from this segment clockwise to @p other: as it is (360), to the nearer side (180),
  /// or between the two lines, 0 to 90 (90). 0 for any other domain.
  int CalcAngleBetweenLines(const Nx_LineSegmentEnhanced& other, Nx_Angle_Domain domain) const;

  /// Moves both ends by @p distance in the direction @p angle, truncated toward zero.
  /// @return false, with nothing changed, if that is no whole pixel along either axis
  bool TranslateBasedOnAngle(int angle, int distance);
  /// Moves both ends by @p distance pixels across the segment, rounded. A zero-length segment has
  /// no sides and stays; so it does for any other direction value.
  void TranslateBasedOnDirection(Nx_LS_Translating_Direction direction, int distance);
  /// Where `TranslateBasedOnDirection` would move @p p, were it an end.
  void CalcTranslatedPoint(const NxPoint_<int>& p, Nx_LS_Translating_Direction direction,
                           int distance, NxPoint_<int>& out) const;
  /// Moves the segment so that its start, end or midpoint lies on @p p; any other alignment
  /// changes nothing.
  void TranslateToPoint(const NxPoint_<int>& p, Nx_LS_Point_Alignment which = LSPA_START);
  /// Restates the ends relative to @p origin, which becomes (0, 0).
  void SetOrigin(const NxPoint_<int>& origin);

  /// Turns both ends clockwise around @p centre, with sine and cosine as floats, rounded. The
  /// cached length is kept: rotation preserves it but for rounding.
  void Rotate(const NxPoint_<int>& centre, int angle);
  /// The same around the start, end or midpoint; any other pivot changes nothing.
  void Rotate(Nx_LS_Point_Alignment pivot, int angle);
  /// Turns the segment clockwise around the pivot so far that a moving end travels @p distance
  /// pixels along its circle, rounded. A zero-length segment stays.
  void RotateBasedOnDistance(Nx_LS_Point_Alignment pivot, int distance);

  /// Lengthens or shortens the segment along its line; the pivot keeps its place and the other
  /// ends are rounded. A length below 0 becomes 0, so that the ends meet in the pivot. A
  /// zero-length segment has no line and stays; so it does for any other pivot or mode.
  void StretchLength(Nx_LS_Point_Alignment pivot, float amount, Nx_LS_Length_Transform_Mode mode);
  /// Multiplies the coordinates of both ends, in float, rounded.
  void Scale(float scaleX, float scaleY);
  /// Clips the segment to 0..width-1 by 0..height-1; new ends are rounded.
  /// @return false, with nothing changed, if no part of it lies inside
  bool MakeLineInBounds(int width, int height);

  /// Lists the pixels of the segment, from start to end.
  ///
  /// Both modes walk the longer axis (x at 45 degrees) pixel by pixel; the other coordinate is
  /// computed in float, plus a half, truncated toward zero, which rounds it for the coordinates of
  /// an image (a negative one comes out up to one too large; from 2^22 up floats are too coarse for
  /// a gapless chain). PXM_CHAIN adds a pixel wherever a step would be diagonal, on the side that
  /// the line passes; @p step and @p maxCount do not matter. PXM_SAMPLED takes every @p step -th
  /// pixel of the walk and then the end, unless it is the last one already.
  /// @param out      receives the pixels in place of what it held; none for any other mode, nor
  ///                 for PXM_SAMPLED with a step below 1
  /// @param maxCount PXM_SAMPLED stops when it has so many; -1 is no limit
  /// @throws std::bad_alloc, std::length_error
  void Pixelate(std::vector<NxPoint_<int>>& out, Nx_Pixelate_Mode mode, int step,
                int maxCount) const;

  /// Exchanges the ends.
  virtual void SwapVertices();

 protected:
  /// Forgets everything computed.
  void Init() override;

 private:
  friend class Nx_Quad;  // measures its edges together

  static constexpr std::int32_t kNoInt = std::numeric_limits<std::int32_t>::max();
  static constexpr float kNoFloat = std::numeric_limits<float>::max();
  static constexpr float kLeastDivisor = 0.001F;

  std::int64_t Dx() const;
  std::int64_t Dy() const;
  NxPoint_<int> LeftOffset(int distance) const;
  bool CalcOffset(Nx_LS_Translating_Direction direction, int distance, NxPoint_<int>& out) const;
  void Translate(const NxPoint_<int>& offset);
  void Turn(const NxPoint_<int>& centre, double radians);
  bool FindVertex(NxPoint_<int>& out, Nx_LS_Point_Alignment which) const;

  mutable NxPoint_<int> midPoint_{kNoInt, 0};
  mutable float length_ = -1;
  mutable std::int32_t pixelLength_ = 0;
  mutable std::int32_t angle_ = kNoInt;
  mutable float a_ = 0;
  mutable float b_ = kNoFloat;
  mutable float c_ = 0;
  mutable float slope_ = kNoFloat;  // of y over x
  mutable float intercept_ = kNoFloat;
  mutable float norm_ = kNoFloat;
};

}  // namespace velmora
