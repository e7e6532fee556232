#include "velmora/engine/data_manager_pool.h"

namespace velmora {

NxDataManagerPool::NxDataManagerPool() = default;
NxDataManagerPool::~NxDataManagerPool() = default;

}  // namespace velmora
