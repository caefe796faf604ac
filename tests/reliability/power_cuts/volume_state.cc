// See volume_state.h. Reads through the platform's calls alone, as any client of the object store would.
#include "volume_state.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <map>
#include <set>
#include <span>
#include <string_view>
#include <vector>

#include "local_heap.h"

namespace powercut {

namespace {

constexpr CEPROPID kState = 0x12;
constexpr CEPROPID kSequence = 0x40013;
constexpr CEPROPID kObjectKey = 0x10013;
constexpr CEPROPID kObjectNumber = 0x20013;
constexpr uint32_t kCounterOfLive = 0x40000;
constexpr uint32_t kCounterOfLog = 0x40001;
constexpr uint32_t kDeletedBit = 2;
constexpr CEPROPID kFirstField = 0x5001F;  // the workload gives every record a text of its own there

class Reader {
 public:
  explicit Reader(const CEGUID& volume) : volume_(volume) {}

  VolumeState Run() {
    const HANDLE databases = CeFindFirstDatabaseEx(&volume_, 0);
    if (databases == INVALID_HANDLE_VALUE) {
      Disagree("the databases cannot be listed");
      return state_;
    }
    while (const CEOID oid = CeFindNextDatabaseEx(databases, nullptr)) Database(oid);
    CloseHandle(databases);
    if (is_database_) Compare();
    return state_;
  }

 private:
  using Name = std::u16string_view;

  void Disagree(const std::string& what) {
    if (state_.disagreement.empty()) state_.disagreement = what;
  }

  template <typename Value>
  void Mix(const Value& value) {
    MixBytes(&value, sizeof value);
  }
  void MixBytes(const void* bytes, size_t size) { state_.digest = XXH3_64bits_withSeed(bytes, size, state_.digest); }

  void Database(CEOID oid) {
    CEOIDINFO info = {};
    if (!CeOidGetInfoEx(&volume_, oid, &info)) return Disagree("a database has no information");
    const CEDBASEINFO& base = info.infDatabase;
    const Name name = base.szDbaseName;
    Mix(oid);
    MixBytes(name.data(), name.size() * sizeof(WCHAR));
    Mix(base.dwDbaseType);
    Mix(base.ftLastModified);
    Mix(base.wNumRecords);
    for (size_t i = 0; i < base.wNumSortOrder; ++i) Mix(base.rgSortSpecs[i]);
    CEOID opened = oid;
    const HANDLE handle = CeOpenDatabaseEx(&volume_, &opened, nullptr, 0, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return Disagree("a database does not open");
    const uint32_t found = Records(handle, name);
    CloseHandle(handle);
    if (found != base.wNumRecords) Disagree("a database counts other records than it holds");
    if (name == u"DATA_0") state_.live = found;
    if (name == u"DELT_0") state_.logged = found;
  }

  uint32_t Records(HANDLE handle, Name database) {
    uint32_t count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    for (;; ++count) {
      const CEOID oid = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, count, nullptr);
      if (oid == 0) break;
      WORD properties = 0;
      if (CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &properties, nullptr, &block, &size, 0) != oid) {
        Disagree("a record cannot be read");
        break;
      }
      Mix(oid);
      Record({reinterpret_cast<const CEPROPVAL*>(block), properties}, database);
    }
    LocalFree(block);
    return count;
  }

  void Record(std::span<const CEPROPVAL> properties, Name database) {
    std::map<CEPROPID, uint32_t> numbers;
    for (const CEPROPVAL& property : properties) {
      Mix(property.propid);
      switch (property.propid & 0xFFFF) {
        case CEVT_LPWSTR:
          MixBytes(property.val.lpwstr, Name(property.val.lpwstr).size() * sizeof(WCHAR));
          if (property.propid == kFirstField) Named(property.val.lpwstr, database);
          break;
        case CEVT_BLOB:
          MixBytes(property.val.blob.lpb, property.val.blob.dwCount);
          break;
        default:
          numbers[property.propid] = (property.propid & 0xFFFF) == CEVT_UI2 ? property.val.uiVal : property.val.ulVal;
          Mix(numbers[property.propid]);
      }
    }
    if (database == u"OBJG_0") Object(numbers);
    if (database == u"DATA_0") Sequenced(numbers, live_, false);
    if (database == u"DELT_0") Sequenced(numbers, log_, true);
  }

  void Object(const std::map<CEPROPID, uint32_t>& numbers) {
    const auto key = numbers.find(kObjectKey);
    if (key == numbers.end()) return Disagree("an object of the catalogue has no key");
    if (!keys_.insert(key->second).second) Disagree("an object of the catalogue is there twice");
    const auto number = numbers.find(kObjectNumber);
    if (number == numbers.end()) return;
    if (key->second == kCounterOfLive) next_live_ = number->second, is_database_ = true;
    if (key->second == kCounterOfLog) next_log_ = number->second;
  }

  void Sequenced(const std::map<CEPROPID, uint32_t>& numbers, std::set<uint32_t>& seen, bool deleted) {
    const auto state = numbers.find(kState);
    const auto sequence = numbers.find(kSequence);
    if (state == numbers.end() || sequence == numbers.end()) return Disagree("a record lacks its state or its number");
    if (((state->second & kDeletedBit) != 0) != deleted) Disagree("a record's state does not fit where it stands");
    if (!seen.insert(sequence->second).second) Disagree("a creation number is there twice");
  }

  void Named(const WCHAR* text, Name database) {
    if (database == u"DATA_0") names_of_live_.insert(text);
    if (database == u"DELT_0") names_of_logged_.emplace_back(text);
  }

  void Compare() {
    for (const std::u16string& name : names_of_logged_) {
      if (names_of_live_.contains(name)) Disagree("a record is logged as deleted and still there");
    }
    if (!live_.empty() && *live_.rbegin() >= next_live_) Disagree("the creation counter is behind a record");
    if (!log_.empty() && *log_.rbegin() >= next_log_) Disagree("the deletion counter is behind an entry");
    if (log_.size() != next_log_) Disagree("the deletion counter does not count the entries");
  }

  const CEGUID& volume_;
  VolumeState state_;
  std::set<uint32_t> keys_, live_, log_;
  std::set<std::u16string> names_of_live_;
  std::vector<std::u16string> names_of_logged_;
  uint32_t next_live_ = 0, next_log_ = 0;
  bool is_database_ = false;
};

}  // namespace

VolumeState StateOf(const CEGUID& volume) { return Reader(volume).Run(); }

}  // namespace powercut
