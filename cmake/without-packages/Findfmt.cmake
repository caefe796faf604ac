# fmt as headers alone (see WithoutPackages.cmake).
if(NOT TARGET fmt::fmt)
  xkrdb_header_of_this_machine(FMT_HEADERS fmt)
  add_library(xkrdb_fmt INTERFACE)
  target_include_directories(xkrdb_fmt SYSTEM INTERFACE "${FMT_HEADERS}")
  target_compile_definitions(xkrdb_fmt INTERFACE FMT_HEADER_ONLY)
  add_library(fmt::fmt ALIAS xkrdb_fmt)
endif()
set(fmt_FOUND TRUE)
