/// @file
/// The working form of a quadrilateral.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/geometry/nx_line_segment.h"
#include "velmora/geometry/point.h"
#include "velmora/geometry/quadrilateral.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Where a point lies: on an edge, inside or outside.
enum Nx_Quad_Point_Position_Relation : std::int32_t {
  QPPR_ON_EDGE_0 = 0,
  QPPR_ON_EDGE_1 = 1,
  QPPR_ON_EDGE_2 = 2,
  QPPR_ON_EDGE_3 = 3,
  QPPR_INSIDE = 4,
  QPPR_OUTSIDE = 5,
};

enum Nx_Quad_Vertex_Index : std::int32_t { QVI_0 = 0, QVI_1 = 1, QVI_2 = 2, QVI_3 = 3 };

/// Edge i runs from vertex i to vertex i + 1, edge 3 back to vertex 0.
enum Nx_Quad_Edge_Index : std::int32_t { QEI_0 = 0, QEI_1 = 1, QEI_2 = 2, QEI_3 = 3 };

enum Nx_Quad_Edge_Translating_Direction : std::int32_t {
  QETD_INWARD = 0,
  QETD_OUTWARD = 1,  ///< so is any other value
};

/// A quadrilateral that can be shared: four vertices, its edges, and measures that are remembered.
///
///        vertex 0 --- edge 0 ---> vertex 1
///            ^                        |
///          edge 3                   edge 1      clockwise as seen on the image (y downwards)
///            |                        v
///        vertex 3 <--- edge 2 --- vertex 2
///
/// The order of the vertices is the caller's. The orientation runs from the middle of edge 3 to
/// the middle of edge 1, the vertical from the middle of edge 0 to the middle of edge 2. Inside and
/// outside mean something for clockwise quadrilaterals only.
///
/// Area, interior angles and centre are computed when they are first asked for and forgotten when
/// the vertices change; the edges remember their own measures. Vertices may lie anywhere in the
/// range of an int; results that do not fit wrap where nothing else is said. "Rounded" means to the
/// nearest int, halves away from zero. An index outside 0..3 changes nothing and yields nothing.
///
/// Turns are 32-bit: they are right while the product of neighbouring sides is below 2^31, a square
/// of 46,340 pixels. From 46,341 pixels a side on they wrap, and with them everything that depends
/// on convexity and orientation; work on coordinates of a smaller scale then.
///
///     Nx_Quad quad(vertices);
///     int area = quad.GetArea(-1, -1);
///     bool isInside = quad.IsPointInQuadrilateral(&point);
///
/// @threadsafety one thread at a time, readers included: reading fills the caches
class VELMORA_EXPORT Nx_Quad : public NxObjectBase {
 public:
  Nx_Quad() = default;  ///< all vertices (0, 0)
  /// @param vertices four points, kept in their order
  explicit Nx_Quad(const NxPoint_<int> vertices[4]);
  /// @param edges four lines; the vertices are where neighbours meet (`CalcIntersectionsOfEdges`)
  explicit Nx_Quad(const Nx_LineSegmentEnhanced edges[4]);
  /// A copy that starts at another vertex, as `ReorderVertices`.
  Nx_Quad(const Nx_Quad& other, Nx_Quad_Vertex_Index first);
  Nx_Quad(const Nx_Quad&) = default;
  Nx_Quad& operator=(const Nx_Quad&) = default;
  ~Nx_Quad() override;

  /// The area in square pixels, as `CQuadrilateral::GetArea`: 0 if two neighbouring vertices are
  /// equal, the largest int if it does not fit.
  ///
  /// With @p width and @p height both other than -1, a quadrilateral whose bounding box lies wholly
  /// beyond an image of that size has 0; nothing is clipped otherwise. Once computed the area is
  /// remembered, and then answers for every size.
  virtual int GetArea(int width, int height) const;

  /// Whether @p p is inside by a pixel or more from every edge; null is not.
  virtual bool IsPointInQuadrilateral(const NxPoint_<int>* p) const;

  /// Called by `InitQuad`; does nothing here.
  virtual void Init();

  /// "(x0,y0) (x1,y1) (x2,y2) (x3,y3)", written anew with every call. Valid until the next one.
  virtual const std::string& toString() const;

 protected:
  /// Makes each vertex the point where its edge meets the one before it, then runs `SetEdges`.
  /// Where the two are parallel the vertex becomes the start of its edge. Rounded.
  virtual void CalcIntersectionsOfEdges();

 public:
  /// Copies vertices, edges and everything remembered; not the reference count, nor the id.
  void CloneQuad(const Nx_Quad& other);
  void ConvertToQuadrilateral(basic_structures::CQuadrilateral& out) const;  ///< leaves its id

