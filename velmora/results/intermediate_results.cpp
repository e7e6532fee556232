// One definition of each destructor, so that the library holds the one virtual table and type
// information of each interface and a dynamic_cast means the same on both sides of its border.

#include "velmora/results/intermediate_result.h"
#include "velmora/results/region_object_element.h"

namespace velmora::intermediate_results {

CIntermediateResult::~CIntermediateResult() noexcept(false) = default;

CRegionObjectElement::~CRegionObjectElement() noexcept(false) = default;
CPredetectedRegionElement::~CPredetectedRegionElement() = default;
CAuxiliaryRegionElement::~CAuxiliaryRegionElement() = default;

}  // namespace velmora::intermediate_results
