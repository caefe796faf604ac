// LevelDB and RocksDB have the same calls under two names: one store for both, over a family of types.
//
// A family has DB, WriteBatch, Iterator, ReadOptions, WriteOptions, Slice, Status and, of its own, kName, Version() and
// Open(path, create, DB**).
#pragma once

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "key_value_store.h"

namespace bench {

template <typename Family>
class LogStructuredStore : public KeyValueStore {
 public:
  std::string Name() const override { return Family::kName; }
  std::string Version() const override { return Family::Version(); }

 protected:
  void OpenFile(const std::string& path, bool create) override {
    typename Family::DB* database = nullptr;
    Require(Family::Open(path, create, &database));
    database_.reset(database);
  }
  void CloseFile() override { database_.reset(); }

  void BeginWriting() override { batch_.Clear(); }
  void Put(std::string_view key, std::string_view value, bool) override { batch_.Put(ToSlice(key), ToSlice(value)); }
  void Remove(std::string_view key) override { batch_.Delete(ToSlice(key)); }
  void Commit() override {
    typename Family::WriteOptions options;
    options.sync = true;
    Require(database_->Write(options, &batch_));
  }

  bool Get(std::string_view key, const Visitor& visit) override {
    const typename Family::Status status = database_->Get({}, ToSlice(key), &value_);
    if (status.IsNotFound()) return false;
    Require(status);
    visit(key, value_);
    return true;
  }

  void Scan(char kind, const Visitor& visit) override {
    const std::unique_ptr<typename Family::Iterator> iterator(database_->NewIterator({}));
    for (iterator->Seek(ToSlice(Key(kind, 0).bytes())); iterator->Valid(); iterator->Next()) {
      const std::string_view key(iterator->key().data(), iterator->key().size());
      if (key[0] != kind || !visit(key, {iterator->value().data(), iterator->value().size()})) break;
    }
    Require(iterator->status());
  }

 private:
  static typename Family::Slice ToSlice(std::string_view bytes) { return {bytes.data(), bytes.size()}; }
  static void Require(const typename Family::Status& status) {
    if (!status.ok()) throw std::runtime_error(status.ToString());
  }

  std::unique_ptr<typename Family::DB> database_;
  typename Family::WriteBatch batch_;
  std::string value_;
};

}  // namespace bench