  /// Forgets angles, centre and area, then calls `Init`.
  void InitQuad();
  /// Copies four vertices, runs `SetEdges`, forgets angles, centre and area.
  void SetVertices(const NxPoint_<int>* vertices);
  /// Makes the edges and the clockwise flag from the vertices. Forgets what the edges remembered
  /// but not the measures of the quadrilateral.
  void SetEdges();

  /// Sorts four points clockwise around one of them, which comes first; 32-bit.
  /// @param startIndex of the first; -1 takes `CalcLeftUpPtIndex`. Without a valid index the point
  ///                   at 0 comes first.
  static void SetVerticesToClockWise(NxPoint_<int>* v, int startIndex);
  /// The index of the smallest x + y, the lowest one if several are; -1 if all sums are the largest
  /// int. 32-bit.
  static int CalcLeftUpPtIndex(const NxPoint_<int>* v);

  /// As `IsPointsClockWise` of the vertices: 32-bit, so that a quadrilateral of 46,341 pixels a
  /// side or more may be called counter-clockwise; ask a copy of a smaller scale then.
  bool IsClockWise() const { return clockWise_; }
  const NxPoint_<int>* GetVertices() const { return vertices_; }
  /// Copies the vertices if @p capacity is at least 4; writes nothing otherwise.
  void GetVertices(NxPoint_<int>* out, int capacity) const;
  /// Four edges. Moving one by this pointer leaves the vertices where they were: lengths, angles,
  /// orientation, vertical, bounds and the sides of points (relations, clipping) come from the
  /// edges, everything else from the vertices.
  Nx_LineSegmentEnhanced* GetEdges() { return edges_; }
  const Nx_LineSegmentEnhanced* GetEdges() const { return edges_; }
  /// Copies the edges if @p capacity is at least 4; writes nothing otherwise.
  void GetEdges(Nx_LineSegmentEnhanced* out, int capacity) const;

  int GetPerimeter() const;  ///< in pixels, rounded
  /// Four angles in degrees, 0 to 359, each at a vertex between the edge that ends and the edge
  /// that starts there: 90 in a clockwise rectangle.
  const int* GetInteriorAngles() const;
  void CalcInteriorAngles() const;  ///< unless they are known
  /// The direction of the orientation modulo the domain's value, which must not be 0.
  int GetOrientationAngle(Nx_Angle_Domain domain) const;
  int GetVerticalAngle() const;        ///< 0 to 359
  float GetOrientationLength() const;  ///< in pixels
  float GetVerticalLength() const;     ///< in pixels
  /// The mean of the vertices, rounded.
  const NxPoint_<int>& GetCentralPoint() const;
  void GetCentralPoint(NxPoint_<int>& out) const { out = GetCentralPoint(); }
  void CalcCentralPoint() const;  ///< unless it is known

  /// The bilinear point: (0,0) is vertex 0, (1,0) vertex 1, (1,1) vertex 2, (0,1) vertex 3. In
  /// float, rounded.
  void CalcPointFromRelativeCoord(float u, float v, NxPoint_<int>& out) const;

  /// Strictly: no three neighbouring vertices on a line. Either orientation. 32-bit: from 46,341
  /// pixels a side on the turns wrap; ask a copy of a smaller scale then.
  bool IsConvex() const;
  /// Whether an end of an edge has x outside 0..width-1 or y outside 0..height-1.
  bool IsOutOfBounds(int width, int height) const;
  bool QuadHasExtremelyShortEdge() const;  ///< below 3 pixels

  /// Where @p p lies. Edges are asked in their order and the first that decides wins, so a vertex
  /// belongs to the lower-numbered of its edges. Within less than @p tolerance pixels of an edge's
  /// line the point is on that edge, if it lies between the ends, or else outside. Between the
  /// ends is, with a tolerance of 1, whoever is beyond them along neither axis; with any other,
  /// whoever is strictly between them along one axis at least. 32-bit: a point 46,341 pixels or
  /// more past both ends may count as between them.
  Nx_Quad_Point_Position_Relation CalcPointPositionRelation(const NxPoint_<int>& p,
                                                            int tolerance) const;

  /// A quick test: a vertex or the centre of one is not outside the other. Two bars that cross
  /// like a plus sign away from their centres do not count as overlapping. Two in one row or
  /// column, 46,341 pixels or more apart, may count as overlapping: see
  /// `CalcPointPositionRelation`.
  /// @param expandRatio by which both are expanded first, as a share of the shorter orientation and
  ///                    the shorter vertical; one of magnitude 0.001 or less, compared as double,
  ///                    is none
  bool IsOverlapWithOtherQuad(const Nx_Quad& other, float expandRatio) const;
  /// Clips @p other by the edge objects of this quadrilateral, in their order; points less than a
  /// pixel outside an edge stay. Exact to that for a clockwise convex clipper.
  /// @param out receives the polygon in place of what it held, fewer than 3 points if there is no
  ///            overlap (none if @p other is null)
  void GetOverlappingPolygonPointsWithOtherQuad(const Nx_Quad* other,
                                                std::vector<NxPoint_<int>>& out) const;
  /// The area of that polygon, summed in 32 bits. Allocates nothing.
  float CalcOverlappingAreaWithOtherQuad(const Nx_Quad* other) const;

