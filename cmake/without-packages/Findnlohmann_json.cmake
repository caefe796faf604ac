# nlohmann_json as headers alone (see WithoutPackages.cmake).
if(NOT TARGET nlohmann_json::nlohmann_json)
  xkrdb_header_of_this_machine(JSON_HEADERS nlohmann)
  add_library(xkrdb_nlohmannjson INTERFACE)
  target_include_directories(xkrdb_nlohmannjson SYSTEM INTERFACE "${JSON_HEADERS}")
  add_library(nlohmann_json::nlohmann_json ALIAS xkrdb_nlohmannjson)
endif()
set(nlohmann_json_FOUND TRUE)
