// One definition of each destructor, so that the library holds the one virtual table and type
// information of each interface and a dynamic_cast means the same on both sides of its border.

#include "velmora/results/detection_units.h"
#include "velmora/results/image_units.h"
#include "velmora/results/intermediate_result.h"
#include "velmora/results/intermediate_result_receiver.h"
#include "velmora/results/region_object_element.h"

namespace velmora::intermediate_results {

CColourImageUnit::~CColourImageUnit() = default;
CScaledColourImageUnit::~CScaledColourImageUnit() = default;
CGrayscaleImageUnit::~CGrayscaleImageUnit() = default;
CTransformedGrayscaleImageUnit::~CTransformedGrayscaleImageUnit() = default;
CEnhancedGrayscaleImageUnit::~CEnhancedGrayscaleImageUnit() = default;
CBinaryImageUnit::~CBinaryImageUnit() = default;
CTextureRemovedGrayscaleImageUnit::~CTextureRemovedGrayscaleImageUnit() = default;
CTextureRemovedBinaryImageUnit::~CTextureRemovedBinaryImageUnit() = default;
CTextRemovedBinaryImageUnit::~CTextRemovedBinaryImageUnit() = default;

CContoursUnit::~CContoursUnit() = default;
CTextureDetectionResultUnit::~CTextureDetectionResultUnit() = default;
CPredetectedRegionsUnit::~CPredetectedRegionsUnit() = default;
CTextZonesUnit::~CTextZonesUnit() = default;
CLineSegmentsUnit::~CLineSegmentsUnit() = default;
CShortLinesUnit::~CShortLinesUnit() = default;

CRegionObjectElement::~CRegionObjectElement() = default;
CPredetectedRegionElement::~CPredetectedRegionElement() = default;
CAuxiliaryRegionElement::~CAuxiliaryRegionElement() = default;

CIntermediateResult::~CIntermediateResult() = default;

CAbstractIntermediateResultReceiver::CAbstractIntermediateResultReceiver() = default;
CAbstractIntermediateResultReceiver::~CAbstractIntermediateResultReceiver() = default;

}  // namespace velmora::intermediate_results
