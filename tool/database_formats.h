// How a database reads and writes dates and times: the settings that a new database gets, and a scratch database in
// which the library can be asked how it would read a text under other settings.
#ifndef XKRDB_TOOL_DATABASE_FORMATS_H
#define XKRDB_TOOL_DATABASE_FORMATS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "database_session.h"
#include "mdb.h"

namespace xkrdb {

// Year, month, day with two digits each, separated by '-'; a clock of 24 hours, hours with two digits, ':', AM and PM.
DateFormat DefaultDateFormat();
TimeFormat DefaultTimeFormat();

// "ymd", "day-month-year": a date order as it is typed and as it is shown.
std::optional<uint8_t> DateOrderFromName(const std::string& name);
std::string DateOrderName(uint8_t order);
std::string DateFormatText(const DateFormat& format);
std::string TimeFormatText(const TimeFormat& format);

// A database in a temporary folder, gone again when this leaves scope.
class ScratchDatabase {
 public:
  ScratchDatabase();
  ~ScratchDatabase();
  ScratchDatabase(const ScratchDatabase&) = delete;
  ScratchDatabase& operator=(const ScratchDatabase&) = delete;

  MDbEnv* env() { return environment_.get(); }
  // From here on the library reads dates and times in this environment under these settings.
  void UseFormats(const DateFormat& date, const TimeFormat& time);
  // The size limits of the fields of a database with these types.
  std::vector<uint32_t> MaxSizes(const std::vector<uint8_t>& types);

 private:
  void Remove();

  Environment environment_;
  std::string folder_;
  std::u16string path_;
};

}  // namespace xkrdb

#endif
