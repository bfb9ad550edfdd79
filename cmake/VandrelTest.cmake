# vandrel_add_test(<name> SOURCES <files...> LIBS <targets...> [PROPERTIES <ctest properties...>])
#
# The one place that turns a test source into a CTest-registered executable.
# Tests are discovered when they run (PRE_TEST), not at build time, so a Qt test
# binary is never started without its environment.
include(GoogleTest)

function(vandrel_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;PROPERTIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  target_compile_definitions(${name} PRIVATE
    VANDREL_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data"
    VANDREL_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp"
               TIMEOUT 300 ${ARG_PROPERTIES})
endfunction()

# Every file named *_test.cpp below <dir> becomes its own test executable,
# named after the file. Adding a test is adding a file.
function(vandrel_add_test_dir dir prefix)
  cmake_parse_arguments(ARG "" "" "LIBS;EXCLUDE;PROPERTIES" ${ARGN})
  file(GLOB_RECURSE tests CONFIGURE_DEPENDS ${dir}/*_test.cpp)
  foreach(src ${tests})
    get_filename_component(base ${src} NAME_WE)
    if(base IN_LIST ARG_EXCLUDE)
      continue()
    endif()
    vandrel_add_test(${prefix}${base} SOURCES ${src} LIBS ${ARG_LIBS} PROPERTIES ${ARG_PROPERTIES})
  endforeach()
endfunction()
