// Berkeley DB: a private environment with transactions, recovery at every opening, a sync for every commit, log files
// of 4 MiB that are written full of zeros when they are made, and a checkpoint before closing.
#include <db.h>

#include <filesystem>
#include <stdexcept>

#include "key_value_store.h"

namespace bench {
namespace {

[[noreturn, gnu::noinline]] void Fail(int result, const char* what) {
  throw std::runtime_error(std::string(what) + ": " + db_strerror(result));
}

void Require(int result, const char* what) {
  if (result != 0) Fail(result, what);
}

DBT Thing(std::string_view bytes) {
  DBT thing{};
  thing.data = const_cast<char*>(bytes.data());
  thing.size = static_cast<u_int32_t>(bytes.size());
  return thing;
}
std::string_view Bytes(const DBT& thing) { return {static_cast<const char*>(thing.data), thing.size}; }

class BerkeleyDbStore : public KeyValueStore {
 public:
  std::string Name() const override { return "berkeleydb"; }
  std::string Version() const override;

 protected:
  void OpenFile(const std::string& path, bool create) override;
  void CloseFile() override;
  void BeginWriting() override {
    Require(environment_->txn_begin(environment_, nullptr, &transaction_, 0), "a transaction");
  }
  void Put(std::string_view key, std::string_view value, bool load) override;
  void Remove(std::string_view key) override;
  void Commit() override { Require(transaction_->commit(transaction_, DB_TXN_SYNC), "committing"); }
  bool Get(std::string_view key, const Visitor& visit) override;
  void Scan(char kind, const Visitor& visit) override;

 private:
  DB_ENV* environment_ = nullptr;
  DB* table_ = nullptr;
  DB_TXN* transaction_ = nullptr;
};

std::string BerkeleyDbStore::Version() const {
  int major = 0;
  int minor = 0;
  int patch = 0;
  db_version(&major, &minor, &patch);
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

void BerkeleyDbStore::OpenFile(const std::string& path, bool create) {
  constexpr u_int32_t kCacheBytes = 64u << 20;
  constexpr u_int32_t kLogBytes = 4u << 20;
  constexpr u_int32_t kLogBufferBytes = 512u << 10;
  constexpr u_int32_t kPageBytes = 4096;
  constexpr int kMode = 0644;
  std::filesystem::create_directories(path);
  Require(db_env_create(&environment_, 0), "an environment");
  Require(environment_->set_cachesize(environment_, 0, kCacheBytes, 1), "the cache's size");
  Require(environment_->set_lg_max(environment_, kLogBytes), "the log's size");
  Require(environment_->set_lg_bsize(environment_, kLogBufferBytes), "the log buffer's size");
  Require(environment_->log_set_config(environment_, DB_LOG_ZERO | DB_LOG_AUTO_REMOVE, 1), "the log's kind");
  Require(environment_->open(environment_, path.c_str(),
                             DB_CREATE | DB_PRIVATE | DB_INIT_TXN | DB_INIT_LOG | DB_INIT_MPOOL | DB_RECOVER, kMode),
          "opening the environment");
  Require(db_create(&table_, environment_, 0), "a table");
  if (create) Require(table_->set_pagesize(table_, kPageBytes), "the page size");
  Require(
      table_->open(table_, nullptr, "table.db", nullptr, DB_BTREE, DB_AUTO_COMMIT | (create ? DB_CREATE : 0), kMode),
      "opening the table");
}

void BerkeleyDbStore::CloseFile() {
  Require(table_->close(table_, 0), "closing the table");
  Require(environment_->txn_checkpoint(environment_, 0, 0, 0), "a checkpoint");
  Require(environment_->close(environment_, 0), "closing the environment");
}

void BerkeleyDbStore::Put(std::string_view key, std::string_view value, bool) {
  DBT name = Thing(key);
  DBT content = Thing(value);
  Require(table_->put(table_, transaction_, &name, &content, 0), "putting");
}

void BerkeleyDbStore::Remove(std::string_view key) {
  DBT name = Thing(key);
  Require(table_->del(table_, transaction_, &name, 0), "deleting");
}

bool BerkeleyDbStore::Get(std::string_view key, const Visitor& visit) {
  DBT name = Thing(key);
  DBT content{};
  const int result = table_->get(table_, nullptr, &name, &content, 0);
  if (result == DB_NOTFOUND) return false;
  Require(result, "getting");
  visit(key, Bytes(content));
  return true;
}

void BerkeleyDbStore::Scan(char kind, const Visitor& visit) {
  DBC* cursor = nullptr;
  Require(table_->cursor(table_, nullptr, &cursor, 0), "a cursor");
  const Key first(kind, 0);
  DBT key = Thing(first.bytes());
  DBT content{};
  int result = cursor->get(cursor, &key, &content, DB_SET_RANGE);
  while (result == 0 && Bytes(key)[0] == kind && visit(Bytes(key), Bytes(content))) {
    result = cursor->get(cursor, &key, &content, DB_NEXT);
  }
  Require(cursor->close(cursor), "closing a cursor");
  if (result != DB_NOTFOUND) Require(result, "scanning");
}

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<BerkeleyDbStore>(); }

}  // namespace bench
