# Tables of characters for systems without ICU. The programs that write them are compiled and run on the machine that
# builds, with its own compiler and its ICU, whatever the build is for.
#
# xkrdb_text_tables(<target> PROGRAM <source> SEES <folders...> WRITES <file> [SOURCES <files...>])
#
# The target is an INTERFACE library: who links it includes the file that the program writes.
if(CMAKE_CROSSCOMPILING)
  find_program(XKRDB_HOST_COMPILER NAMES c++ g++ clang++ REQUIRED NO_CMAKE_FIND_ROOT_PATH)
else()
  set(XKRDB_HOST_COMPILER "${CMAKE_CXX_COMPILER}")
endif()

function(xkrdb_text_tables target)
  cmake_parse_arguments(tables "" "PROGRAM;WRITES" "SEES" ${ARGN})
  get_filename_component(name "${tables_PROGRAM}" NAME_WE)
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/tables")
  set(includes)
  foreach(seen IN LISTS tables_SEES)
    list(APPEND includes "-I${PROJECT_SOURCE_DIR}/${seen}")
  endforeach()
  add_custom_command(
    OUTPUT "${folder}/${tables_WRITES}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
    COMMAND "${XKRDB_HOST_COMPILER}" -std=c++20 -O1 ${includes} "${CMAKE_CURRENT_SOURCE_DIR}/${tables_PROGRAM}" -o
            "${folder}/${name}" -MD -MF "${folder}/${name}.d" -MT "${folder}/${tables_WRITES}" -licui18n -licuuc
    COMMAND "${folder}/${name}" "${folder}/${tables_WRITES}"
    DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${tables_PROGRAM}"
    DEPFILE "${folder}/${name}.d"
    COMMENT "Writing ${tables_WRITES}"
    VERBATIM)
  add_custom_target(${target}_file DEPENDS "${folder}/${tables_WRITES}")
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_file)
  target_include_directories(${target} INTERFACE "${folder}")
endfunction()
