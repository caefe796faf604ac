// The object store alone, through the platform's calls: so many databases of so many records each in one volume. Shows
// how the time for one record grows with what lies in the file, beyond the 5000 records that the engine allows.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <array>
#include <exception>
#include <memory>
#include <stdexcept>
#include <vector>

#include "digest.h"
#include "object_store.h"
#include "round_report.h"
#include "steady_timer.h"
#include "table_data.h"

namespace {

using namespace bench;

constexpr CEPROPID kNumberProperty = 4u << 16 | CEVT_UI4;
constexpr int kRepeats = 5;
constexpr size_t kCommits = 100;
constexpr DWORD kFirstScreen = 10;

CEPROPID TextProperty(size_t field) { return static_cast<CEPROPID>(field + 5) << 16 | CEVT_LPWSTR; }

void Require(bool done, const char* what) {
  if (!done) throw std::runtime_error(fmt::format("{}: error {}", what, GetLastError()));
}

// A volume while it is mounted, with one of its databases open.
class Mounted {
 public:
  Mounted(const std::u16string& path, DWORD disposition) {
    Require(CeMountDBVol(&volume_, path.c_str(), disposition) != 0, "mounting");
  }
  ~Mounted() {
    if (database_ != 0) CloseHandle(database_);
    CeUnmountDBVol(&volume_);
  }
  Mounted(const Mounted&) = delete;
  Mounted& operator=(const Mounted&) = delete;

  CEOID Create(size_t number);
  void OpenDatabase(CEOID oid);
  CEOID Write(CEOID oid, const Record& record, uint32_t number);
  void WriteCity(CEOID oid, const Text& city);
  void Flush() { Require(CeFlushDBVol(&volume_) != 0, "flushing"); }
  // The record at a position, all properties.
  CEOID Read(DWORD position, Digest* digest);

 private:
  CEGUID volume_{};
  HANDLE database_ = 0;
  std::vector<CEPROPVAL> room_ = std::vector<CEPROPVAL>(8192 / sizeof(CEPROPVAL));
};

CEOID Mounted::Create(size_t number) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
  const std::u16string name = MakeText(fmt::format("database {}", number)).wide;
  name.copy(&info.szDbaseName[0], name.size());
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0].propid = kNumberProperty;
  const CEOID oid = CeCreateDatabaseEx(&volume_, &info);
  Require(oid != 0, "creating a database");
  return oid;
}

void Mounted::OpenDatabase(CEOID oid) {
  if (database_ != 0) Require(CloseHandle(database_) != 0, "closing a database");
  database_ = CeOpenDatabaseEx(&volume_, &oid, nullptr, kNumberProperty, 0, nullptr);
  Require(database_ != 0 && database_ != INVALID_HANDLE_VALUE, "opening a database");
}

CEOID Mounted::Write(CEOID oid, const Record& record, uint32_t number) {
  std::array<CEPROPVAL, kFieldCount + 1> values{};
  values[0].propid = kNumberProperty;
  values[0].val.ulVal = number;
  for (size_t i = 0; i < kFieldCount; ++i) {
    values[i + 1].propid = TextProperty(i);
    values[i + 1].val.lpwstr = const_cast<WCHAR*>(record.texts[i].wide.c_str());
  }
  const CEOID written = CeWriteRecordProps(database_, oid, static_cast<WORD>(values.size()), values.data());
  Require(written != 0, "writing a record");
  return written;
}

void Mounted::WriteCity(CEOID oid, const Text& city) {
  CEPROPVAL value{};
  value.propid = TextProperty(kCity);
  value.val.lpwstr = const_cast<WCHAR*>(city.wide.c_str());
  Require(CeWriteRecordProps(database_, oid, 1, &value) == oid, "writing a field");
}

CEOID Mounted::Read(DWORD position, Digest* digest) {
  Require(CeSeekDatabase(database_, CEDB_SEEK_BEGINNING, position, nullptr) != 0, "seeking");
  WORD count = 0;
  BYTE* buffer = reinterpret_cast<BYTE*>(room_.data());
  auto size = static_cast<DWORD>(room_.size() * sizeof(CEPROPVAL));
  const CEOID oid = CeReadRecordPropsEx(database_, 0, &count, nullptr, &buffer, &size, 0);
  Require(oid != 0, "reading");
  if (digest != nullptr) {
    for (size_t i = 1; i < count; ++i) digest->Add(std::u16string_view(room_[i].val.lpwstr));
  }
  return oid;
}

