// LMDB: one file, a sync for every commit as by default, one read transaction that is renewed for each reading.
#include <lmdb.h>

#include <stdexcept>

#include "key_value_store.h"

namespace bench {
namespace {

[[noreturn, gnu::noinline]] void Fail(int result, const char* what) {
  throw std::runtime_error(std::string(what) + ": " + mdb_strerror(result));
}

void Require(int result, const char* what) {
  if (result != MDB_SUCCESS) Fail(result, what);
}

MDB_val Value(std::string_view bytes) { return {bytes.size(), const_cast<char*>(bytes.data())}; }
std::string_view Bytes(const MDB_val& value) { return {static_cast<const char*>(value.mv_data), value.mv_size}; }

class LmdbStore : public KeyValueStore {
 public:
  std::string Name() const override { return "lmdb"; }
  std::string Version() const override { return mdb_version(nullptr, nullptr, nullptr); }

 protected:
  void OpenFile(const std::string& path, bool create) override;
  void CloseFile() override;
  void BeginWriting() override { Require(mdb_txn_begin(environment_, nullptr, 0, &writing_), "writing"); }
  void Put(std::string_view key, std::string_view value, bool load) override;
  void Remove(std::string_view key) override;
  void Commit() override { Require(mdb_txn_commit(writing_), "committing"); }
  void BeginReading() override { Require(mdb_txn_renew(reading_), "reading"); }
  void EndReading() override { mdb_txn_reset(reading_); }
  bool Get(std::string_view key, const Visitor& visit) override;
  void Scan(char kind, const Visitor& visit) override;

 private:
  MDB_env* environment_ = nullptr;
  MDB_txn* reading_ = nullptr;
  MDB_txn* writing_ = nullptr;
  MDB_dbi table_ = 0;
};

void LmdbStore::OpenFile(const std::string& path, bool create) {
  constexpr size_t kMapBytes = size_t{256} << 20;
  constexpr mdb_mode_t kMode = 0644;
  Require(mdb_env_create(&environment_), "an environment");
  Require(mdb_env_set_mapsize(environment_, kMapBytes), "the map's size");
  Require(mdb_env_open(environment_, path.c_str(), MDB_NOSUBDIR | MDB_NOTLS, kMode), "opening");
  MDB_txn* first = nullptr;
  Require(mdb_txn_begin(environment_, nullptr, create ? 0 : MDB_RDONLY, &first), "a first transaction");
  Require(mdb_dbi_open(first, nullptr, 0, &table_), "the table");
  Require(mdb_txn_commit(first), "committing");
  Require(mdb_txn_begin(environment_, nullptr, MDB_RDONLY, &reading_), "a read transaction");
  mdb_txn_reset(reading_);
}

void LmdbStore::CloseFile() {
  mdb_txn_abort(reading_);
  mdb_env_close(environment_);
}

void LmdbStore::Put(std::string_view key, std::string_view value, bool load) {
  MDB_val name = Value(key);
  MDB_val content = Value(value);
  Require(mdb_put(writing_, table_, &name, &content, load ? MDB_APPEND : 0), "putting");
}

void LmdbStore::Remove(std::string_view key) {
  MDB_val name = Value(key);
  Require(mdb_del(writing_, table_, &name, nullptr), "deleting");
}

bool LmdbStore::Get(std::string_view key, const Visitor& visit) {
  MDB_val name = Value(key);
  MDB_val content{};
  const int result = mdb_get(reading_, table_, &name, &content);
  if (result == MDB_NOTFOUND) return false;
  Require(result, "getting");
  visit(key, Bytes(content));
  return true;
}

void LmdbStore::Scan(char kind, const Visitor& visit) {
  MDB_cursor* cursor = nullptr;
  Require(mdb_cursor_open(reading_, table_, &cursor), "a cursor");
  const Key first(kind, 0);
  MDB_val key = Value(first.bytes());
  MDB_val content{};
  int result = mdb_cursor_get(cursor, &key, &content, MDB_SET_RANGE);
  while (result == MDB_SUCCESS && Bytes(key)[0] == kind && visit(Bytes(key), Bytes(content))) {
    result = mdb_cursor_get(cursor, &key, &content, MDB_NEXT);
  }
  mdb_cursor_close(cursor);
  if (result != MDB_NOTFOUND) Require(result, "scanning");
}

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<LmdbStore>(); }

}  // namespace bench
