// Tells how many virtual operations a class has and in which slots they stand. Reads the pointers
// to members of the C++ ABI that both targets share: a virtual one holds 1 + its offset in the
// virtual table, where the destructor takes two places.
#pragma once

#include <cstdint>
#include <cstring>

namespace velmora::testing {

template <typename MemberPointer>
int TableIndex(MemberPointer member) {
  std::intptr_t offset = 0;
  static_assert(sizeof(member) == 2 * sizeof(offset));
  std::memcpy(&offset, &member, sizeof(offset));
  return offset % 2 == 0 ? -1 : static_cast<int>((offset - 1) / std::intptr_t{sizeof(void*)});
}

// Slot of a virtual operation of a class whose destructor is declared before it (slot 0); negative
// for one that is not virtual, or first in a class without a virtual destructor.
template <typename MemberPointer>
int SlotOf(MemberPointer member) {
  return TableIndex(member) - 1;
}

// How many virtual operations a class has, its destructor and those of its first base included:
// the slot that one more would get.
template <typename Class>
int CountVirtualOperations() {
  struct Probe : Class {
    virtual void OneMore() = 0;

   protected:
    ~Probe() = default;
  };
  return SlotOf(&Probe::OneMore);
}

}  // namespace velmora::testing
