// See sample_volumes.h.
#include "sample_volumes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>

#include "mdb.h"
#include "volume_content.h"

namespace damage {

namespace {

constexpr CEPROPID Prop(uint32_t id, uint32_t type) { return id << 16 | type; }

CEPROPVAL Value(CEPROPID id) {
  CEPROPVAL value;
  std::memset(&value, 0, sizeof value);
  value.propid = id;
  return value;
}

CEPROPVAL Number(uint32_t id, uint32_t type, uint32_t number) {
  CEPROPVAL value = Value(Prop(id, type));
  if (type == CEVT_I2 || type == CEVT_UI2) {
    value.val.uiVal = static_cast<WORD>(number);
  } else {
    value.val.ulVal = number;
  }
  return value;
}

CEPROPVAL Double(uint32_t id, double number) {
  CEPROPVAL value = Value(Prop(id, CEVT_R8));
  value.val.dblVal = number;
  return value;
}

CEPROPVAL Time(uint32_t id, uint32_t high, uint32_t low) {
  CEPROPVAL value = Value(Prop(id, CEVT_FILETIME));
  value.val.filetime = {low, high};
  return value;
}

// The characters stay the caller's.
CEPROPVAL Text(uint32_t id, const std::u16string& text) {
  CEPROPVAL value = Value(Prop(id, CEVT_LPWSTR));
  value.val.lpwstr = const_cast<WCHAR*>(text.c_str());
  return value;
}

CEPROPVAL Blob(uint32_t id, const std::string& bytes) {
  CEPROPVAL value = Value(Prop(id, CEVT_BLOB));
  value.val.blob.dwCount = static_cast<DWORD>(bytes.size());
  value.val.blob.lpb = reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()));
  return value;
}

CEOID Create(const CEGUID& volume, const std::u16string& name, DWORD type, DWORD flags,
             const std::vector<SORTORDERSPEC>& orders) {
  CEDBASEINFO info;
  std::memset(&info, 0, sizeof info);
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDDBFLAGS | flags;
  name.copy(info.szDbaseName, name.size());
  info.dwDbaseType = type;
  info.wNumSortOrder = static_cast<WORD>(orders.size());
  std::copy(orders.begin(), orders.end(), info.rgSortSpecs);
  const CEOID oid = CeCreateDatabaseEx(&volume, &info);
  Require(oid != 0, "creating a database");
  return oid;
}

HANDLE Open(const CEGUID& volume, CEOID oid) {
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, 0, 0, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "opening a database");
  return handle;
}

CEOID Write(HANDLE handle, CEOID oid, const std::vector<CEPROPVAL>& values) {
  const CEOID written = CeWriteRecordProps(handle, oid, static_cast<WORD>(values.size()), values.data());
  Require(written != 0, "writing a record");
  return written;
}

// Runs of properties of one kind: of five, of one, of eight and of six.
void WriteRuns(HANDLE handle) {
  std::vector<std::u16string> texts(20, u"narrow");
  texts[5] = u"\u0448\u0438\u0440\u043E\u043A\u0438\u0439";
  std::vector<CEPROPVAL> values;
  for (uint16_t i = 0; i < texts.size(); ++i) values.push_back(Text(static_cast<uint16_t>(10 + i), texts[i]));
  Write(handle, 0, values);
}

void FillEveryType(const CEGUID& volume, HANDLE handle) {
  const std::u16string cases = u"stra\u00DFe \u0416 \U0001F680";
  const std::u16string long_text(4000, u'\u00E9');
  const std::string bytes("\0\1\xFE\xFF with a zero \0 in it", 21);
  const std::string long_blob(9000, '\x5A');
  Write(handle, 0,
        {Number(1, CEVT_I2, 0x8000), Number(2, CEVT_UI2, 0xFFFF), Number(3, CEVT_I4, 0x80000000u),
         Number(4, CEVT_UI4, 0xFFFFFFFFu), Number(5, CEVT_BOOL, 1), Double(6, -0.0), Time(7, 0x01D00000, 0xFFFFFFFF),
         Text(8, cases), Blob(9, bytes)});
  Write(handle, 0,
        {Number(1, CEVT_I2, 0x7FFF), Number(2, CEVT_UI2, 0), Number(3, CEVT_I4, 0x7FFFFFFF), Number(4, CEVT_UI4, 0),
         Number(5, CEVT_BOOL, 0), Double(6, std::numeric_limits<double>::denorm_min()), Time(7, 0, 0), Text(8, u""),
         Blob(9, "")});
  Write(handle, 0, {Text(8, long_text), Blob(9, long_blob), Double(6, std::numeric_limits<double>::infinity())});
  Write(handle, 0, {Number(4, CEVT_UI4, 7)});
  const CEOID gone = Write(handle, 0, {Text(8, u"this record is deleted")});
  for (uint32_t i = 0; i < 20; ++i) {
    const std::u16string text = u"record " + std::u16string(1, static_cast<char16_t>(u'a' + i));
    Write(handle, 0, {Number(4, CEVT_UI4, 1000 - i), Text(8, text), Number(0xFFFF, CEVT_I4, i)});
  }
  WriteRuns(handle);
  Require(CeFlushDBVol(&volume), "flushing");
  Require(CeDeleteRecord(handle, gone), "deleting a record");
}

