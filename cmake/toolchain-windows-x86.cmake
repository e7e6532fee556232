# 32-bit Windows from Debian: MinGW-w64 g++ with POSIX threads and DWARF exceptions.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)

set(triplet i686-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# Where scripts/cross-libraries puts what it builds. Kept in the cache, so that a reconfiguration
# that ninja starts without the environment finds the same libraries.
if(DEFINED ENV{VELMORA_DEPS_DIR})
  set(VELMORA_DEPS $ENV{VELMORA_DEPS_DIR} CACHE PATH "Cross-built third-party libraries")
else()
  cmake_path(SET deps NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../.cache/windows-x86)
  set(VELMORA_DEPS ${deps} CACHE PATH "Cross-built third-party libraries")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELMORA_DEPS)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${triplet} ${VELMORA_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

#  -msse2 -mfpmath=sse  the same floating-point results as on 64 bits; the default is the x87 unit
#  -mstackrealign       callers from other compilers keep the stack on 4 bytes only
#  -faligned-new=8      the heap gives 8-byte alignment although the compiler believes 16, so that
#                       over-aligned types take the aligned operator new; needed in every module
set(machine "-march=pentium4 -msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_C_FLAGS_INIT "${machine}")
set(CMAKE_CXX_FLAGS_INIT "${machine} -faligned-new=8")

cmake_path(SET emulator NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine-run)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator})
