# CLI11 as headers alone (see WithoutPackages.cmake).
if(NOT TARGET CLI11::CLI11)
  xkrdb_header_of_this_machine(CLI11_HEADERS CLI)
  add_library(xkrdb_cli11 INTERFACE)
  target_include_directories(xkrdb_cli11 SYSTEM INTERFACE "${CLI11_HEADERS}")
  add_library(CLI11::CLI11 ALIAS xkrdb_cli11)
endif()
set(CLI11_FOUND TRUE)
