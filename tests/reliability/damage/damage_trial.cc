// See damage_trial.h.
#include "damage_trial.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include "mdb.h"
#include "sample_volumes.h"
#include "volume_content.h"

namespace damage {

namespace {

constexpr CEPROPID kAdded = 0x7FFEu << 16 | CEVT_UI4;

std::string Bytes(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// A new file each time: some file systems write a file out at once that is cut to nothing and filled again.
void WriteFile(const std::string& path, const std::string& bytes) {
  unlink(path.c_str());
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  Require(file >= 0, "writing a damaged file");
  Require(write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "writing a damaged file");
  close(file);
}

Trial Wrong(const std::string& why) { return {Result::kWrong, why}; }

Trial Judge(const Subject& subject, const VolumeText& found, bool earlier_may_be) {
  if (found.error == ERROR_FILE_CORRUPT) return {Result::kRefused, {}};
  if (found.error != 0) return Wrong("last error " + std::to_string(found.error));
  if (found.text == subject.states.back()) return {Result::kSame, {}};
  const bool earlier = std::find(subject.states.begin(), subject.states.end(), found.text) != subject.states.end();
  if (earlier && earlier_may_be) return {Result::kEarlier, {}};
  return Wrong(earlier ? "the content of an earlier flush was returned"
                       : "changed content was returned:\n" + found.text);
}

// Gives the first record of each database one more property. False when damage was reported.
bool ChangeRecords(const CEGUID& volume) {
  const HANDLE databases = CeFindFirstDatabaseEx(&volume, 0);
  while (CEOID oid = CeFindNextDatabaseEx(databases, nullptr)) {
    const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, 0, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) break;
    CEPROPVAL value;
    std::memset(&value, 0, sizeof value);
    value.propid = kAdded;
    value.val.ulVal = 1;
    const CEOID record = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 0, nullptr);
    if (record != 0) CeWriteRecordProps(handle, record, 1, &value);
    CloseHandle(handle);
  }
  CloseHandle(databases);
  if (CeFlushDBVol(&volume)) return true;
  return GetLastError() != ERROR_FILE_CORRUPT;
}

}  // namespace

// A log ends in zeros, a megabyte of them, which are room: damage to these alone would be most of all damage to it.
static std::string WithoutRoom(const std::string& log) {
  constexpr size_t kHeaderBytes = 32;
  constexpr size_t kFrameBytes = 24 + 4096;
  const size_t last = log.find_last_not_of('\0');
  if (last == std::string::npos || last < kHeaderBytes) return log;
  // One frame of room stays.
  return log.substr(0, kHeaderBytes + ((last - kHeaderBytes) / kFrameBytes + 2) * kFrameBytes);
}

Subject TakeSubject(const std::string& name, const std::filesystem::path& path, std::vector<std::string> states) {
  return {name, Bytes(path), WithoutRoom(Bytes(path.string() + "-wal")), std::move(states), path.extension() == ".xdb"};
}

Subject TypesSubject(const std::filesystem::path& folder, const char* name) {
  const std::filesystem::path path = folder / name;
  MakeEveryTypeVolume(path.u16string());
  return TakeSubject(name, path, {TextOfFile(path.u16string()).text});
}

Subject ListSubject(const std::filesystem::path& folder, const char* name) {
  const std::filesystem::path path = folder / name;
  std::vector<std::string> states = MakeListVolume(path.u16string());
  return TakeSubject(name, path, std::move(states));
}

Subject EngineSubject(const std::filesystem::path& folder, const char* name, int records, int steps) {
  const std::filesystem::path path = folder / name;
  MakeEngineDatabase(path.u16string(), records);
  std::vector<std::string> states = {TextOfFile(path.u16string()).text};
  if (steps > 0) states = LeaveKilledWriter(path.u16string(), steps);
  return TakeSubject(name, path, std::move(states));
}

void Bench::PutDown(const std::string& file, const std::string& log) const {
  WriteFile(path_.string(), file);
  if (log.empty()) {
    unlink((path_.string() + "-wal").c_str());
  } else {
    WriteFile(path_.string() + "-wal", log);
  }
}

Trial Bench::Read(const Subject& subject, const std::string& file, const std::string& log, bool log_damaged) {
  PutDown(file, log);
  return Judge(subject, TextOfFile(path_.u16string()), log_damaged);
}

Trial Bench::ChangeAndRead(std::string& text) const {
  CEGUID volume;
  if (!CeMountDBVol(&volume, path_.u16string().c_str(), OPEN_EXISTING)) {
    return GetLastError() == ERROR_FILE_CORRUPT ? Trial{Result::kRefused, {}} : Wrong("the mount's last error");
  }
  const bool changed = ChangeRecords(volume);
  if (!CeUnmountDBVol(&volume)) {
    const DWORD error = GetLastError();
    CeUnmountDBVol(&volume);  // the second attempt lets go
    if (error != ERROR_FILE_CORRUPT) return Wrong("last error of an unmount " + std::to_string(error));
    return {Result::kRefused, {}};
  }
  if (!changed) return {Result::kRefused, {}};
  const VolumeText after = TextOfFile(path_.u16string());
  if (after.error == ERROR_FILE_CORRUPT) return {Result::kRefused, {}};
  if (after.error != 0) return Wrong("last error after a change " + std::to_string(after.error));
  text = after.text;
  return {Result::kSame, {}};
}

// What the change makes of a sound volume is what it may make of this one.
Trial Bench::Change(const Subject& subject, const std::string& file, const std::string& log) {
  std::string& expected = changed_[subject.name];
  if (expected.empty()) {
    PutDown(subject.file, subject.log);
    Require(ChangeAndRead(expected).result == Result::kSame, "changing a sound volume");
  }
  PutDown(file, log);
  std::string text;
  const Trial trial = ChangeAndRead(text);
  if (trial.result != Result::kSame || text == expected) return trial;
  return Wrong("after a change there is other content:\n" + text);
}

Trial Bench::OpenWithEngine(const Subject& subject, const std::string& file, const std::string& log) {
  PutDown(file, log);
  MDbEnv env;
  MDbEnvInitialize(&env);
  Require(MDbInit(&env, nullptr, 0) == MDbStatusOk, "starting the engine");
  const MDbStatus status = MDbAgentOpenDb(&env, path_.u16string().c_str());
  Trial trial;
  switch (status) {
    case MDbStatusOk:
      // It needs no more than the first records to open a table: damage behind them is met by whoever reads them.
      trial = Judge(subject, TextOf(env.agentRef.volume), !subject.log.empty() && log != subject.log);
      if (MDbAgentCloseDb(&env) != MDbStatusOk) trial = Wrong("the engine does not close what it opened");
      break;
    case MDbStatusFailed:
    case MDbStatusBadFormat:
    case MDbStatusCannotOpen:
    case MDbStatusChecksumMismatch:
    case MDbStatusNoFields:
      trial.result = Result::kRefused;
      break;
    default:
      trial = Wrong("the engine's status " + std::to_string(static_cast<uint32_t>(status)));
  }
  (void)MDbShutdown(&env, 0, 0);
  return trial;
}

}  // namespace damage
