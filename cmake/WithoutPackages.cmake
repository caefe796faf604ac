# For a system that has no packages of what the house takes from elsewhere. Libraries that are headers alone are taken from
# this machine's own packages, copied to a folder of their own, since the compiler must not meet this system's other headers;
# the others are compiled from source by modules that find_package finds here.
list(PREPEND CMAKE_MODULE_PATH "${PROJECT_SOURCE_DIR}/cmake/without-packages")

# xkrdb_header_of_this_machine(<out variable> <file or folder within an include folder>): the folder that holds the copy.
function(xkrdb_header_of_this_machine out header)
  find_path(${out}_SOURCE "${header}" PATHS /usr/include /usr/local/include REQUIRED NO_DEFAULT_PATH
            NO_CMAKE_FIND_ROOT_PATH)
  cmake_path(GET header PARENT_PATH parent)
  set(folder "${CMAKE_BINARY_DIR}/headers/${out}")
  file(COPY "${${out}_SOURCE}/${header}" DESTINATION "${folder}/${parent}")
  set(${out} "${folder}" CACHE PATH "Holds ${header}")
endfunction()

# xkrdb_fetched_library(<target> NAME <name for clients> SCRIPT <of scripts/> SOURCE <file> [OPTIONS <...>] [DEFINES <...>]):
# a library of one source, which the script puts into the build folder.
function(xkrdb_fetched_library target)
  cmake_parse_arguments(library "" "NAME;SCRIPT;SOURCE" "OPTIONS;DEFINES" ${ARGN})
  set(folder "${CMAKE_BINARY_DIR}/${target}")
  execute_process(COMMAND "${PROJECT_SOURCE_DIR}/scripts/${library_SCRIPT}" "${folder}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "scripts/${library_SCRIPT} failed: there are no sources of ${library_NAME}")
  endif()
  add_library(${target} STATIC "${folder}/${library_SOURCE}")
  target_include_directories(${target} SYSTEM PUBLIC "${folder}")
  target_compile_options(${target} PRIVATE -w ${library_OPTIONS})
  target_compile_definitions(${target} PRIVATE ${library_DEFINES})
  add_library(${library_NAME} ALIAS ${target})
endfunction()
