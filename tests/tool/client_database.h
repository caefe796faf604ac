// A database made through the library's interface with whatever a test wants in it, values included that the tool
// refuses; or one that is held open, as another program would.
#ifndef XKRDB_TESTS_CLIENT_DATABASE_H
#define XKRDB_TESTS_CLIENT_DATABASE_H

#include <cstdint>
#include <string>
#include <vector>

#include "mdb.h"

namespace xkrdb::test {

struct ClientField {
  std::u16string name;
  uint8_t type = MDbFieldText;
  uint8_t display_order = 0;
};

struct ClientDatabase {
  std::vector<ClientField> fields;
  std::vector<std::vector<std::u16string>> records;
  uint32_t mark = 1;
  bool write_mark = true;
  uint8_t date_order = MDbDateOrderYearMonthDay;
  std::vector<std::u16string> value_lists;
};

void MakeClientDatabase(const std::string& path, const ClientDatabase& database);

// A database held open until this leaves scope.
class HeldDatabase {
 public:
  explicit HeldDatabase(const std::string& path);
  ~HeldDatabase();
  HeldDatabase(const HeldDatabase&) = delete;
  HeldDatabase& operator=(const HeldDatabase&) = delete;

 private:
  MDbEnv env_;
};

}  // namespace xkrdb::test

#endif
