# The cross compiler for Windows: the MinGW that Debian packages, for the processor that XKRDB_WINDOWS_PROCESSOR names,
# i686 or x86_64.
if(NOT XKRDB_WINDOWS_PROCESSOR)
  set(XKRDB_WINDOWS_PROCESSOR i686)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES XKRDB_WINDOWS_PROCESSOR)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${XKRDB_WINDOWS_PROCESSOR})

set(xkrdb_mingw ${XKRDB_WINDOWS_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${xkrdb_mingw}-gcc-posix)
set(CMAKE_CXX_COMPILER ${xkrdb_mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${xkrdb_mingw}-windres)
set(CMAKE_DLLTOOL ${xkrdb_mingw}-dlltool)

# Headers and libraries are the cross compiler's own; programs are this machine's.
set(CMAKE_FIND_ROOT_PATH /usr/${xkrdb_mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
