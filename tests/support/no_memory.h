// Takes the memory away: while a NoMemory exists, `new` throws on the thread that made it.
// no_memory.cpp replaces the allocator of the program that it is compiled into; on Windows the DLL
// has one of its own, which this does not reach.
#pragma once

namespace velmora::testing {

inline thread_local int noMemoryDepth = 0;

struct NoMemory {
  NoMemory() { ++noMemoryDepth; }
  ~NoMemory() { --noMemoryDepth; }
};

}  // namespace velmora::testing
