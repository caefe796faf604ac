# xkrdb_test(<name> SOURCES <files...> [FOLDERS <folder targets...>] [SEES <folders...>] [WRAP <functions...>]
#            [LIBRARIES <targets...>])
#
# One test program, run whole as one entry of ctest. It is linked from the folders' objects, so that it reaches internal
# functions and may put itself between the engine and the platform: WRAP names functions that the linker redirects to the
# test's own __wrap_<function>.
find_package(GTest REQUIRED)

function(xkrdb_test name)
  cmake_parse_arguments(test "" "" "SOURCES;FOLDERS;SEES;WRAP;LIBRARIES" ${ARGN})
  add_executable(${name} ${test_SOURCES})
  foreach(folder IN LISTS test_FOLDERS)
    target_sources(${name} PRIVATE $<TARGET_OBJECTS:${folder}>)
  endforeach()
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}/tests/support")
  foreach(seen IN LISTS test_SEES)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/${seen}")
  endforeach()
  foreach(function IN LISTS test_WRAP)
    target_link_options(${name} PRIVATE "-Wl,--wrap=${function}")
  endforeach()
  target_link_libraries(${name} PRIVATE xkrdb_build_options ${test_LIBRARIES} GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()
