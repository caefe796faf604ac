// See repair_trial.h.
#include "repair_trial.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "known_databases.h"
#include "mdb.h"
#include "sample_volumes.h"
#include "volume_content.h"

namespace damage {

namespace {

std::string Bytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// A packed column that is lost takes the newest sort values with it; that is reported.
std::string WithoutSortValue(const std::string& line) {
  const size_t begin = line.find(" 0x30003=");
  if (begin == std::string::npos) return line;
  return line.substr(0, begin) + line.substr(std::min(line.find(' ', begin + 1), line.size()));
}

// Before a row's body stand two lengths, the key and a header: at most this many bytes.
constexpr size_t kMostBytesBeforeBody = 9 + 9 + 6;

struct Told {
  std::vector<uint32_t> codes;
  std::set<uint32_t> added;
  uint64_t damage = 0;
  uint64_t saved = 0;
  uint64_t lost = 0;
  uint64_t loose = 0;
};

int TakeFinding(void* context, const XKRVolumeFinding* finding) {
  Told& told = *static_cast<Told*>(context);
  told.codes.push_back(finding->code);
  told.damage += finding->damage;
  if (finding->code == XKRFindingAdded) told.added.insert(finding->record);
  return finding->text == nullptr || finding->text[0] == 0 || finding->database == nullptr;
}

int TakeSaved(void* context, const XKRVolumeSaved* saved) {
  Told& told = *static_cast<Told*>(context);
  told.saved += saved->saved;
  told.lost += saved->lost;
  told.loose += saved->loose;
  return 0;
}

// Empty when every record of the new volume is one of the original's and none is missing that was untouched.
std::string CompareRecords(const Original& original, const std::string& text, const Told& told,
                           const std::string& file) {
  // Which columns a database had stands in its description.
  const bool column_lost = std::any_of(told.codes.begin(), told.codes.end(), [](uint32_t code) {
    return code == XKRFindingColumn || code == XKRFindingDescription;
  });
  std::set<std::string> there;
  for (const std::string& line : Lines(text)) {
    if (!line.starts_with("  ")) continue;
    there.insert(line.substr(0, line.find(':') + 1));
    if (original.HasLine(line, column_lost)) continue;
    const auto oid = static_cast<uint32_t>(std::stoul(line.substr(2)));
    if (!told.added.contains(oid)) return "a record that never was: " + line;
  }
  for (const std::string& record : original.Untouched(file)) {
    if (!there.contains(record)) return "the row of record" + record + " was not touched, and it is not saved";
  }
  return {};
}

// A file of the engine that was saved opens, unless none of its fields and of its records is left.
std::string OpenSaved(const std::filesystem::path& path) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  Require(MDbInit(&env, nullptr, 0) == MDbStatusOk, "starting the engine");
  const MDbStatus status = MDbAgentOpenDb(&env, path.u16string().c_str());
  std::string why;
  if (status == MDbStatusOk) {
    if (MDbAgentCloseDb(&env) != MDbStatusOk) why = "the engine does not close what was saved";
  } else if (status != MDbStatusNoFields) {
    why = "the engine does not open what was saved: status " + std::to_string(static_cast<uint32_t>(status));
  }
  (void)MDbShutdown(&env, 0, 0);
  return why;
}

}  // namespace