struct FieldOfSample {
  const MDbChar* name;
  uint8_t type;
};
constexpr FieldOfSample kFields[] = {{u"Mission", MDbFieldText},
                                     {u"Launch", MDbFieldDate},
                                     {u"Time of day", MDbFieldTime},
                                     {u"Crew", MDbFieldNumber},
                                     {u"Notes \u2014 \u0437\u0430\u043C\u0435\u0442\u043A\u0438", MDbFieldText}};
constexpr int16_t kFieldCount = 5;

std::u16string Digits(int number, size_t width) {
  const std::string text = std::to_string(number);
  return std::u16string(width > text.size() ? width - text.size() : 0, u'0') + std::u16string(text.begin(), text.end());
}

std::vector<std::u16string> ValuesOf(int i) {
  return {(i % 3 == 0   ? u"Vostok "
           : i % 3 == 1 ? u"Gemini "
                        : u"\u00C9clair ") +
              Digits(i, 1),
          Digits(1961 + i % 60, 4) + u"-" + Digits(1 + i % 12, 2) + u"-" + Digits(1 + i % 28, 2),
          Digits(i % 24, 2) + u":" + Digits(i * 7 % 60, 2), Digits(i * 37 % 101, 1),
          i % 5 == 0 ? std::u16string() : u"note " + std::u16string(static_cast<size_t>(i * 13 % 90), u'n')};
}

class Engine {
 public:
  explicit Engine(const std::u16string& path) : path_(path) {
    MDbEnvInitialize(&env_);
    Require(MDbInit(&env_, "", 0) == MDbStatusOk, "starting the engine");
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  ~Engine() { (void)MDbShutdown(&env_, 0, 0); }

  void Create();
  void Open() { Require(MDbAgentOpenDb(&env_, path_.c_str()) == MDbStatusOk, "opening the database"); }
  void Close() { Require(MDbAgentCloseDb(&env_) == MDbStatusOk, "closing the database"); }
  void AddAll(int records);
  void SortByNumber();
  void DeleteEverySeventh(int records);
  void SetField(uint16_t record, int16_t field, const std::u16string& text);
  const CEGUID& volume() const { return env_.agentRef.volume; }

 private:
  MDbEnv env_;
  std::u16string path_;
};

void Engine::Create() {
  MDbRef ref;
  MDbRefInitialize(&ref);
  MDbFldInfo infos[kFieldCount] = {};
  const MDbChar* names[kFieldCount];
  MDbFldOptionPair options[kFieldCount] = {};
  for (int16_t i = 0; i < kFieldCount; ++i) {
    infos[i].type = kFields[i].type;
    names[i] = kFields[i].name;
    (void)MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, static_cast<uint8_t>(i), kFieldCount);
  }
  MDbAttrs attrs{};
  attrs.attribute[2] = 42;
  attrs.dateFormat = {u'-', MDbDateOrderYearMonthDay, 1, 1, 0};
  attrs.timeFormat.separator = u':';
  const MDbChar* lists[] = {u"red\ngreen\nblue", u""};
  const MDbStatus steps[] = {MDbCreate(&env_, path_.c_str(), &ref),
                             MDbSchemaTblCreateEx(&env_, &ref, infos, names, kFieldCount),
                             MDbFieldOpTblCreateEx(&env_, &ref, options, kFieldCount),
                             MDbAttrTblCreateEx(&env_, &ref, &attrs, u"Missions"),
                             MDbValListTblCreateEx(&env_, &ref, lists, 2),
                             MDbDataTblCreate(&env_, &ref, nullptr),
                             MDbWriteChecksome(&env_, &ref, 1),
                             MDbClose(&env_, &ref)};
  for (const MDbStatus step : steps) Require(step == MDbStatusOk, "making the database");
}

