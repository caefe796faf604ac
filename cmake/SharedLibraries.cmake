# The three shared libraries. Each exports exactly the names in the exports.txt of its folder.
#
# On Windows they need nothing but each other and the system's: the compiler's runtime is in each that uses it.
function(xkrdb_shared_library target output_name exports)
  cmake_parse_arguments(library "" "" "FOLDERS;LIBRARIES" ${ARGN})
  add_library(${target} SHARED)
  foreach(folder IN LISTS library_FOLDERS)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${folder}>)
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
  file(STRINGS "${exports}" names)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME "${output_name}" LINKER_LANGUAGE CXX)
  if(WIN32)
    set(definition "${CMAKE_BINARY_DIR}/exports/${output_name}.def")
    list(JOIN names "\n  " names)
    file(CONFIGURE OUTPUT "${definition}" CONTENT "LIBRARY ${output_name}.dll\nEXPORTS\n  @names@\n" @ONLY)
    target_sources(${target} PRIVATE "${definition}")
    set_target_properties(${target} PROPERTIES PREFIX "")
    target_link_options(${target} PRIVATE -static "-Wl,--disable-stdcall-fixup")
  else()
    set(script "${CMAKE_BINARY_DIR}/exports/${output_name}.map")
    list(JOIN names ";\n    " names)
    file(CONFIGURE OUTPUT "${script}" CONTENT "{\n  global:\n    @names@;\n  local:\n    *;\n};\n" @ONLY)
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${script}" VERSION "${PROJECT_VERSION}"
                                               SOVERSION "${PROJECT_VERSION_MAJOR}" INSTALL_RPATH "$ORIGIN"
                                               BUILD_WITH_INSTALL_RPATH ON)
    target_link_options(${target} PRIVATE "-Wl,--version-script,${script}" "-Wl,--no-undefined")
  endif()
  target_link_libraries(${target} PRIVATE xkrdb_build_options ${library_LIBRARIES})
endfunction()

xkrdb_shared_library(xkrdb_objectstore objectstore "${PROJECT_SOURCE_DIR}/objectstore/exports.txt"
                     FOLDERS objectstore ${XKRDB_PLATFORM} LIBRARIES xkrdb_objectstore_needs)
xkrdb_shared_library(xkrdb_wordbreaker XKRWBRKCE "${PROJECT_SOURCE_DIR}/wordbreaker/exports.txt"
                     FOLDERS wordbreaker LIBRARIES xkrdb_wordbreaker_needs)
xkrdb_shared_library(xkrdb XKRDBCEPPC "${PROJECT_SOURCE_DIR}/engine/exports.txt"
                     FOLDERS engine catalog records recset datetime ${XKRDB_PLATFORM}
                     LIBRARIES xkrdb_objectstore xkrdb_wordbreaker)
# The calls of xkrvolume.h are the object store's own: who links the library gets them as well.
target_link_libraries(xkrdb INTERFACE xkrdb_objectstore)
target_include_directories(xkrdb INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/xkrdb>)