class Measurement {
 public:
  Measurement(const std::string& folder, size_t databases, size_t records, RoundReport& report)
      : path_(MakeText(folder + "/volume").wide),
        records_(records),
        table_(MakeTable(std::min(records, size_t{5000}))),
        databases_(databases),
        report_(report) {}

  void Run() {
    Load();
    Open();
    Mounted mounted(path_, OPEN_EXISTING);
    Read(mounted);
    Change(mounted);
  }

 private:
  // Times are divided by the number of all records where a row is per record.
  double PerRecord(double time) const { return time / static_cast<double>(databases_.size() * records_); }
  void Load();
  void Open();
  void Read(Mounted& mounted);
  void Change(Mounted& mounted);

  std::u16string path_;
  size_t records_;
  std::vector<Record> table_;
  std::vector<CEOID> databases_;
  RoundReport& report_;
};

void Measurement::Load() {
  const double time = MicrosecondsOf([&] {
    Mounted mounted(path_, CREATE_NEW);
    for (size_t i = 0; i < databases_.size(); ++i) {
      databases_[i] = mounted.Create(i);
      mounted.OpenDatabase(databases_[i]);
      for (uint32_t j = 0; j < records_; ++j) mounted.Write(0, table_[j % table_.size()], j);
    }
  });
  report_.AddRow("load_per_record", PerRecord(time), "");
}

void Measurement::Open() {
  std::vector<double> times;
  for (int i = 0; i < kRepeats; ++i) {
    std::unique_ptr<Mounted> mounted;
    times.push_back(MicrosecondsOf([&] {
      mounted = std::make_unique<Mounted>(path_, OPEN_EXISTING);
      mounted->OpenDatabase(databases_.back());
      for (DWORD position = 0; position < kFirstScreen; ++position) mounted->Read(position, nullptr);
    }));
  }
  report_.AddRow("open", Median(times), "");
}

void Measurement::Read(Mounted& mounted) {
  std::vector<double> times;
  Digest digest;
  for (int i = 0; i <= kRepeats; ++i) {
    times.push_back(MicrosecondsOf([&] {
      for (const CEOID database : databases_) {
        mounted.OpenDatabase(database);
        for (DWORD position = 0; position < records_; ++position)
          mounted.Read(position, i == kRepeats ? &digest : nullptr);
      }
    }));
  }
  times.pop_back();
  report_.AddRow("read_all_first_per_record", PerRecord(times[0]), "");
  report_.AddRow("read_all_per_record", PerRecord(Median({times.begin() + 1, times.end()})), digest.Hex());
}

void Measurement::Change(Mounted& mounted) {
  std::vector<double> adds;
  std::vector<double> edits;
  for (uint32_t i = 0; i <= kCommits; ++i) {
    adds.push_back(MicrosecondsOf([&] {
      mounted.Write(0, table_[i % table_.size()], static_cast<uint32_t>(records_) + i);
      mounted.Flush();
    }));
  }
  for (uint32_t i = 0; i <= kCommits; ++i) {
    const Text city = MakeText(fmt::format("New city {}", i));
    const CEOID oid = mounted.Read(static_cast<DWORD>(i * 37 % records_), nullptr);
    edits.push_back(MicrosecondsOf([&] {
      mounted.WriteCity(oid, city);
      mounted.Flush();
    }));
  }
  report_.AddRepeats("add", adds, "");
  report_.AddRepeats("edit", edits, "");
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("The object store alone, with many records");
  std::string folder;
  size_t databases = 1;
  size_t records = 5000;
  app.add_option("--dir", folder, "An empty folder for the file")->required()->check(CLI::ExistingDirectory);
  app.add_option("--databases", databases, "Databases in the volume")->check(CLI::Range(1, 100));
  app.add_option("--records", records, "Records of each")->check(CLI::Range(100, 60000));
  CLI11_PARSE(app, argc, argv);
  RoundReport report(fmt::format("{} x {}", databases, records), XKRDB_VERSION, databases * records);
  Measurement(folder, databases, records, report).Run();
  fmt::print("{}\n", report.Json());
  return 0;
} catch (const std::exception& failure) {
  fmt::print(stderr, "{}: {}\n", argv[0], failure.what());
  return 1;
}