void Engine::AddAll(int records) {
  MDbRef ref;
  MDbDataTbl table;
  MDbRefInitialize(&ref);
  MDbDataTblInitialize(&table);
  Require(MDbOpen(&env_, path_.c_str(), &ref) == MDbStatusOk, "opening the file");
  Require(MDbDataTblOpen(&env_, &ref, &table, nullptr) == MDbStatusOk, "opening the table");
  const MDbRecInfo info = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  for (int i = 0; i < records; ++i) {
    const std::vector<std::u16string> values = ValuesOf(i);
    const MDbChar* texts[kFieldCount];
    for (size_t field = 0; field < kFieldCount; ++field) texts[field] = values[field].c_str();
    Require(MDbDataTblAddRec(&env_, &ref, &table, &info, texts, kFieldCount, 1, nullptr, nullptr) == MDbStatusOk,
            "adding a record");
  }
  Require(MDbDataTblClose(&env_, &ref, &table) == MDbStatusOk, "closing the table");
  Require(MDbClose(&env_, &ref) == MDbStatusOk, "closing the file");
}

void Engine::SortByNumber() {
  MDbRecset set;
  MDbRecsetInitialize(&set);
  Require(MDbAgentQuery(&env_, &set, nullptr) == MDbStatusOk, "reading the records");
  Require(MDbRecsetSort(&env_, &set, 3, MDbSortAscending) == MDbStatusOk, "sorting");
  Require(MDbRecsetDestroy(&env_, &set) == MDbStatusOk, "ending the record set");
  Require(CeFlushDBVol(&volume()), "flushing");
}

void Engine::DeleteEverySeventh(int records) {
  MDbRecset set;
  MDbRecsetInitialize(&set);
  Require(MDbAgentQuery(&env_, &set, nullptr) == MDbStatusOk, "reading the records");
  for (int i = records - 1; i >= 0; --i) {
    if (i % 7 != 6) continue;
    Require(MDbRecsetDelRec(&env_, &set, static_cast<int16_t>(i), 0) == MDbStatusOk, "deleting a record");
  }
  Require(MDbRecsetDestroy(&env_, &set) == MDbStatusOk, "ending the record set");
}

void Engine::SetField(uint16_t record, int16_t field, const std::u16string& text) {
  MDbRecset set;
  MDbRecsetInitialize(&set);
  Require(MDbAgentQuery(&env_, &set, nullptr) == MDbStatusOk, "reading the records");
  Require(MDbRecsetSetInx(&env_, &set, static_cast<int16_t>(record)) == MDbStatusOk, "moving");
  Require(MDbRecsetOpenRec(&env_, &set) == MDbStatusOk, "opening a record");
  Require(MDbRecsetSetField(&env_, &set, field, text.c_str()) == MDbStatusOk, "changing a field");
  Require(MDbRecsetCloseRec(&env_, &set) == MDbStatusOk, "closing a record");
  Require(MDbRecsetDestroy(&env_, &set) == MDbStatusOk, "ending the record set");
}

// One flush: a field changed, and from time to time one of a size that moves the record to other pages.
void TakeStep(Engine& engine, int step) {
  const std::u16string text = u"step " + Digits(step, 1) + std::u16string(step % 3 == 2 ? 900u : 9u, u's');
  engine.SetField(static_cast<uint16_t>(step % 5), 4, text);
}

void WriteAll(int file, const std::string& text) {
  const uint64_t size = text.size();
  Require(write(file, &size, sizeof size) == sizeof size, "writing a text");
  for (size_t done = 0; done < text.size();) {
    const ssize_t count = write(file, text.data() + done, text.size() - done);
    Require(count > 0, "writing a text");
    done += static_cast<size_t>(count);
  }
}

// What the child has written: texts, each with its length in front.
std::vector<std::string> ReadTexts(int file) {
  std::string bytes;
  char buffer[65536];
  for (ssize_t count; (count = read(file, buffer, sizeof buffer)) > 0;)
    bytes.append(buffer, static_cast<size_t>(count));
  std::vector<std::string> texts;
  for (size_t at = 0; at + sizeof(uint64_t) <= bytes.size();) {
    uint64_t size = 0;
    std::memcpy(&size, bytes.data() + at, sizeof size);
    texts.push_back(bytes.substr(at + sizeof size, size));
    at += sizeof size + size;
  }
  return texts;
}

[[noreturn]] void WriteAndDie(const std::u16string& path, int steps, int file) {
  Engine engine(path);
  engine.Open();
  WriteAll(file, TextOf(engine.volume()).text);
  for (int step = 0; step < steps; ++step) {
    TakeStep(engine, step);
    WriteAll(file, TextOf(engine.volume()).text);
  }
  _exit(0);  // as if it had been killed: nothing is unmounted
}

}  // namespace

