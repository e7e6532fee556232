/// @file
/// What a recognition module exports, and how the capture library loads it.
#pragma once

#include <cstdint>

#include "velmora_kit/settings.h"

namespace velmora {
class Nx_WorkObjectBase;
}

namespace velmora::kit {

/// The layout that a module and the capture library must share: that of the objects in the kit's
/// and the core's headers, and the order of their virtual functions. A change to either raises it.
inline constexpr std::uint32_t kInterfaceNumber = 2;

/// What a module is. A C structure, so that it can be read before anything else of the module is
/// called; new members are appended.
struct ModuleInfo {
  std::uint32_t size;             ///< of the structure, in bytes
  std::uint32_t interfaceNumber;  ///< `kInterfaceNumber` of the headers that it was built with
  std::uint32_t coreVersion[4];   ///< of the core that it was built with
};

/// Tells what a module is. Exported as `kModuleInfoName`; the structure is never freed.
using ModuleInfoFunction = const ModuleInfo* (*)();
inline constexpr char kModuleInfoName[] = "VelmoraModuleInfo";

/// Makes a work object for one task of a template. Exported as `kCreateWorkObjectName`.
///
/// @param settings  of the task, for the length of the call; errors are filed there
/// @return a new work object for an `NxRef` to take, whose work modes are those that the module
///         knows, in the order in which it would try them
using CreateWorkObjectFunction = Nx_WorkObjectBase* (*)(Settings& settings);
inline constexpr char kCreateWorkObjectName[] = "VelmoraCreateWorkObject";

}  // namespace velmora::kit

/// Before each of the two functions that a module exports.
#if defined(_WIN32)
#define VELMORA_MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define VELMORA_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

/// Defines both for the work object class @p Class, which is named with its namespaces and has a
/// constructor from `velmora::kit::Settings&`. Once in a module, outside all namespaces, in a
/// target that links Velmora::ModuleKit, which defines VELMORA_KIT_CORE_VERSION.
#define VELMORA_MODULE(Class)                                                        \
  VELMORA_MODULE_EXPORT const velmora::kit::ModuleInfo* VelmoraModuleInfo() {        \
    static constexpr velmora::kit::ModuleInfo info{sizeof(velmora::kit::ModuleInfo), \
                                                   velmora::kit::kInterfaceNumber,   \
                                                   {VELMORA_KIT_CORE_VERSION}};      \
    return &info;                                                                    \
  }                                                                                  \
  VELMORA_MODULE_EXPORT velmora::Nx_WorkObjectBase* VelmoraCreateWorkObject(         \
      velmora::kit::Settings& settings) {                                            \
    return new Class(settings);                                                      \
  }
