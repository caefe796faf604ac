# SQLite for a system that has no package of it: compiled from its amalgamation, which scripts/fetch-sqlite puts into the
# build folder. What the object store does not use is left out.
if(NOT TARGET SQLite::SQLite3)
  set(amalgamation "${CMAKE_BINARY_DIR}/sqlite")
  execute_process(COMMAND "${PROJECT_SOURCE_DIR}/scripts/fetch-sqlite" "${amalgamation}" RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "SQLite's amalgamation cannot be fetched")
  endif()
  add_library(xkrdb_sqlite STATIC "${amalgamation}/sqlite3.c")
  target_include_directories(xkrdb_sqlite SYSTEM PUBLIC "${amalgamation}")
  target_compile_options(xkrdb_sqlite PRIVATE -w -O2)
  target_compile_definitions(
    xkrdb_sqlite
    PRIVATE SQLITE_THREADSAFE=2 # connections are never shared between threads, but there may be several
            SQLITE_DEFAULT_MEMSTATUS=0
            SQLITE_DQS=0
            SQLITE_LIKE_DOESNT_MATCH_BLOBS
            SQLITE_OMIT_DEPRECATED
            SQLITE_OMIT_LOAD_EXTENSION
            SQLITE_OMIT_PROGRESS_CALLBACK
            SQLITE_OMIT_SHARED_CACHE
            SQLITE_TEMP_STORE=2)
  add_library(SQLite::SQLite3 ALIAS xkrdb_sqlite)
endif()
set(SQLite3_FOUND TRUE)
