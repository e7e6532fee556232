# Options and the compile settings that every target of this tree shares.

option(VELMORA_BUILD_CAPTURE "Build the module kit, the modules and velmora-capture"
       ${PROJECT_IS_TOP_LEVEL})
option(VELMORA_BUILD_CLUSTER "Build the programs that work behind a message broker" OFF)
option(VELMORA_BUILD_TESTS "Build the test programs" ${PROJECT_IS_TOP_LEVEL})
option(VELMORA_BUILD_EXAMPLES "Build the example programs" ${PROJECT_IS_TOP_LEVEL})
option(VELMORA_BUILD_BENCHMARKS "Build the benchmarks beside their peers" OFF)
option(VELMORA_BUILD_FUZZERS "Build the fuzz targets (clang only)" OFF)
option(VELMORA_CLANG_TIDY "Run clang-tidy beside the compiler" OFF)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
if(VELMORA_CLANG_TIDY)
  find_program(CLANG_TIDY clang-tidy REQUIRED)
  set(CMAKE_CXX_CLANG_TIDY ${CLANG_TIDY} --quiet)
endif()

find_package(Threads REQUIRED)
find_package(jsoncpp REQUIRED)
find_package(hwy REQUIRED)

# Settings of our own targets; none of them reaches a consumer.
add_library(velmora_build_settings INTERFACE)
target_compile_features(velmora_build_settings INTERFACE cxx_std_17)
target_compile_options(
  velmora_build_settings
  INTERFACE -ffp-contract=off # the same bits on every target: no fused multiply-add
            $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
            $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
            -Werror>)

# What limits the harm of a fault in memory: canaries on the stack, checked library functions,
# marked targets of indirect branches, tables of the linker that are read-only from the start.
# tests/linux checks that they are there. On Windows these are the linker's defaults, which
# tests/windows checks. Sanitizers have checks of their own.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CXX_FLAGS MATCHES "sanitize")
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  target_compile_options(velmora_build_settings INTERFACE -fstack-protector-strong
                                                          $<${optimised}:-D_FORTIFY_SOURCE=2>)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_compile_options(velmora_build_settings INTERFACE -fcf-protection)
  endif()
  target_link_options(velmora_build_settings INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
endif()
# Libraries are found from the place of the file that needs them; the tree may be moved.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
