# The cross compiler of the device library: that for 32-bit Windows, which can link for Windows CE.
set(XKRDB_WINDOWS_PROCESSOR i686)
include("${CMAKE_CURRENT_LIST_DIR}/windows-toolchain.cmake")
