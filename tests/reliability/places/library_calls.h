// The library's calls on one environment as a client makes them, each with what it answers checked against what it leaves
// in its records. Made without virtual functions, so that the sanitizers need no descriptor of their own to follow a call.
#pragma once

#include <string>
#include <vector>

#include "mdb.h"
#include "platform_types.h"

namespace places {

class LibraryCalls {
 public:
  LibraryCalls();
  ~LibraryCalls();
  LibraryCalls(const LibraryCalls&) = delete;
  LibraryCalls& operator=(const LibraryCalls&) = delete;

  // A database with one field, "name", and these records; it is closed and whole.
  void MakeDatabase(const std::u16string& path, const std::vector<std::u16string>& names);

  // The last error of a call that must fail; kDone for one that succeeded, which is then undone.
  static constexpr DWORD kDone = 0;
  DWORD Create(const std::u16string& path);
  DWORD Open(const std::u16string& path);       // the database alone; must be 6 when it fails
  DWORD OpenAgent(const std::u16string& path);  // with its tables
  DWORD Delete(const std::u16string& path);
  static DWORD Find(const std::u16string& pattern);  // a listing that is begun and ended
  static DWORD MakeFolder(const std::u16string& path);

  // The names in the records of a database, opened by the agent call and closed again.
  std::vector<std::u16string> Records(const std::u16string& path);

  // The environment's database, open: adds a record, which is flushed when the call succeeds.
  MDbStatus Add(const std::u16string& name);
  std::vector<std::u16string> RecordsOfOpen();

  MDbEnv* env() { return &env_; }

 private:
  MDbEnv env_;
};

}  // namespace places
