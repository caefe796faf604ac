# The cross compiler of the device library: 32-bit x86, the MinGW that Debian packages, which can link for Windows CE.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)

set(xkrdb_device_prefix i686-w64-mingw32)
set(CMAKE_C_COMPILER ${xkrdb_device_prefix}-gcc-posix)
set(CMAKE_CXX_COMPILER ${xkrdb_device_prefix}-g++-posix)
set(CMAKE_DLLTOOL ${xkrdb_device_prefix}-dlltool)

# Headers and libraries are the cross compiler's own; programs are this machine's.
set(CMAKE_FIND_ROOT_PATH /usr/${xkrdb_device_prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
