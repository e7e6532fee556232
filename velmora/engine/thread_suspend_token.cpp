#include "velmora/engine/thread_suspend_token.h"

namespace velmora {

ThreadSuspendToken::ThreadSuspendToken() = default;
ThreadSuspendToken::~ThreadSuspendToken() = default;

}  // namespace velmora
