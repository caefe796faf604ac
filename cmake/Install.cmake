# What `cmake --install` lays out: the shared libraries, the public headers in include/xkrdb, the tool, a pkg-config
# file and a CMake package. The result may be moved as a whole: every path in it is relative to where it lies.
include(CMakePackageConfigHelpers)

set(xkrdb_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/xkrdb")

install(TARGETS xkrdb xkrdb_objectstore xkrdb_wordbreaker EXPORT xkrdb_targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES include/mdb.h include/mdb_types.h include/xkrvolume.h include/xkrwbrk.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/xkrdb")
install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(TARGETS xkrdb_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")

install(EXPORT xkrdb_targets NAMESPACE xkrdb:: DESTINATION "${xkrdb_package_dir}" FILE xkrdb-targets.cmake)
configure_package_config_file(cmake/xkrdb-config.cmake.in "${CMAKE_BINARY_DIR}/package/xkrdb-config.cmake"
                              INSTALL_DESTINATION "${xkrdb_package_dir}" NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/package/xkrdb-config-version.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/package/xkrdb-config.cmake" "${CMAKE_BINARY_DIR}/package/xkrdb-config-version.cmake"
        DESTINATION "${xkrdb_package_dir}")

# pkg-config gives ${pcfiledir}, the folder of the file itself: the way up from there to the prefix.
file(RELATIVE_PATH xkrdb_pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
configure_file(cmake/xkrdb.pc.in "${CMAKE_BINARY_DIR}/package/xkrdb.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/package/xkrdb.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
