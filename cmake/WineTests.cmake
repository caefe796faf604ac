# xkrdb_wine_test(<name> SOURCES <files...> [SEES <folders...>] [FOLDERS <object libraries...>] [LIBRARIES <targets...>]
#                 [WRAP <functions...>] [LEAVES_OUT <tests...>])
#
# One program of GoogleTest, compiled from its sources for Windows and run whole under Wine as one entry of ctest. Texts are
# char16_t in it, as in all tests of the house.
#
# xkrdb_wine_abi_test(<name> [SEES <folders...>] [LIBRARIES <targets...>] [LEAVES_OUT <tests...>])
#
# The engine's library as a loader meets it, its records, and a client that finds the calls by name.
#
# One Wine server serves all tests, in a prefix in the build folder. No display, no help with crashes.
add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)

set(wine_scripts "${PROJECT_SOURCE_DIR}/tests/device")
set(XKRDB_WINE_ENVIRONMENT
    "WINEDEBUG=-all" "WINEPREFIX=${CMAKE_BINARY_DIR}/wine" "DISPLAY="
    "WINEDLLOVERRIDES=mscoree,mshtml,winemenubuilder.exe,winedbg.exe=d")
if(NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  list(APPEND XKRDB_WINE_ENVIRONMENT "WINEARCH=win32")
endif()
add_test(NAME wine_starts COMMAND "${wine_scripts}/wine_server" start)
add_test(NAME wine_stops COMMAND "${wine_scripts}/wine_server" stop)
set_tests_properties(wine_starts PROPERTIES FIXTURES_SETUP wine TIMEOUT 120 ENVIRONMENT "${XKRDB_WINE_ENVIRONMENT}")
set_tests_properties(wine_stops PROPERTIES FIXTURES_CLEANUP wine TIMEOUT 60 ENVIRONMENT "${XKRDB_WINE_ENVIRONMENT}")

# The tests of dates and times that need nothing but a clock that stands still.
file(GLOB XKRDB_DATETIME_TESTS CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/datetime/*_test.cc")
list(FILTER XKRDB_DATETIME_TESTS EXCLUDE REGEX "/reference_[a-z]*_test\\.cc$")
list(APPEND XKRDB_DATETIME_TESTS "${PROJECT_SOURCE_DIR}/tests/datetime/datetime_samples.cc"
     "${PROJECT_SOURCE_DIR}/tests/datetime/fixed_clock.cc")

# Those of random record set calls against a plain model.
set(XKRDB_RECSET_MODEL_TESTS "${PROJECT_SOURCE_DIR}/tests/device/plain_text_order.cc")
foreach(part call_stream call_stream_comparisons call_stream_draws model_test plain_model plain_values)
  list(APPEND XKRDB_RECSET_MODEL_TESTS "${PROJECT_SOURCE_DIR}/tests/recset/${part}.cc")
endforeach()

function(xkrdb_wine_test name)
  cmake_parse_arguments(test "" "" "SOURCES;SEES;FOLDERS;LIBRARIES;WRAP;LEAVES_OUT" ${ARGN})
  add_executable(${name} ${test_SOURCES})
  foreach(folder IN LISTS test_FOLDERS)
    target_sources(${name} PRIVATE $<TARGET_OBJECTS:${folder}>)
  endforeach()
  target_compile_definitions(${name} PRIVATE MDB_CHAR16)
  foreach(seen include tests/support ${test_SEES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/${seen}")
  endforeach()
  target_link_libraries(${name} PRIVATE xkrdb_build_options ${test_LIBRARIES} gtest gtest_main)
  target_link_options(${name} PRIVATE -static)
  foreach(function IN LISTS test_WRAP)
    target_link_options(${name} PRIVATE "-Wl,--wrap=${function}")
  endforeach()
  list(JOIN test_LEAVES_OUT ":" left_out)
  add_test(NAME ${name} COMMAND "${wine_scripts}/run_under_wine" "$<TARGET_FILE:${name}>" "--gtest_filter=-${left_out}")
  set_tests_properties(${name} PROPERTIES TIMEOUT 600 FIXTURES_REQUIRED wine ENVIRONMENT "${XKRDB_WINE_ENVIRONMENT}"
                                           WORKING_DIRECTORY "$<TARGET_FILE_DIR:${name}>")
endfunction()

function(xkrdb_wine_abi_test name)
  cmake_parse_arguments(abi "" "" "SEES;LIBRARIES;LEAVES_OUT" ${ARGN})
  set(tests "${PROJECT_SOURCE_DIR}/tests")
  add_library(${name}_c11 OBJECT "${tests}/abi/abi_c11.c")
  target_include_directories(${name}_c11 PRIVATE "${PROJECT_SOURCE_DIR}/include")
  target_link_libraries(${name}_c11 PRIVATE xkrdb_build_options)
  xkrdb_wine_test(
    ${name}
    SOURCES "${tests}/abi/client_by_name_test.cc" "${tests}/abi/layout_test.cc" "${tests}/device/load_test.cc"
            "${tests}/device/loader/dlfcn.cc"
    SEES tests/device/loader ${abi_SEES}
    FOLDERS ${name}_c11
    LIBRARIES ${abi_LIBRARIES}
    LEAVES_OUT ${abi_LEAVES_OUT})
  target_compile_definitions(${name} PRIVATE XKRDB_ENGINE_LIBRARY="XKRDBCEPPC.dll"
                                             XKRDB_EXPORTS="${PROJECT_SOURCE_DIR}/engine/exports.txt")
  add_dependencies(${name} xkrdb)
endfunction()
