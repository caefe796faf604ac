# The three shared libraries. Each exports exactly the names in the exports.txt of its folder.
function(xkrdb_shared_library target output_name exports)
  cmake_parse_arguments(library "" "" "FOLDERS;LIBRARIES" ${ARGN})
  add_library(${target} SHARED)
  foreach(folder IN LISTS library_FOLDERS)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:${folder}>)
  endforeach()
  set(script "${CMAKE_BINARY_DIR}/exports/${output_name}.map")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
  file(STRINGS "${exports}" names)
  list(JOIN names ";\n    " names)
  file(CONFIGURE OUTPUT "${script}" CONTENT "{\n  global:\n    @names@;\n  local:\n    *;\n};\n" @ONLY)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME "${output_name}" LINKER_LANGUAGE CXX LINK_DEPENDS "${script}"
                                             VERSION "${PROJECT_VERSION}" SOVERSION "${PROJECT_VERSION_MAJOR}"
                                             INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)
  target_link_options(${target} PRIVATE "-Wl,--version-script,${script}" "-Wl,--no-undefined")
  target_link_libraries(${target} PRIVATE xkrdb_build_options ${library_LIBRARIES})
endfunction()

xkrdb_shared_library(xkrdb_objectstore objectstore "${PROJECT_SOURCE_DIR}/objectstore/exports.txt"
                     FOLDERS objectstore platform_posix LIBRARIES SQLite::SQLite3 ICU::i18n ICU::uc)
xkrdb_shared_library(xkrdb_wordbreaker XKRWBRKCE "${PROJECT_SOURCE_DIR}/wordbreaker/exports.txt"
                     FOLDERS wordbreaker LIBRARIES ICU::i18n ICU::uc)
xkrdb_shared_library(xkrdb XKRDBCEPPC "${PROJECT_SOURCE_DIR}/engine/exports.txt"
                     FOLDERS engine catalog records recset datetime platform_posix
                     LIBRARIES xkrdb_objectstore xkrdb_wordbreaker)
# The calls of xkrvolume.h are the object store's own: who links the library gets them as well.
target_link_libraries(xkrdb INTERFACE xkrdb_objectstore)
target_include_directories(xkrdb INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/xkrdb>)
