/// @file
/// Every public header of the library, for programs that would rather include one file.
#pragma once

// platform
#include "velmora/platform/critical_section.h"
#include "velmora/platform/export.h"

// foundation
#include "velmora/foundation/array.h"
#include "velmora/foundation/char_array.h"
#include "velmora/foundation/core_module.h"
#include "velmora/foundation/error_code.h"
#include "velmora/foundation/hash_algorithm.h"
#include "velmora/foundation/math.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/object_ref_pool.h"
#include "velmora/foundation/ref.h"
#include "velmora/foundation/safe_string.h"
#include "velmora/foundation/semaphore.h"
#include "velmora/foundation/single_thread_object_base.h"
#include "velmora/foundation/sync_object.h"
#include "velmora/foundation/thread_pool_base.h"
#include "velmora/foundation/vector.h"
