// A public operation that is run again and again, each time with another allocation failing.
#pragma once

#include "tests/memory/failing_memory.h"
#include "tests/support/test.h"

namespace velmora::testing {

// One run: what it does, and what can be seen of its objects before and after.
struct Trial {
  std::function<void()> act;
  std::function<std::string()> look;
};

enum Promise {
  kUnchanged,  // an operation that throws has changed nothing, and succeeds when repeated
  kUsable,     // its objects can still be looked at, used and destroyed
};

struct Operation {
  const char* name;
  Promise promise;
  std::function<Trial()> make;
  // What may be seen after an operation that failed without an exception, but for its full result.
  std::vector<std::string> documented = {};
};

// An operation that gives a value; what can be seen of it is `describe(value)`.
template <typename Function, typename Describe>
Operation Giving(const char* name, Function function, Describe describe,
                 std::vector<std::string> documented = {}) {
  return {name, kUnchanged,
          [=] {
            auto value = std::make_shared<std::optional<decltype(function())>>();
            return Trial{
                [=] { value->emplace(function()); },
                [=] { return *value ? std::string(describe(**value)) : std::string("nothing"); }};
          },
          std::move(documented)};
}

// An operation that changes an object, and what can be seen of that.
template <typename Make, typename Act, typename Look>
Operation Changing(const char* name, Promise promise, Make make, Act act, Look look,
                   std::vector<std::string> documented = {}) {
  return {name, promise,
          [=] {
            using Object = std::remove_pointer_t<decltype(make())>;
            const auto object = std::shared_ptr<Object>(make());
            // Operations that share the object must not destroy it.
            if constexpr (std::is_base_of_v<NxObjectBase, Object>) object->retain();
            return Trial{[=] { act(*object); }, [=] { return std::string(look(*object)); }};
          },
          std::move(documented)};
}

// Runs each operation with its n-th allocation failing, for every n, alone and with all that
// follow, and expects that std::bad_alloc comes out or a documented result, that the promise is
// kept and that nothing leaks. Prints and returns the number of runs in which memory ran out.
long RunOutOfMemory(const char* room, const std::vector<Operation>& operations);

}  // namespace velmora::testing
