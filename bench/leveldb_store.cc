// LevelDB: every write synced, 64 MiB for blocks, no compression, since its time would be measured.
#include <fmt/format.h>
#include <leveldb/cache.h>
#include <leveldb/db.h>
#include <leveldb/write_batch.h>

#include "log_structured_store.h"

namespace bench {
namespace {

struct LevelDb {
  using DB = leveldb::DB;
  using WriteBatch = leveldb::WriteBatch;
  using Iterator = leveldb::Iterator;
  using WriteOptions = leveldb::WriteOptions;
  using Slice = leveldb::Slice;
  using Status = leveldb::Status;

  static constexpr const char* kName = "leveldb";
  static std::string Version() { return fmt::format("{}.{}", leveldb::kMajorVersion, leveldb::kMinorVersion); }

  static Status Open(const std::string& path, bool create, DB** database) {
    constexpr size_t kCacheBytes = size_t{64} << 20;
    static const std::unique_ptr<leveldb::Cache> cache(leveldb::NewLRUCache(kCacheBytes));
    leveldb::Options options;
    options.create_if_missing = create;
    options.compression = leveldb::kNoCompression;
    options.block_cache = cache.get();
    return DB::Open(options, path, database);
  }
};

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<LogStructuredStore<LevelDb>>(); }

}  // namespace bench
