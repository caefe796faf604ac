// Which texts a field of some type takes. Every value is stored as text; these rules say whether the library would
// read it as the number, date or time that the field promises. Dates and times are always put to the library itself.
#ifndef XKRDB_TOOL_VALUE_RULES_H
#define XKRDB_TOOL_VALUE_RULES_H

#include <cstdint>
#include <optional>
#include <string>

#include "mdb.h"

namespace xkrdb {

// A number that is written in the one way in which 32-bit integers are printed: no leading zero, plus, blank or
// separator. Its text can be made again from its value, so nothing is lost by reading it as a number. The two extreme
// values are none: the library refuses them.
bool IsCanonicalNumber(const std::u16string& text);

// A number that the library reads as it is meant: leading zeros are taken, letters and fractions are not.
bool IsNumber(const std::u16string& text);

// Dates and times under the settings of the database that is open in env. Nothing when the text is none.
std::optional<DateRec> ReadDate(MDbEnv* env, const std::u16string& text);

struct TimeText {
  TimeRec time;
  bool clock_digits = false;  // minutes and seconds, where given, have two digits and are below 60
};
std::optional<TimeText> ReadTime(MDbEnv* env, const std::u16string& text);

// Whether a field of the type takes the text. The empty text fits everywhere.
bool FitsType(MDbEnv* env, uint8_t type, const std::u16string& text);

// What is wrong with a value for a field of this type and size, or nothing.
std::optional<std::string> ValueProblem(MDbEnv* env, uint8_t type, uint32_t max_size, const std::u16string& text,
                                        bool any_value);

const char* TypeName(uint8_t type);
std::optional<uint8_t> TypeFromName(const std::string& name);

}  // namespace xkrdb

#endif
