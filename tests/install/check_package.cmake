# Installs the library, moves the installed tree, and builds and runs there, in a project of its own,
# the program that README.md shows and the example for module authors; they must print what README.md
# and the comment on top of the example say.
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DARGUMENTS=... -P check_package.cmake

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
file(COPY ${SOURCE}/examples/module_author DESTINATION ${WORK})
file(STRINGS ${WORK}/module_author/main.cpp lines REGEX "^//   [^ ]")
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
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR} -B ${WORK}/build -G Ninja ${ARGUMENTS}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_FIND_ROOT_PATH=${prefix}
    -DPROGRAMS=${WORK})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build --output-on-failure --no-tests=error)
