# For tests that watch the engine's platform calls: the calls to wrap, the sources that wrap them, and all folders that
# such a program is linked from.
#
#   include("${PROJECT_SOURCE_DIR}/tests/support/PlatformSeam.cmake")
#   xkrdb_seam_test(engine_test SEES engine SOURCES volume_test.cc)
include_guard()

set(XKRDB_SEAM_WRAP
    CeMountDBVol
    CeUnmountDBVol
    CeFlushDBVol
    CeCreateDatabaseEx
    CeOpenDatabaseEx
    CeDeleteDatabaseEx
    CeFindFirstDatabaseEx
    CeFindNextDatabaseEx
    CeOidGetInfoEx
    CeSetDatabaseInfoEx
    CeSeekDatabase
    CeReadRecordPropsEx
    CeWriteRecordProps
    CeDeleteRecord
    CloseHandle
    GetLastError
    LocalAlloc
    LocalReAlloc
    LocalSize
    LocalFree
    FindFirstFileW
    FindNextFileW
    FindClose
    CreateDirectoryW
    DeleteFileW
    GetSystemTime
    XKRWbrInit
    XKRWbrShutdown
    FWOpenSession
    FWFindWord
    FWCloseSession)

set(XKRDB_SEAM_SOURCES "${PROJECT_SOURCE_DIR}/tests/support/platform_seam.cc"
                       "${PROJECT_SOURCE_DIR}/tests/support/seam_text.cc"
                       "${PROJECT_SOURCE_DIR}/tests/support/seam_store_calls.cc"
                       "${PROJECT_SOURCE_DIR}/tests/support/seam_other_calls.cc"
                       "${PROJECT_SOURCE_DIR}/tests/support/volume_snapshot.cc")

# The tests under Wine put the seam in place in their own ways and need no more than the two lists.
if(WIN32)
  return()
endif()
find_package(SQLite3 REQUIRED)
find_package(ICU REQUIRED COMPONENTS i18n uc)

set(XKRDB_SEAM_FOLDERS engine catalog records recset datetime objectstore wordbreaker platform_posix)
set(XKRDB_SEAM_LIBRARIES SQLite::SQLite3 ICU::i18n ICU::uc)

# The seam's sources are compiled once for all programs that need them.
if(NOT TARGET xkrdb_platform_seam)
  add_library(xkrdb_platform_seam OBJECT ${XKRDB_SEAM_SOURCES})
  target_include_directories(xkrdb_platform_seam PRIVATE "${PROJECT_SOURCE_DIR}/include"
                                                         "${PROJECT_SOURCE_DIR}/platform")
  target_link_libraries(xkrdb_platform_seam PRIVATE xkrdb_build_options)
endif()

# xkrdb_seam_test(<name> SOURCES <files...> [SEES <folders...>]): a test of the whole engine with the seam in place.
function(xkrdb_seam_test name)
  cmake_parse_arguments(test "" "" "SOURCES;SEES" ${ARGN})
  xkrdb_test(${name} SOURCES ${test_SOURCES}
             FOLDERS ${XKRDB_SEAM_FOLDERS} xkrdb_platform_seam
             SEES platform ${test_SEES}
             WRAP ${XKRDB_SEAM_WRAP}
             LIBRARIES ${XKRDB_SEAM_LIBRARIES})
endfunction()
