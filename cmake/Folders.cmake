# xkrdb_folder(<target> [FREESTANDING] SEES <folders...> SOURCES <files...> [LIBRARIES <targets...>])
#
# One folder of the house as an OBJECT library. Its include path holds include/, the folder itself and the folders it may
# see, and nothing else of ours: a wrong include does not compile. FREESTANDING folders do without exceptions and RTTI,
# since the same sources go into the device library.
add_library(xkrdb_freestanding_options INTERFACE)
target_compile_options(
  xkrdb_freestanding_options
  INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions> $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)

function(xkrdb_folder target)
  cmake_parse_arguments(folder "FREESTANDING" "" "SEES;SOURCES;LIBRARIES" ${ARGN})
  add_library(${target} OBJECT ${folder_SOURCES})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/include" "${CMAKE_CURRENT_SOURCE_DIR}")
  foreach(seen IN LISTS folder_SEES)
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/${seen}")
  endforeach()
  target_link_libraries(${target} PRIVATE xkrdb_build_options ${folder_LIBRARIES})
  # Under the sanitizers the house is optimised, so that long tests stay short, and the tests themselves are not, which
  # more than halves the time to build them.
  if(XKRDB_SANITIZE)
    target_compile_options(${target} PRIVATE -O1)
  endif()
  if(folder_FREESTANDING)
    target_link_libraries(${target} PRIVATE xkrdb_freestanding_options)
  endif()
endfunction()

# xkrdb_folder_again(<target> <folder target>): the folder's sources compiled once more, with what it sees and no options yet.
function(xkrdb_folder_again target folder)
  get_target_property(sources ${folder} SOURCES)
  get_target_property(source_dir ${folder} SOURCE_DIR)
  get_target_property(seen ${folder} INCLUDE_DIRECTORIES)
  list(TRANSFORM sources PREPEND "${source_dir}/")
  add_library(${target} OBJECT ${sources})
  target_include_directories(${target} PRIVATE ${seen})
endfunction()