void Require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "a sample cannot be made: %s failed, last error %u\n", what, GetLastError());
  std::exit(1);
}

void MakeEmptyVolume(const std::u16string& path) {
  CEGUID volume;
  Require(CeMountDBVol(&volume, path.c_str(), CREATE_NEW), "making a volume");
  Require(CeUnmountDBVol(&volume), "unmounting");
}

void MakeEveryTypeVolume(const std::u16string& path) {
  CEGUID volume;
  Require(CeMountDBVol(&volume, path.c_str(), CREATE_NEW), "making a volume");
  const CEOID all = Create(volume, u"Every type", 0x4C4C4121, CEDB_NOCOMPRESS,
                           {{Prop(4, CEVT_UI4), CEDB_SORT_DESCENDING},
                            {Prop(8, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST},
                            {Prop(6, CEVT_R8), 0},
                            {Prop(7, CEVT_FILETIME), CEDB_SORT_UNKNOWNFIRST}});
  const CEOID strict = Create(volume, u"\u0416 unique", 0, 0, {{Prop(1, CEVT_UI4), CEDB_SORT_UNIQUE}});
  Create(volume, std::u16string(CEDB_MAXDBASENAMELEN - 1, u'n'), 0xFFFFFFFF, 0, {});
  HANDLE handle = Open(volume, all);
  FillEveryType(volume, handle);
  CloseHandle(handle);
  handle = Open(volume, strict);
  for (uint32_t i = 0; i < 3; ++i) Write(handle, 0, {Number(1, CEVT_UI4, 30 - i)});
  CloseHandle(handle);
  Require(CeUnmountDBVol(&volume), "unmounting");
}

std::vector<std::string> MakeListVolume(const std::u16string& path) {
  std::vector<std::string> states;
  constexpr uint32_t kRecords = 100;
  CEGUID volume;
  Require(CeMountDBVol(&volume, path.c_str(), CREATE_NEW), "making a volume");
  const CEOID list = Create(volume, u"List", 0x5453494C, 0, {{Prop(0, CEVT_UI4), 0}});
  const HANDLE handle = Open(volume, list);
  std::vector<CEOID> oids;
  for (uint32_t i = 0; i < kRecords; ++i) {
    oids.push_back(Write(
        handle, 0, {Number(0, CEVT_UI4, i), Number(1, CEVT_UI4, 7000 - 13 * i % 97), Number(3, CEVT_I4, 0u - i)}));
  }
  Require(CeFlushDBVol(&volume), "flushing the list");
  states.push_back(TextOf(volume).text);
  Write(handle, oids[10], {Number(1, CEVT_UI4, 1)});
  for (const size_t gone : {0u, 41u, 42u, 99u}) Require(CeDeleteRecord(handle, oids[gone]), "deleting a record");
  Require(CeFlushDBVol(&volume), "flushing a row");
  states.push_back(TextOf(volume).text);
  for (const CEOID oid : oids) {
    if (CeSeekDatabase(handle, CEDB_SEEK_CEOID, oid, nullptr) != 0) Write(handle, oid, {Number(3, CEVT_I4, oid * 3)});
  }
  const std::u16string text = u"a record with a text";
  Write(handle, 0, {Number(0, CEVT_UI4, kRecords), Text(4, text)});
  CloseHandle(handle);
  states.push_back(TextOf(volume).text);
  Require(CeUnmountDBVol(&volume), "unmounting");
  return states;
}

void MakeEngineDatabase(const std::u16string& path, int records) {
  Engine engine(path);
  engine.Create();
  engine.AddAll(records);
  engine.Open();
  engine.SortByNumber();
  engine.DeleteEverySeventh(std::min(records, 150));
  engine.Close();
}

std::vector<std::string> LeaveKilledWriter(const std::u16string& path, int steps) {
  int ends[2];
  Require(pipe(ends) == 0, "making a pipe");
  std::fflush(nullptr);
  const pid_t child = fork();
  Require(child >= 0, "starting a process");
  if (child == 0) {
    close(ends[0]);
    WriteAndDie(path, steps, ends[1]);
  }
  close(ends[1]);
  std::vector<std::string> texts = ReadTexts(ends[0]);
  close(ends[0]);
  int status = 0;
  Require(waitpid(child, &status, 0) == child && status == 0, "the writing process");
  Require(texts.size() == static_cast<size_t>(steps) + 1, "reading the texts");
  return texts;
}

}  // namespace damage
