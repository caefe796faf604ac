# libcsv for a system that has no package of it: compiled from its sources, which scripts/fetch-libcsv puts into the build
# folder.
if(NOT TARGET Csv::Csv)
  set(sources "${CMAKE_BINARY_DIR}/libcsv")
  execute_process(COMMAND "${PROJECT_SOURCE_DIR}/scripts/fetch-libcsv" "${sources}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "libcsv's sources cannot be fetched")
  endif()
  add_library(xkrdb_csv STATIC "${sources}/libcsv.c")
  target_include_directories(xkrdb_csv SYSTEM PUBLIC "${sources}")
  target_compile_options(xkrdb_csv PRIVATE -w)
  add_library(Csv::Csv ALIAS xkrdb_csv)
endif()
set(Csv_FOUND TRUE)
