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
function(om_add_fuzzer name)
  cmake_parse_arguments(F "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${F_SOURCES})
  target_link_libraries(${name} PRIVATE ${F_LIBS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

# om_add_bench(NAME SOURCES... LIBS...)
function(om_add_bench name)
  cmake_parse_arguments(B "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${B_SOURCES})
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
endfunction()
