// One definition of each destructor, so that the library holds the one virtual table and type
// information of each interface and a dynamic_cast means the same on both sides of its border.

#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"

namespace velmora::basic_structures {

CCapturedResultItem::~CCapturedResultItem() = default;
COriginalImageResultItem::~COriginalImageResultItem() = default;
CCapturedResultBase::~CCapturedResultBase() = default;

}  // namespace velmora::basic_structures
