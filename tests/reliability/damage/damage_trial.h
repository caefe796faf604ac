// One damaged volume, tried: written down, opened, read, changed, read again. What it may come to is the promise that
// the campaign holds: the content that was flushed, or "damaged", and nothing else.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "object_store.h"

namespace damage {

// A volume as it lies on the disk, and what reading it gives.
struct Subject {
  std::string name;
  std::string file;
  std::string log;                  // empty: none
  std::vector<std::string> states;  // after each flush; the last is the current one
  bool of_the_engine = false;
};

// Reads the files of a volume that is not mounted.
Subject TakeSubject(const std::string& name, const std::filesystem::path& path, std::vector<std::string> states);

// Volumes that are made without the engine: of every type, and a list.
Subject TypesSubject(const std::filesystem::path& folder, const char* name);
Subject ListSubject(const std::filesystem::path& folder, const char* name);

// A database of the engine with so many records; with steps, changed in so many by a writer that was killed.
Subject EngineSubject(const std::filesystem::path& folder, const char* name, int records, int steps);

enum class Result {
  kSame,     // the current content
  kEarlier,  // the content after an earlier flush
  kRefused,  // reported as damaged, by the mount or by the opening of a database
  kWrong,    // anything else: a broken promise
};

struct Trial {
  Result result = Result::kWrong;
  std::string why;  // of kWrong
};

class Bench {
 public:
  explicit Bench(const std::filesystem::path& folder) : path_(folder / "tried.vol") {}

  // Reads a volume. An earlier state may come back only when the log is what was damaged.
  Trial Read(const Subject& subject, const std::string& file, const std::string& log, bool log_damaged);

  // Reads it, changes a record of each database and reads it again after another mount: the change is there and
  // nothing else has changed, or damage was reported somewhere on the way.
  Trial Change(const Subject& subject, const std::string& file, const std::string& log);

  // Opens it with the engine, whose status has to be a documented one, and success with the current content only.
  Trial OpenWithEngine(const Subject& subject, const std::string& file, const std::string& log);

  const std::filesystem::path& path() const { return path_; }
  void PutDown(const std::string& file, const std::string& log) const;

 private:
  Trial ChangeAndRead(std::string& text) const;

  std::filesystem::path path_;
  std::map<std::string, std::string> changed_;  // what the change makes of each subject
};

}  // namespace damage
