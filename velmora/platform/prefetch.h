/// @file
/// Hints to the processor about memory that is needed soon.
#pragma once

namespace velmora {

/// Has the cache line of @p address fetched in order to be written, while the program goes on.
/// Where several lines were written by other cores last, their transfers run side by side instead
/// of one after another. Any address is allowed; there is no effect but on time.
inline void PrefetchToWrite(const void* address) noexcept {
#if defined(__x86_64__) || defined(__i386__)
  // The builtin fetches for reading, unless the compiler may assume a newer processor than the
  // oldest that we run on. Those that do not know the instruction ignore it.
  // A register, no memory operand: that would tell the compiler that the address is not null.
  asm volatile("prefetchw (%0)" : : "r"(address));
#else
  __builtin_prefetch(address, 1);
#endif
}

}  // namespace velmora