  /// Names the object (`GetObjectId`) by the hash of `toString`.
  void CalcHashID();

  /// How many pixels `GetAllPixels` finds at most: those of the bounding box, whose corners are
  /// shifted right by @p shift modulo 32. 0 if, with both sizes other than -1, the box lies wholly
  /// beyond the image. 32-bit.
  int GetAllPixelsReserveSize(int shift, int width, int height) const;
  /// Lists the pixels that the quadrilateral covers, each once, row by row from left to right:
  /// its vertices, its edges as `Nx_LineSegmentEnhanced::Pixelate` lists them (sampled at every
  /// pixel), and what the even-odd rule finds between them. Never beyond the bounding box.
  /// @param out    receives the pixels in place of what it held; none for any other mode
  /// @param shift  the vertices are shifted right by this modulo 32 first, to list the cells of a
  ///               coarser grid
  /// @param width  of the image, unshifted. With both sizes other than -1, only pixels in the
  ///               image are listed: x up to (width - 1) >> shift, and none if the box lies wholly
  ///               beyond the image or a size is below 1.
  /// @return their number
  /// @throws std::bad_alloc, std::length_error (always for more than 2^31 - 1 rows)
  int GetAllPixels(std::vector<NxPoint_<int>>& out, Nx_Pixelate_Mode mode, int shift, int width,
                   int height) const;

  /// Moves an edge in parallel by @p distance pixels, rounded; its ends become the points where it
  /// meets its neighbours' lines. Inward and outward mean the same for either orientation, as
  /// `IsClockWise` tells it: from 46,341 pixels a side on they may be exchanged, so move the edges
  /// with `ExpandQuad` then, which does not ask.
  void TranslateEdge(Nx_Quad_Edge_Index i, Nx_Quad_Edge_Translating_Direction direction,
                     int distance);
  /// The edge alone, moved as by `TranslateEdge` but of unchanged length.
  /// @param out receives the ends
  void GetTranslatedEdge(Nx_Quad_Edge_Index i, Nx_Quad_Edge_Translating_Direction direction,
                         int distance, Nx_LineSegment& out) const;
  /// The edge alone, turned around one of its points.
  /// @param isClockWise the sense in which it turns by @p angle degrees, as seen on the image
  /// @param out receives the ends; left alone for an unknown pivot
  void GetRotatedEdge(Nx_Quad_Edge_Index i, bool isClockWise, Nx_LS_Point_Alignment pivot,
                      int angle, Nx_LineSegment& out) const;
  /// Makes old vertex @p k vertex 0; edges and angles follow. Nothing unless k is 1, 2 or 3.
  void ReorderVertices(Nx_Quad_Vertex_Index k);
  /// Moves every edge outwards (of a clockwise quadrilateral; inwards of a counter-clockwise one)
  /// and makes the vertices where they meet. A negative distance shrinks; one of more than half the
  /// width may turn the quadrilateral inside out. The known interior angles are kept.
  void ExpandQuad(int distance) { ExpandQuad(distance, distance); }
  /// The same with edges 1 and 3 moved by @p alongOrientation, 0 and 2 by @p alongVertical.
  void ExpandQuad(int alongOrientation, int alongVertical);
  /// Clamps every coordinate to 0..width-1 and 0..height-1 (to 0 for a size below 1).
  void MakeQuadInBounds(int width, int height);

 private:
  static constexpr std::int32_t kNoInt = std::numeric_limits<std::int32_t>::max();
  static constexpr std::int32_t kNoArea = std::numeric_limits<std::int32_t>::min();

  void ForgetMeasures();
  bool IsBeyondImage(int width, int height) const;
  Nx_LS_Translating_Direction LineDirection(Nx_Quad_Edge_Translating_Direction direction) const;

  NxPoint_<int> vertices_[4];
  bool clockWise_ = false;
  Nx_LineSegmentEnhanced edges_[4];
  mutable std::int32_t area_ = kNoArea;
  mutable std::int32_t interiorAngles_[4] = {kNoInt, kNoInt, kNoInt, kNoInt};
  mutable NxPoint_<int> centralPoint_{kNoInt, 0};
  mutable std::string text_;
};

}  // namespace velmora
