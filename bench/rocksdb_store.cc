// RocksDB: every write synced, 64 MiB for blocks, no compression, since its time would be measured, no statistics.
#include <rocksdb/cache.h>
#include <rocksdb/db.h>
#include <rocksdb/table.h>
#include <rocksdb/version.h>

#include "log_structured_store.h"

namespace bench {
namespace {

struct RocksDb {
  using DB = rocksdb::DB;
  using WriteBatch = rocksdb::WriteBatch;
  using Iterator = rocksdb::Iterator;
  using WriteOptions = rocksdb::WriteOptions;
  using Slice = rocksdb::Slice;
  using Status = rocksdb::Status;

  static constexpr const char* kName = "rocksdb";
  static std::string Version() { return rocksdb::GetRocksVersionAsString(); }

  static Status Open(const std::string& path, bool create, DB** database) {
    constexpr size_t kCacheBytes = size_t{64} << 20;
    static const std::shared_ptr<rocksdb::Cache> cache = rocksdb::NewLRUCache(kCacheBytes);
    rocksdb::BlockBasedTableOptions table;
    table.block_cache = cache;
    rocksdb::Options options;
    options.create_if_missing = create;
    options.compression = rocksdb::kNoCompression;
    options.stats_dump_period_sec = 0;
    options.stats_persist_period_sec = 0;
    options.table_factory.reset(rocksdb::NewBlockBasedTableFactory(table));
    return DB::Open(options, path, database);
  }
};

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<LogStructuredStore<RocksDb>>(); }

}  // namespace bench
