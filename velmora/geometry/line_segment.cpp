#include "velmora/geometry/line_segment.h"

namespace velmora::basic_structures {

CLineSegment::CLineSegment() = default;

CLineSegment::CLineSegment(const NxPoint_<int>& start, const NxPoint_<int>& end, std::int32_t id)
    : startPoint_(start), endPoint_(end), id_(id) {}

CLineSegment::~CLineSegment() = default;

void CLineSegment::SetStartPoint(const NxPoint_<int>& point) {
  startPoint_ = point;
  Init();
}

void CLineSegment::SetEndPoint(const NxPoint_<int>& point) {
  endPoint_ = point;
  Init();
}

void CLineSegment::Init() {}

}  // namespace velmora::basic_structures