Original::Original(const Subject& subject, const std::filesystem::path& folder) : subject_(subject) {
  for (const std::string& state : subject.states) {
    for (const std::string& line : Lines(state)) {
      if (!line.starts_with("  ")) continue;
      lines_.insert(line);
      lines_without_sort_value_.insert(WithoutSortValue(line));
    }
  }
  // Bodies begin with a checksum, so that each is found in the file at one place. A body over several pages is not found.
  if (!subject.log.empty()) return;
  const std::filesystem::path path = folder / "original.vol";
  std::ofstream(path, std::ios::binary) << subject.file;
  sqlite3* connection = nullptr;
  sqlite3_stmt* rows = nullptr;
  Require(sqlite3_open_v2(path.c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
              sqlite3_prepare_v2(connection, "SELECT key, body FROM record", -1, &rows, nullptr) == SQLITE_OK,
          "reading the original's rows");
  size_t page = 0;  // rows that follow one another mostly stand on one page
  while (sqlite3_step(rows) == SQLITE_ROW) {
    const auto record = static_cast<uint32_t>(sqlite3_column_int64(rows, 0));
    const std::string body(static_cast<const char*>(sqlite3_column_blob(rows, 1)),
                           static_cast<size_t>(sqlite3_column_bytes(rows, 1)));
    size_t at = subject.file.find(body, page);
    if (at == std::string::npos) at = subject.file.find(body);
    if (at == std::string::npos) continue;
    page = at / 4096 * 4096;
    rows_.push_back({"  " + std::to_string(record) + ":", at - kMostBytesBeforeBody, at + body.size()});
  }
  sqlite3_finalize(rows);
  FindBlock(connection);
  sqlite3_close(connection);
  Require(rows_.size() > 10, "finding the original's rows");
}

// The records without rows lie in the block, of which a sample has one at most.
void Original::FindBlock(sqlite3* connection) {
  sqlite3_stmt* block = nullptr;
  const char* const query = "SELECT body FROM packed WHERE key & 0xFFFFFFFF = 0";
  Require(sqlite3_prepare_v2(connection, query, -1, &block, nullptr) == SQLITE_OK, "reading the original's block");
  if (sqlite3_step(block) == SQLITE_ROW) {
    const std::string body(static_cast<const char*>(sqlite3_column_blob(block, 0)),
                           static_cast<size_t>(sqlite3_column_bytes(block, 0)));
    const size_t at = subject_.file.find(body);
    Require(at != std::string::npos, "finding the original's block");
    std::set<std::string> with_rows;
    for (const Row& row : rows_) with_rows.insert(row.record);
    for (const std::string& line : Lines(subject_.states.back())) {
      const std::string record = line.substr(0, line.find(':') + 1);
      if (!line.starts_with("  ") || with_rows.contains(record)) continue;
      rows_.push_back({record, at - kMostBytesBeforeBody, at + body.size()});
    }
  }
  sqlite3_finalize(block);
}

bool Original::HasLine(const std::string& line, bool without_sort_value) const {
  if (lines_.contains(line)) return true;
  return without_sort_value && lines_without_sort_value_.contains(WithoutSortValue(line));
}

std::vector<std::string> Original::Untouched(const std::string& file) const {
  std::vector<std::string> records;
  for (const Row& row : rows_) {
    if (row.end > file.size()) continue;
    if (file.compare(row.begin, row.end - row.begin, subject_.file, row.begin, row.end - row.begin) == 0) {
      records.push_back(row.record);
    }
  }
  return records;
}

RepairTrial TryRepair(const Original& original, Bench& bench, const std::string& file, const std::string& log,
                      bool log_damaged) {
  const Subject& subject = original.subject();
  const std::filesystem::path saved_path = bench.path().string() + ".saved.xdb";
  unlink(saved_path.c_str());
  bench.PutDown(file, log);
  RepairTrial trial;
  Told checked;
  trial.check = XKRVolumeCheck(bench.path().u16string().c_str(), TakeFinding, &checked);
  MDbAttrs attrs{};
  const auto known = xkrdb::KnownDatabases(u"saved", attrs);
  Told told;
  const XKRVolumeRepairOptions options = {known.data(), static_cast<uint32_t>(known.size()), TakeFinding, TakeSaved,
                                          &told};
  trial.repair = XKRVolumeRepair(bench.path().u16string().c_str(), saved_path.u16string().c_str(), &options);
  trial.saved = told.saved;
  trial.loose = told.loose;
  const auto because = [&trial](std::string why) {
    if (trial.why.empty()) trial.why = std::move(why);
  };
  if (Bytes(bench.path()) != file || Bytes(bench.path().string() + "-wal") != log)
    because("the damaged file was written");
  if (trial.check > XKRVolumeNone) because("check answers " + std::to_string(trial.check));
  if (trial.repair > XKRVolumeNone) because("repair answers " + std::to_string(trial.repair));
  if ((trial.check == XKRVolumeDamaged) != !checked.codes.empty())
    because("check's answer is not that of its findings");
  const Trial read = bench.Read(subject, file, log, log_damaged);
  if (read.result == Result::kRefused && trial.check == XKRVolumeSound) because("refused, and check finds nothing");
  if (read.result != Result::kRefused && trial.repair != XKRVolumeSound && told.lost != 0) {
    because("read whole, and repair loses records");
  }
  if (trial.repair == XKRVolumeNone) {
    if (std::filesystem::exists(saved_path)) because("nothing is saved, and there is a file");
    if (!original.Untouched(file).empty()) because("nothing is saved, though rows are untouched");
    return trial;
  }
  if (!trial.why.empty()) return trial;
  const VolumeText text = TextOfFile(saved_path.u16string());
  if (text.error != 0) because("what was saved cannot be read: last error " + std::to_string(text.error));
  const auto same = [&text](const std::string& state) { return state == text.text; };
  const size_t states = log_damaged ? subject.states.size() : 1;
  if (trial.repair == XKRVolumeSound && told.added.empty() &&
      std::none_of(subject.states.end() - static_cast<ptrdiff_t>(states), subject.states.end(), same)) {
    because("everything is said to be saved, and it is not:\n" + text.text.substr(0, 500));
  }
  because(CompareRecords(original, text.text, told, file));
  if (subject.of_the_engine) because(OpenSaved(saved_path));
  return trial;
}

std::string TrySoundVolume(const std::filesystem::path& path) {
  const std::filesystem::path saved_path = path.string() + ".saved";
  unlink(saved_path.c_str());
  Told told;
  if (XKRVolumeCheck(path.u16string().c_str(), TakeFinding, &told) != XKRVolumeSound || !told.codes.empty()) {
    return "check finds something in a sound volume";
  }
  const XKRVolumeRepairOptions options = {nullptr, 0, TakeFinding, TakeSaved, &told};
  if (XKRVolumeRepair(path.u16string().c_str(), saved_path.u16string().c_str(), &options) != XKRVolumeSound) {
    return "not all of a sound volume is said to be saved";
  }
  const VolumeText before = TextOfFile(path.u16string(), Times::kWith);
  const VolumeText after = TextOfFile(saved_path.u16string(), Times::kWith);
  if (before.error != 0 || !(before == after)) return "not all of a sound volume is saved";
  return {};
}

}  // namespace damage
