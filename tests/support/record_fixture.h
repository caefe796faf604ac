// A test with an open database of a few fields and short ways to its records: what stands in them, in what order, and
// what the store itself holds behind the engine's back.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "engine_fixture.h"

namespace enginetest {

using Texts = std::vector<std::u16string>;
using Calls = std::vector<std::string>;

class RecordTest : public EngineTest {
 protected:
  // Makes a database with fields of these types and opens it with all its tables.
  void Make(std::initializer_list<uint8_t> types) {
    std::vector<Field> fields;
    for (const uint8_t type : types)
      fields.push_back({type, u"field " + std::u16string(1, static_cast<char16_t>(u'0' + fields.size()))});
    ASSERT_NO_FATAL_FAILURE(CreateDatabase(fields));
    ASSERT_NO_FATAL_FAILURE(OpenDatabase());
  }
  void MakeTextFields(size_t count) {
    ASSERT_NO_FATAL_FAILURE(CreateDatabase(std::vector<Field>(count, Field{MDbFieldText, u"text"})));
    ASSERT_NO_FATAL_FAILURE(OpenDatabase());
  }
  void Reopen() {
    ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    OpenDatabase();
  }

  MDbDataTbl* table() { return &env.dataTbl; }

  // Adds a record that the host knows (state 0) or a new one (state 5); its identifier.
  uint32_t Add(const Texts& texts, bool known = true) {
    std::vector<const MDbChar*> pointers;
    for (const std::u16string& text : texts) pointers.push_back(text.c_str());
    uint32_t oid = 0;
    EXPECT_EQ(MDbStatusOk, MDbDataTblAddRec(&env, ref(), table(), &kInfo, pointers.data(),
                                            static_cast<int16_t>(pointers.size()), known ? 1 : 0, &oid, nullptr));
    return oid;
  }
  uint32_t AddBlank() {
    uint32_t oid = 0;
    EXPECT_EQ(MDbStatusOk, MDbDataTblNewRec(&env, ref(), table(), &env.schemaTbl, &oid, nullptr));
    return oid;
  }

  uint32_t Count() {
    uint32_t count = 0xDEAD;
    EXPECT_EQ(MDbStatusOk, MDbDataTblGetRecCount(&env, ref(), table(), &count));
    return count;
  }
  uint32_t LogCount() {
    uint32_t count = 0xDEAD;
    EXPECT_EQ(MDbStatusOk, MDbDeleteTblGetRecCount(&env, ref(), table(), &count));
    return count;
  }

  // A field of every live record, in the table's current order.
  Texts Column(int16_t field) {
    Texts column;
    const int32_t cursor = table()->cursor;
    const int16_t count = static_cast<int16_t>(Count());
    for (int16_t position = 0; position < count; ++position) {
      EXPECT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), position));
      MDbDataRec record;
      MDbDataRecInitialize(&record);
      EXPECT_EQ(MDbStatusOk, MDbDataTblOpenRec(&env, ref(), table(), &record, nullptr));
      MDbChar text[256] = u"not read";
      EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env, ref(), table(), &record, field, text, sizeof text));
      column.emplace_back(text);
      EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, ref(), table(), &record));
    }
    table()->cursor = cursor;
    return column;
  }

  // What the store holds of a record, read past the seam: every property in the order of its first write.
  static std::vector<seam::Property> Stored(HANDLE database, CEOID oid) {
    const seam::Unseen unseen;
    std::vector<seam::Property> properties;
    EXPECT_EQ(oid, CeSeekDatabase(database, CEDB_SEEK_CEOID, oid, nullptr));
    WORD count = 0;
    DWORD size = 0;
    BYTE* none = nullptr;
    CeReadRecordPropsEx(database, 0, &count, nullptr, &none, &size, 0);
    std::vector<CEPROPVAL> block(size / sizeof(CEPROPVAL) + 1);
    BYTE* buffer = reinterpret_cast<BYTE*>(block.data());
    size = static_cast<DWORD>(block.size() * sizeof(CEPROPVAL));
    EXPECT_EQ(oid, CeReadRecordPropsEx(database, 0, &count, nullptr, &buffer, &size, 0));
    for (size_t i = 0; i < count; ++i) properties.push_back(Copied(block[i]));
    return properties;
  }
  std::vector<seam::Property> StoredLive(CEOID oid) { return Stored(table()->dataHandle, oid); }
  std::vector<seam::Property> StoredLog(int position) {
    const seam::Unseen unseen;
    const CEOID oid =
        CeSeekDatabase(table()->deleteHandle, CEDB_SEEK_BEGINNING, static_cast<DWORD_PTR>(position), nullptr);
    return Stored(table()->deleteHandle, oid);
  }

  // A creation counter, read past the engine: 0 the live records', 1 the log's.
  uint32_t Counter(uint32_t index) {
    const seam::Unseen unseen;
    const CEOID oid = SeekCounter(index);
    for (const seam::Property& property : Stored(ref()->catalog.handle, oid)) {
      if (property.id == 0x20013) return static_cast<uint32_t>(property.number);
    }
    ADD_FAILURE() << "no counter " << index;
    return 0;
  }
  void SetCounter(uint32_t index, uint32_t value) {
    const seam::Unseen unseen;
    CEPROPVAL property{};
    property.propid = 0x20013;
    property.val.ulVal = value;
    ASSERT_NE(0u, CeWriteRecordProps(ref()->catalog.handle, SeekCounter(index), 1, &property));
  }

  static constexpr MDbRecInfo kInfo = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};

 private:
  CEOID SeekCounter(uint32_t index) {
    CEPROPVAL key{};
    key.propid = 0x10013;
    key.val.ulVal = 0x40000 | index;
    return CeSeekDatabase(ref()->catalog.handle, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<DWORD_PTR>(&key), nullptr);
  }
  static seam::Property Copied(const CEPROPVAL& value) {
    seam::Property copy;
    copy.id = value.propid;
    copy.flags = value.wFlags;
    switch (value.propid & 0xFFFF) {
      case CEVT_UI2:
        copy.number = value.val.uiVal;
        break;
      case CEVT_I4:
        copy.number = static_cast<uint64_t>(int64_t{value.val.lVal});
        break;
      case CEVT_UI4:
        copy.number = value.val.ulVal;
        break;
      case CEVT_BOOL:
        copy.number = value.val.boolVal != 0;
        break;
      case CEVT_LPWSTR:
        copy.text = value.val.lpwstr;
        break;
      case CEVT_BLOB:
        copy.bytes.assign(value.val.blob.lpb, value.val.blob.lpb + value.val.blob.dwCount);
        break;
      default:
        ADD_FAILURE() << "a property of another type: " << value.propid;
    }
    return copy;
  }
};

// A record opened for the length of a scope.
class OpenedRecord {
 public:
  OpenedRecord(MDbEnv* env, uint32_t oid) : env_(env) {
    MDbDataRecInitialize(&record_);
    EXPECT_EQ(MDbStatusOk, MDbDataTblOpenRec(env_, &env_->agentRef, &env_->dataTbl, &record_, &oid));
  }
  ~OpenedRecord() { (void)MDbDataTblCloseRec(env_, &env_->agentRef, &env_->dataTbl, &record_); }
  OpenedRecord(const OpenedRecord&) = delete;
  OpenedRecord& operator=(const OpenedRecord&) = delete;

  MDbDataRec* get() { return &record_; }
  MDbDataRec* operator->() { return &record_; }

 private:
  MDbEnv* env_;
  MDbDataRec record_;
};

}  // namespace enginetest
