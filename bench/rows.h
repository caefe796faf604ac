// The rows of the benchmark: what each is called in reports, and which row of SQLite it is held against.
#pragma once

#include <array>

namespace bench {

struct Row {
  const char* id;
  const char* title;
  const char* ours = nullptr;  // another row of XKRDB's that this one is compared with; null: the same
};

inline constexpr std::array kRows = {
    Row{"open", "open, read the first 10 records"},
    Row{"load", "bulk load, close"},
    Row{"add", "durable add of a record"},
    Row{"edit", "durable edit of a field"},
    Row{"delete_logged", "durable delete with log entry"},
    Row{"read_all_first", "read all, copied out, the first time"},
    Row{"read_all", "read all by position, copied out"},
    Row{"read_random", "read all in random order, pointers"},
    Row{"sort_text", "sort by text, Unicode order"},
    Row{"sort_text_binary", "the same against binary order", "sort_text"},
    Row{"sort_number", "sort by number"},
    Row{"sort_date", "sort by date"},
    Row{"edit_after_sort", "first durable edit after a sort"},
    Row{"edit_after_sort_first", "the same, as the first commit"},
    Row{"query_number", "find a number"},
    Row{"query_word", "find a word (SQLite: LIKE)"},
    Row{"add_10_find_word", "10 adds, find a word (SQLite: FTS5)"},
    Row{"delete_fifth", "delete a fifth, one by one"},
    Row{"delete_all", "delete all"},
};

struct ObjectStoreRow {
  const char* id;
  const char* title;
};

inline constexpr std::array kObjectStoreRows = {
    ObjectStoreRow{"open", "mount, open, read the first 10"},
    ObjectStoreRow{"load_per_record", "load, per record"},
    ObjectStoreRow{"read_all_first_per_record", "read all the first time, per record"},
    ObjectStoreRow{"read_all_per_record", "read all, per record"},
    ObjectStoreRow{"add", "durable add"},
    ObjectStoreRow{"edit", "durable edit"},
};

struct Amount {
  const char* id;
  const char* title;
  double divisor;
};

inline constexpr std::array kAmounts = {
    Amount{"file_bytes", "file at rest, KiB", 1024},
    Amount{"memory_peak_kib", "peak memory, open and read all, KiB", 1},
    Amount{"memory_at_start_kib", "of which before opening, KiB", 1},
};

}  // namespace bench
