// Dates and times under the database's formats.
#include "fault_case.h"

namespace callfaults {
namespace {

uint32_t ReadDate(World& world) {
  return MDbRecsetDateStrToDateRec(&world.env, u"13/1/2024", &world.out.date, 0, &world.out.date_format);
}
// The year comes from the clock.
uint32_t ReadDayAndMonth(World& world) {
  return MDbRecsetDateStrToDateRec(&world.env, u"13/1", &world.out.date, 0, nullptr);
}
uint32_t ReadShortYear(World& world) {
  return MDbRecsetDateStrToDateRec(&world.env, u"13/1/24", &world.out.date, 0, &world.out.date_format);
}
uint32_t ReadNoDate(World& world) {
  return MDbRecsetDateStrToDateRec(&world.env, u"oak", &world.out.date, 1, &world.out.date_format);
}
uint32_t WriteDate(World& world) {
  const DateRec date = {1, 13, 2024, MDbDateValid, 1, 0};
  return MDbRecsetDRecToDateStr(&world.env, &date, world.out.text);
}
uint32_t ReadTime(World& world) {
  return MDbRecsetTimeStrToTRec(&world.env, u"2:75 PM", &world.out.time, 1, &world.out.time_format, world.out.digits);
}
uint32_t ReadNoTime(World& world) {
  return MDbRecsetTimeStrToTRec(&world.env, u"oak", &world.out.time, 0, nullptr, nullptr);
}
uint32_t WriteTime(World& world) {
  const TimeRec time = {14, 30, 0, MDbTimeTwelveHour, 1};
  return MDbRecsetTRecToTimeStr(&world.env, &time, world.out.text);
}

}  // namespace

// A format that finds no memory, or is not read after its size, is one of zeros: month, day, year, no separators.
Cases ConversionCases() {
  const auto unread = [](uint32_t status, std::vector<std::string> outputs) {
    const Outcome outcome = Fails(status).Outputs(Held::kAfter, outputs);
    return Rules{{"LocalAlloc(*", outcome}, {"CeReadRecordPropsEx(*, size=*", outcome}};
  };
  const std::string no_date_format = "date_format=000000000000";
  const std::string no_time_format = "time_format=" + std::string(96, '0');
  struct Conversion {
    const char* name;
    const char* state;
    uint32_t (*act)(World&);
    uint32_t clean;
    uint32_t closed;
    Rules rules;
  };
  const std::vector<Conversion> conversions = {
      {"MDbRecsetDateStrToDateRec", "a date", ReadDate, 0, 2, unread(2, {"date=*", no_date_format})},
      {"MDbRecsetDateStrToDateRec", "a date without a year", ReadDayAndMonth, 0, 2, unread(2, {"date=*"})},
      {"MDbRecsetDateStrToDateRec", "a date with two digits of a year", ReadShortYear, 0, 2,
       unread(2, {"date=*", no_date_format})},
      {"MDbRecsetDateStrToDateRec", "no date", ReadNoDate, 2, 2, unread(2, {"date=*", no_date_format})},
      {"MDbRecsetDRecToDateStr", "a date", WriteDate, 0, 1, unread(0, {"text=*"})},
      {"MDbRecsetTimeStrToTRec", "a time", ReadTime, 0, 3, unread(3, {"time=*", "digits=*", no_time_format})},
      {"MDbRecsetTimeStrToTRec", "no time", ReadNoTime, 3, 3, unread(3, {"time=*"})},
      {"MDbRecsetTRecToTimeStr", "a time", WriteTime, 0, 1, unread(0, {"text=*"})},
  };
  Cases cases;
  const auto without_attributes = [](World& world) {
    OpenAgent(world);
    ASSERT_EQ(MDbAttrTblDelete(&world.env, world.ref()), MDbStatusOk);
  };
  for (const Conversion& conversion : conversions) {
    cases.push_back({conversion.name, conversion.state, Template::kUsual, OpenAgent, conversion.act, conversion.rules,
                     conversion.clean});
    if (std::string(conversion.state).find(" time") == std::string::npos && std::string(conversion.state) != "a date") {
      continue;
    }
    static const std::map<std::string, const char*> kClosed = {
        {"a date", "closed, a date"}, {"a time", "closed, a time"}, {"no time", "closed, no time"}};
    static const std::map<std::string, const char*> kBare = {{"a date", "no attributes, a date"},
                                                             {"a time", "no attributes, a time"},
                                                             {"no time", "no attributes, no time"}};
    cases.push_back({conversion.name,
                     kBare.at(conversion.state),
                     Template::kUsual,
                     without_attributes,
                     conversion.act,
                     {},
                     MDbStatusFailed});
    cases.push_back({conversion.name,
                     kClosed.at(conversion.state),
                     Template::kUsual,
                     [](World&) {},
                     conversion.act,
                     {},
                     conversion.closed});
    cases.back().platform = Platform::kUnused;
  }
  return cases;
}

}  // namespace callfaults
