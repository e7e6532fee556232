// Objects that a script makes and counts, to see that each is destroyed when it should be.
#pragma once

#include <atomic>
#include <utility>

#include "tests/support/operations/bytes.h"

namespace velmora::testing {

// How many objects are alive. At its end, whatever was thrown, none may be.
class AliveCount {
 public:
  AliveCount() = default;
  ~AliveCount() { VELMORA_REQUIRE(count_ == 0); }
  AliveCount(const AliveCount&) = delete;
  AliveCount& operator=(const AliveCount&) = delete;

  void Add(int change) { count_ += change; }
  int Get() const { return count_; }

 private:
  std::atomic<int> count_{0};  // objects may be destroyed on threads of the library
};

template <typename Base>
class Counted : public Base {
 public:
  template <typename... Arguments>
  explicit Counted(AliveCount& alive, Arguments&&... arguments)
      : Base(std::forward<Arguments>(arguments)...), alive_(&alive) {
    alive_->Add(1);
  }
  Counted(const Counted& other) : Base(other), alive_(other.alive_) { alive_->Add(1); }
  Counted& operator=(const Counted&) = default;
  ~Counted() override { alive_->Add(-1); }

 private:
  AliveCount* alive_;
};

}  // namespace velmora::testing
