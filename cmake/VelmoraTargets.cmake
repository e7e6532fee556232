# One function for each kind of target, so that a room's CMakeLists.txt is a list of files.

include(GoogleTest)

# velmora_room(HEADERS ... SOURCES ...)
# Adds the files of one room (a folder below velmora/) to the library. HEADERS are installed;
# a header in internal/ is found through the include path alone and is not listed.
function(velmora_room)
  cmake_parse_arguments(room "" "" "HEADERS;SOURCES" ${ARGN})
  list(TRANSFORM room_HEADERS PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  list(TRANSFORM room_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  target_sources(VelmoraCore PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}
                                    FILES ${room_HEADERS})
  target_sources(VelmoraCoreObjects PRIVATE ${room_SOURCES})
endfunction()

# What every test program is compiled with.
function(velmora_test_settings target)
  target_link_libraries(${target} PRIVATE Velmora::Core velmora_build_settings GTest::gtest_main)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  # Checks run once: compiling them is what a test run waits for. The library keeps its own level.
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-O1>
                                           $<$<CONFIG:RelWithDebInfo>:-g1>)
  # clang++ would refuse a precompiled header from the compiler cache for the age of its source.
  target_compile_options(${target} PRIVATE
                         "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
endfunction()

# velmora_test(NAME file... [LIBRARIES ...])
# Makes the test program <NAME>_test, linked to the shared library as a client would link it.
function(velmora_test name)
  cmake_parse_arguments(test "" "" "LIBRARIES" ${ARGN})
  add_executable(${name}_test ${test_UNPARSED_ARGUMENTS})
  velmora_test_settings(${name}_test)
  target_link_libraries(${name}_test PRIVATE ${test_LIBRARIES})
  target_precompile_headers(${name}_test REUSE_FROM velmora_test_headers)
  add_test(NAME ${name} COMMAND ${name}_test)
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

# velmora_bench(NAME file... [LIBRARIES ...])
function(velmora_bench name)
  cmake_parse_arguments(bench "" "" "LIBRARIES" ${ARGN})
  add_executable(${name}_bench ${bench_UNPARSED_ARGUMENTS})
  target_link_libraries(${name}_bench PRIVATE Velmora::Core velmora_build_settings
                                              benchmark::benchmark_main ${bench_LIBRARIES})
  target_include_directories(${name}_bench PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()
