// The memory of work outputs.
#pragma once

#include <cstddef>

namespace velmora::internal {

// A thread that splits a task makes many work outputs at once; they are destroyed one by one, by
// whichever thread did the work. Given back to the heap one by one, they would have those threads
// queue for the part of the heap that the first one allocates from: with glibc, five of the
// eighteen cache lines that two threads passed to each other per work item. Hence work outputs that
// are made one after another share a slab, which goes back to the heap as a whole with the last of
// them.

// @throws std::bad_alloc
void* AllocateWorkOutput();
void FreeWorkOutput(void* memory) noexcept;

}  // namespace velmora::internal
