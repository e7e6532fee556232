/// @file
/// What a recognition module exports, and how velmora-capture loads it.
#pragma once

namespace velmora {
class NxOutputBase;
class Nx_WorkObjectBase;
}  // namespace velmora

namespace velmora::modules {

/// Hears from the work objects of a module when they work.
///
/// @threadsafety called from the threads of the pool, several at once; the two calls for one piece
///               of work come from the same thread
class WorkObserver {
 public:
  virtual void WorkBegins() = 0;
  /// @param code  what the work returned
  virtual void WorkEnded(const Nx_WorkObjectBase& task, const NxOutputBase& output, int code) = 0;

 protected:
  ~WorkObserver() = default;
};

/// Makes a work object for one task of a template. Every module exports a function of this type
/// under the name `kCreateWorkObjectName`.
///
/// @param settings  the task's "Settings", a JSON object
/// @param observer  outlives the work object; may be null
/// @param error     receives what is wrong with the settings, made by `Nx_CopyCharArray`
/// @return a new work object, whose work modes are those that the module knows, in the order in
///         which it would try them; null if the settings are wrong
using CreateWorkObjectFunction = Nx_WorkObjectBase* (*)(const char* settings,
                                                        WorkObserver* observer, char** error);

inline constexpr char kCreateWorkObjectName[] = "VelmoraCreateWorkObject";

}  // namespace velmora::modules

/// Before the one function that a module exports.
#if defined(_WIN32)
#define VELMORA_MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define VELMORA_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif
