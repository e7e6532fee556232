# The third-party libraries of the modules and the program: picture files through stb, linear and QR codes through
# ZBar, matrix codes through ZXing-C++ (Linux only). What is missing leaves out what needs it, unless
# VELMORA_REQUIRE_RECOGNITION says that everything must be there, as the scripts do.

option(VELMORA_REQUIRE_RECOGNITION "Fail if a library that modules use is missing" OFF)

# velmora_recognition_library(NAME WHAT-TO-DO): reports on velmora_NAME, a target or nothing.
function(velmora_recognition_library name advice)
  if(TARGET velmora_${name})
    return()
  elseif(VELMORA_REQUIRE_RECOGNITION)
    message(FATAL_ERROR "${name} was not found: ${advice}")
  endif()
  message(STATUS "${name} was not found, what needs it are left out: ${advice}")
endfunction()

# Headers only, the same for every target; never the folder above, which holds those of this system.
find_path(STB_INCLUDE_DIR stb_image.h PATH_SUFFIXES stb NO_CMAKE_FIND_ROOT_PATH)
if(STB_INCLUDE_DIR)
  add_library(velmora_stb INTERFACE)
  target_compile_options(velmora_stb INTERFACE -idirafter ${STB_INCLUDE_DIR})
endif()
velmora_recognition_library(stb "install libstb-dev")

if(WIN32)
  set(advice "run scripts/cross-libraries")
  find_path(ZBAR_INCLUDE_DIR zbar.h)
  find_library(ZBAR_LIBRARY zbar)
else()
  set(advice "run scripts/recognition-libraries, or install libzbar-dev")
  set(places $ENV{VELMORA_LINUX_DEPS_DIR} ${PROJECT_SOURCE_DIR}/.cache/linux)
  find_path(ZBAR_INCLUDE_DIR zbar.h HINTS ${places} PATH_SUFFIXES include)
  find_library(ZBAR_LIBRARY zbar HINTS ${places} PATH_SUFFIXES lib)
endif()
if(ZBAR_INCLUDE_DIR AND ZBAR_LIBRARY)
  add_library(velmora_ZBar INTERFACE)
  target_include_directories(velmora_ZBar SYSTEM INTERFACE ${ZBAR_INCLUDE_DIR})
  target_link_libraries(velmora_ZBar INTERFACE ${ZBAR_LIBRARY})
endif()
velmora_recognition_library(ZBar ${advice})

if(NOT WIN32)
  find_package(ZXing CONFIG QUIET)
  if(ZXing_FOUND)
    add_library(velmora_ZXing INTERFACE)
    target_link_libraries(velmora_ZXing INTERFACE ZXing::ZXing)
  endif()
  velmora_recognition_library(ZXing "install libzxing-dev")
endif()
