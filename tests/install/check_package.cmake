# Installs the library, moves the installed tree, and builds and runs there, in a project of its
# own, the program that README.md shows and the example for module authors; they must print what
# README.md and the comment on top of the example say. The module of examples/own_module is built
# and installed there as its comment says, and runs in the installed program.
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DCAPTURE=... -DEMULATOR=... -DARGUMENTS=... -P
#   check_package.cmake

# fenced_block(LANGUAGE RESULT): the first fenced block of that language in README.md
function(fenced_block language result)
  file(READ ${SOURCE}/README.md text)
  string(FIND "${text}" "```${language}\n" start)
  if(start EQUAL -1)
    message(FATAL_ERROR "README.md has no block of ${language}")
  endif()
  string(LENGTH "```${language}\n" fence)
  math(EXPR start "${start} + ${fence}")
  string(SUBSTRING "${text}" ${start} -1 text)
  string(FIND "${text}" "```" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

fenced_block(cpp example)
fenced_block(text output)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/moved)
file(WRITE ${WORK}/readme.cpp "${example}")
file(WRITE ${WORK}/readme.txt "${output}")

# The example keeps what it prints in lines of its own, three blanks behind the slashes.
if(CAPTURE)
  file(COPY ${SOURCE}/examples/module_author ${SOURCE}/examples/own_module DESTINATION ${WORK})
endif()
file(STRINGS ${SOURCE}/examples/module_author/main.cpp lines REGEX "^//   [^ ]")
list(TRANSFORM lines REPLACE "^//   (.*)" "\\1\n")
string(JOIN "" output ${lines})
file(WRITE ${WORK}/module_author.txt "${output}")

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
set(prefix ${WORK}/moved/package)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed OUTPUT_QUIET)
file(RENAME ${WORK}/installed ${prefix})
file(GLOB_RECURSE package_files ${prefix}/*.cmake)
foreach(file IN LISTS package_files)
  file(READ ${file} text)
  string(FIND "${text}" ${BUILD} position)
  if(NOT position EQUAL -1)
    message(FATAL_ERROR "${file} names the build folder")
  endif()
endforeach()
list(APPEND ARGUMENTS -G Ninja -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_ROOT_PATH=${prefix})
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/build ${ARGUMENTS} -DPROGRAMS=${WORK})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build --output-on-failure --no-tests=error)
if(NOT CAPTURE)
  return()
endif()

# A module outside the tree, at its prefix beside those of the package.
set(build ${WORK}/own_module/build)
run(${CMAKE_COMMAND} -S ${WORK}/own_module -B ${build} ${ARGUMENTS})
run(${CMAKE_COMMAND} --build ${build})
run(${CMAKE_COMMAND} --install ${build} --prefix ${prefix})
file(GLOB_RECURSE module ${prefix}/Brightness*)
file(STRINGS ${module} uses REGEX "jsoncpp|4Json")
if(uses)
  message(FATAL_ERROR "the module uses jsoncpp: ${uses}")
endif()
# The template takes every second pixel of every second row: A and B, 65 and 66.
file(WRITE ${WORK}/four.pgm "P5 4 2 255\nAzBzzzzz")
file(GLOB program ${prefix}/bin/velmora-capture*)
execute_process(
  COMMAND ${EMULATOR} ${program} --json --template ${WORK}/own_module/brightness.json
          ${WORK}/four.pgm
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
if(NOT output MATCHES "\"symbology\":\"Brightness\",\"task\":\"brightness\",\"text\":\"66\"")
  message(FATAL_ERROR "the module did not run as its template says: ${output}")
endif()

# The capture library and the static core do not go together.
file(WRITE ${WORK}/refused/CMakeLists.txt
     "cmake_minimum_required(VERSION 3.25)\nproject(Refused LANGUAGES CXX)\n"
     "find_package(VelmoraCore 4.6 CONFIG REQUIRED COMPONENTS Static Capture)\n")
execute_process(
  COMMAND ${CMAKE_COMMAND} -S ${WORK}/refused -B ${WORK}/refused/build ${ARGUMENTS}
  ERROR_VARIABLE refusal
  OUTPUT_QUIET)
string(REGEX REPLACE "[ \n]+" " " refusal "${refusal}")
if(NOT refusal MATCHES "the components Static and Capture cannot be combined")
  message(FATAL_ERROR "Static and Capture were not refused: ${refusal}")
endif()

# The examples that embed the library, each a project of its own, print the codes that the comment
# on top of one of them says.
file(STRINGS ${SOURCE}/examples/embed/main.cpp codes REGEX "^//   [^ ]")
list(TRANSFORM codes REPLACE "^//   " "")
if(EMULATOR)
  string(REPLACE "/" "\\" path "Z:${prefix}/bin")
  set(ENV{WINEPATH} "${path}")
endif()
# check_codes(COMMAND...): it prints those codes of label.jpg, and fails where it cannot read.
function(check_codes)
  execute_process(
    COMMAND ${EMULATOR} ${ARGN} ${SOURCE}/tools/capture/samples/label.jpg
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "(\r?\n)+$" "" output "${output}")
  string(REGEX REPLACE "\r?\n" ";" output "${output}")
  if(NOT output STREQUAL codes)
    message(FATAL_ERROR "${ARGN} printed ${output} instead of ${codes}")
  endif()
  execute_process(
    COMMAND ${EMULATOR} ${ARGN} ${SOURCE}/tools/capture/samples/broken.png
    RESULT_VARIABLE result
    OUTPUT_QUIET ERROR_VARIABLE errors)
  if(NOT result EQUAL 1 OR NOT errors MATCHES "Failed to read the image")
    message(FATAL_ERROR "${ARGN} did not report a broken picture: ${result}, ${errors}")
  endif()
endfunction()
foreach(example IN ITEMS embed embed_c)
  file(COPY ${SOURCE}/examples/${example} DESTINATION ${WORK})
  run(${CMAKE_COMMAND} -S ${WORK}/${example} -B ${WORK}/${example}/build ${ARGUMENTS}
      "-DCMAKE_C_FLAGS_INIT=-Wall -Wextra -Wpedantic -Werror")
  run(${CMAKE_COMMAND} --build ${WORK}/${example}/build)
  file(GLOB program ${WORK}/${example}/build/${example}${EXECUTABLE_SUFFIX})
  check_codes(${program})
endforeach()

# The Python package goes into an environment of its own, without any network.
if(PYTHON)
  run(${PYTHON} -m venv ${WORK}/venv)
  run(${WORK}/venv/bin/python -m pip --disable-pip-version-check --quiet install --no-index
      ${prefix}/share/velmora/python)
  set(ENV{VELMORA_CAPTURE_LIBRARY})
  set(ENV{PYTHONPATH})
  check_codes(${WORK}/venv/bin/python ${SOURCE}/examples/embed_python/embed.py)
endif()
