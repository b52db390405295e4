# Helpers shared by the project's CMake files.

set(OM_PLATFORM_INCLUDE ${PROJECT_SOURCE_DIR}/platform/include)
set(OM_LIB_INCLUDE ${PROJECT_SOURCE_DIR}/omlib)

# om_add_test(NAME SOURCES... LIBS... [LABELS...])
# Builds one GoogleTest program and registers its cases with CTest.
function(om_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  if(NOT T_LABELS)
    set(T_LABELS unit)
  endif()
  gtest_discover_tests(${name}
    PROPERTIES LABELS "${T_LABELS}"
    DISCOVERY_TIMEOUT 60)
endfunction()

# om_add_fuzzer(NAME SOURCES... LIBS...)
# With OM_BUILD_FUZZ, a libFuzzer program. Otherwise a plain program that
# replays the target's seed corpus fuzz/corpus/NAME, registered with CTest
# (label fuzz), so that every test run keeps the targets compiling and
# their past findings fixed.
function(om_add_fuzzer name)
  cmake_parse_arguments(F "" "" "SOURCES;LIBS" ${ARGN})
  if(OM_BUILD_FUZZ)
    add_executable(${name} ${F_SOURCES})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    add_executable(${name} ${F_SOURCES} ${PROJECT_SOURCE_DIR}/fuzz/ReplayMain.cpp)
    add_test(NAME fuzz.${name} COMMAND ${name} ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
    set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz)
  endif()
  target_link_libraries(${name} PRIVATE ${F_LIBS})
endfunction()

# om_add_bench(NAME SOURCES... LIBS...)
function(om_add_bench name)
  cmake_parse_arguments(B "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${B_SOURCES})
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
endfunction()
