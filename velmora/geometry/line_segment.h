/// @file
/// The line segment as applications see it.
#pragma once

#include <cstdint>

#include "velmora/geometry/point.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// A directed segment between two pixels, with an id.
///
/// A value: copying copies both ends and the id. A derived class that keeps anything computed from
/// the ends overrides `Init`, which runs after `SetStartPoint` and `SetEndPoint`. Assigning to a
/// derived object through this class changes its ends without running it.
class VELMORA_EXPORT CLineSegment {
 public:
  CLineSegment();  ///< both ends (0, 0), id -1
  CLineSegment(const NxPoint_<int>& start, const NxPoint_<int>& end, std::int32_t id = -1);
  CLineSegment(const CLineSegment&) = default;
  CLineSegment& operator=(const CLineSegment&) = default;

  const NxPoint_<int>& GetStartPoint() const { return startPoint_; }
  const NxPoint_<int>& GetEndPoint() const { return endPoint_; }
  std::int32_t GetId() const { return id_; }  ///< -1 is "none"

  void SetStartPoint(const NxPoint_<int>& point);  ///< then calls `Init`
  void SetEndPoint(const NxPoint_<int>& point);    ///< then calls `Init`
  void SetId(std::int32_t id) { id_ = id; }        ///< no call of `Init`

 protected:
  /// Called when an end has changed; does nothing here.
  virtual void Init();

 public:
  virtual ~CLineSegment();

 protected:
  /// As the public one without an id, but inline, for working forms that are made by the dozen.
  enum class InPlace { kEnds };
  CLineSegment(InPlace, const NxPoint_<int>& start, const NxPoint_<int>& end)
      : startPoint_(start), endPoint_(end) {}

  NxPoint_<int> startPoint_;
  NxPoint_<int> endPoint_;

 private:
  std::int32_t id_ = -1;
};

}  // namespace velmora::basic_structures
