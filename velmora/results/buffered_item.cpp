#include "velmora/results/buffered_item.h"

namespace velmora::basic_structures {

BufferedItemBase::~BufferedItemBase() = default;
BufferedItemSetBase::~BufferedItemSetBase() = default;

}  // namespace velmora::basic_structures
