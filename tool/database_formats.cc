// The scratch database holds attributes and, for a moment, a schema; records never.
#include "database_formats.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <array>
#include <cstring>
#include <string_view>
#include <system_error>

#include "path_names.h"
#include "safe_text.h"
#include "tool_error.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

struct OrderName {
  const char* typed;
  const char* shown;
};
// In the order of the MDbDateOrder... codes.
constexpr std::array<OrderName, 6> kOrders = {{{"mdy", "month-day-year"},
                                               {"dmy", "day-month-year"},
                                               {"ymd", "year-month-day"},
                                               {"myd", "month-year-day"},
                                               {"dym", "day-year-month"},
                                               {"ydm", "year-day-month"}}};

void SetSuffix(MDbChar (&suffix)[6], std::u16string_view text) { text.copy(suffix, text.size()); }

// A stored suffix may fill its room to the last character.
std::u16string_view SuffixText(const uint8_t* bytes, std::array<MDbChar, 6>& room) {
  std::memcpy(room.data(), bytes, sizeof room);
  const std::u16string_view whole(room.data(), room.size());
  return whole.substr(0, whole.find(u'\0'));
}

}  // namespace

DateFormat DefaultDateFormat() {
  DateFormat format{};
  format.separator = u'-';
  format.order = MDbDateOrderYearMonthDay;
  format.monthLeadingZero = 1;
  format.dayLeadingZero = 1;
  return format;
}

TimeFormat DefaultTimeFormat() {
  TimeFormat format{};
  format.separator = u':';
  SetSuffix(format.morningSuffix, u"AM");
  SetSuffix(format.afternoonSuffix, u"PM");
  format.hourLeadingZero = 1;
  return format;
}

std::optional<uint8_t> DateOrderFromName(const std::string& name) {
  for (size_t order = 0; order < kOrders.size(); ++order) {
    if (name == kOrders[order].typed || name == kOrders[order].shown) return static_cast<uint8_t>(order);
  }
  return std::nullopt;
}

std::string DateOrderName(uint8_t order) {
  return order < kOrders.size() ? kOrders[order].shown : fmt::format("unknown order {}", order);
}

std::string DateFormatText(const DateFormat& format) {
  const MDbChar separator = format.separator;
  return fmt::format("{}, separator {}, {}", DateOrderName(format.order), Quoted(std::u16string(1, separator)),
                     format.monthLeadingZero != 0 && format.dayLeadingZero != 0 ? "leading zeros" : "no leading zeros");
}

std::string TimeFormatText(const TimeFormat& format) {
  const MDbChar separator = format.separator;
  std::array<MDbChar, 6> morning{}, afternoon{};
  const auto* bytes = reinterpret_cast<const uint8_t*>(&format);
  return fmt::format("{} clock, separator {}, suffixes {} and {}", format.twelveHour != 0 ? "12-hour" : "24-hour",
                     Quoted(std::u16string(1, separator)),
                     Quoted(SuffixText(bytes + offsetof(TimeFormat, morningSuffix), morning)),
                     Quoted(SuffixText(bytes + offsetof(TimeFormat, afternoonSuffix), afternoon)));
}

ScratchDatabase::ScratchDatabase() {
  folder_ = MakeTemporaryFolder();
  const std::string what = fmt::format("making a scratch database in {}", folder_);
  try {
    path_ = WidePath(folder_ + "/formats.xdb");
    Require(MDbCreate(env(), path_.c_str(), &environment_->agentRef), what);
    Require(MDbAttrTblOpen(env(), &environment_->agentRef, &environment_->attrTbl), what);
    Require(MDbSchemaTblOpen(env(), &environment_->agentRef, &environment_->schemaTbl), what);
    UseFormats(DefaultDateFormat(), DefaultTimeFormat());
  } catch (...) {
    Remove();
    throw;
  }
}

ScratchDatabase::~ScratchDatabase() { Remove(); }

void ScratchDatabase::Remove() {
  // Nothing of value is in it.
  (void)MDbAgentCloseDb(env());
  (void)MDbDelete(env(), path_.c_str());
  RemoveTemporaryFolder(folder_);
}

void ScratchDatabase::UseFormats(const DateFormat& date, const TimeFormat& time) {
  MDbAttrs attrs{};
  attrs.dateFormat = date;
  attrs.timeFormat = time;
  const std::string what = "setting formats in the scratch database";
  Require(MDbAttrTblDelete(env(), &environment_->agentRef), what);
  Require(MDbAttrTblCreateEx(env(), &environment_->agentRef, &attrs, u""), what);
}

std::vector<uint32_t> ScratchDatabase::MaxSizes(const std::vector<uint8_t>& types) {
  const std::string what = "asking for the sizes of fields";
  std::vector<MDbFldInfo> definitions(types.size());
  for (size_t i = 0; i < types.size(); ++i) definitions[i].type = types[i];
  const std::vector<const MDbChar*> names(types.size(), u"");
  const auto count = static_cast<int16_t>(types.size());
  Require(MDbSchemaTblCreateEx(env(), &environment_->agentRef, definitions.data(), names.data(), count), what);
  MDbRecset recset;
  MDbRecsetInitialize(&recset);
  Require(MDbAgentQuery(env(), &recset, nullptr), what);
  std::vector<uint32_t> sizes(types.size());
  for (size_t i = 0; i < types.size(); ++i) {
    Require(MDbRecsetGetFieldMaxSize(env(), &recset, static_cast<int16_t>(i), &sizes[i]), what);
  }
  Require(MDbRecsetDestroy(env(), &recset), what);
  Require(MDbSchemaTblDelete(env(), &environment_->agentRef), what);
  return sizes;
}

}  // namespace xkrdb
