# libcsv, which brings nothing to be found by.
find_path(CSV_INCLUDE_DIR csv.h REQUIRED)
find_library(CSV_LIBRARY csv REQUIRED)
if(NOT TARGET Csv::Csv)
  add_library(Csv::Csv UNKNOWN IMPORTED GLOBAL)
  set_target_properties(Csv::Csv PROPERTIES IMPORTED_LOCATION "${CSV_LIBRARY}"
                                            INTERFACE_INCLUDE_DIRECTORIES "${CSV_INCLUDE_DIR}")
endif()
set(Csv_FOUND TRUE)
