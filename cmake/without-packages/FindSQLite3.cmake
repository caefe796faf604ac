# SQLite for a system that has no package of it: compiled from its amalgamation. What the object store does not use is left
# out.
if(NOT TARGET SQLite::SQLite3)
  xkrdb_fetched_library(
    xkrdb_sqlite
    NAME SQLite::SQLite3
    SCRIPT fetch-sqlite
    SOURCE sqlite3.c
    OPTIONS -O2
    DEFINES SQLITE_THREADSAFE=2 # connections are never shared between threads, but there may be several
            SQLITE_DEFAULT_MEMSTATUS=0
            SQLITE_DQS=0
            SQLITE_LIKE_DOESNT_MATCH_BLOBS
            SQLITE_OMIT_DEPRECATED
            SQLITE_OMIT_LOAD_EXTENSION
            SQLITE_OMIT_PROGRESS_CALLBACK
            SQLITE_OMIT_SHARED_CACHE
            SQLITE_TEMP_STORE=2)
endif()
set(SQLite3_FOUND TRUE)
