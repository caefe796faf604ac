# xkrdb_test(<name> SOURCES <files...> [FOLDERS <folder targets...>] [SEES <folders...>] [WRAP <functions...>]
#            [LIBRARIES <targets...>])
#
# One test program, run whole as one entry of ctest. It is linked from the folders' objects, so that it reaches internal
# functions and may put itself between the engine and the platform: WRAP names functions that the linker redirects to the
# test's own __wrap_<function>.
#
# xkrdb_campaign(<name> BRIEFLY <arguments...> SOURCES <files...> [FOLDERS ...] [SEES ...] [WRAP ...] [LIBRARIES ...])
#
# A program with a main of its own that can run for hours. ctest runs it once, with the arguments that make it brief.
find_package(GTest REQUIRED)

function(xkrdb_test_program name)
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
  target_link_libraries(${name} PRIVATE xkrdb_build_options ${test_LIBRARIES})
endfunction()

function(xkrdb_test name)
  xkrdb_test_program(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()

function(xkrdb_campaign name)
  cmake_parse_arguments(campaign "" "" "BRIEFLY;SOURCES;FOLDERS;SEES;WRAP;LIBRARIES" ${ARGN})
  xkrdb_test_program(
    ${name}
    SOURCES ${campaign_SOURCES}
    FOLDERS ${campaign_FOLDERS}
    SEES ${campaign_SEES}
    WRAP ${campaign_WRAP}
    LIBRARIES ${campaign_LIBRARIES})
  add_test(NAME ${name} COMMAND ${name} ${campaign_BRIEFLY})
  set_tests_properties(${name} PROPERTIES TIMEOUT 900)
endfunction()
