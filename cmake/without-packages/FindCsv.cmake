# libcsv for a system that has no package of it: compiled from its sources.
if(NOT TARGET Csv::Csv)
  xkrdb_fetched_library(xkrdb_csv NAME Csv::Csv SCRIPT fetch-libcsv SOURCE libcsv.c)
endif()
set(Csv_FOUND TRUE)
