// Asks a question while it dies, when no lock may be held and no list may still show it.
#pragma once

#include <functional>
#include <utility>

namespace velmora::testing {

template <typename Base>
class Asking : public Base {
 public:
  template <typename... Arguments>
  explicit Asking(std::function<void()> ask, Arguments&&... arguments)
      : Base(std::forward<Arguments>(arguments)...), ask_(std::move(ask)) {}
  ~Asking() override { ask_(); }

 private:
  std::function<void()> ask_;
};

}  // namespace velmora::testing
