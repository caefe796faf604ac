// Columns drop out of a guess at their first value that does not fit, so text columns cost one look each.
#include "type_proposal.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <functional>

#include "safe_text.h"
#include "tool_error.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

// The orders that people write. The three others are taken when they are asked for.
constexpr std::array<uint8_t, 3> kUsualOrders = {MDbDateOrderYearMonthDay, MDbDateOrderDayMonthYear,
                                                 MDbDateOrderMonthDayYear};
using Fits = std::function<bool(const std::u16string&)>;

class Proposer {
 public:
  Proposer(const CsvTable& table, const TypeRequest& request, ScratchDatabase& scratch)
      : table_(table), request_(request), scratch_(scratch), decided_(table.header.size(), false) {
    proposal_.types.assign(table.header.size(), MDbFieldText);
    proposal_.notes.resize(table.header.size());
    proposal_.date_format = DefaultDateFormat();
    proposal_.time_format = DefaultTimeFormat();
  }

  TypeProposal Run() {
    for (size_t column = 0; column < decided_.size(); ++column) {
      if (request_.types[column]) Decide(column, *request_.types[column]);
    }
    Numbers();
    Dates();
    Times();
    scratch_.UseFormats(proposal_.date_format, proposal_.time_format);
    return std::move(proposal_);
  }

 private:
  // Whether the column has values and all of them fit.
  bool AllFit(size_t column, const Fits& fits) const {
    bool filled = false;
    for (const CsvRow& row : table_.rows) {
      const std::u16string& value = row.values[column];
      if (value.empty()) continue;
      if (!fits(value)) return false;
      filled = true;
    }
    return filled;
  }
  void Decide(size_t column, uint8_t type) {
    proposal_.types[column] = type;
    decided_[column] = true;
  }

  void Numbers();
  void NoteNearNumber(size_t column);
  void Dates();
  std::vector<size_t> DateColumns(uint8_t order);
  std::optional<uint8_t> ChooseOrder(const std::array<std::vector<size_t>, kUsualOrders.size()>& columns) const;
  void NoteOtherDates(const std::array<std::vector<size_t>, kUsualOrders.size()>& columns, bool chosen);
  void ShapeDates(uint8_t order, const std::vector<size_t>& columns);
  bool FormatsBack(const std::vector<size_t>& columns);
  void Times();

  const CsvTable& table_;
  const TypeRequest& request_;
  ScratchDatabase& scratch_;
  TypeProposal proposal_;
  std::vector<bool> decided_;
};

void Proposer::Numbers() {
  for (size_t column = 0; column < decided_.size(); ++column) {
    if (decided_[column]) continue;
    if (AllFit(column, IsCanonicalNumber)) {
      Decide(column, MDbFieldNumber);
    } else {
      NoteNearNumber(column);
    }
  }
}

// Digits alone look like a number to a person: say which value kept the column from being one.
void Proposer::NoteNearNumber(size_t column) {
  const auto digits = [](const std::u16string& value) {
    return value.find_first_not_of(u"0123456789", value[0] == u'-' || value[0] == u'+' ? 1 : 0) == std::u16string::npos;
  };
  if (!AllFit(column, digits)) return;
  for (const CsvRow& row : table_.rows) {
    const std::u16string& value = row.values[column];
    if (value.empty() || IsCanonicalNumber(value)) continue;
    const char* why = IsNumber(value) || value[0] == u'+' ? "would lose characters as a number" : "is beyond 32 bits";
    proposal_.notes[column] = fmt::format("{} in line {} {}", Quoted(value), row.line, why);
    return;
  }
}

// The columns, forced ones included, whose values are all whole dates under the order.
std::vector<size_t> Proposer::DateColumns(uint8_t order) {
  DateFormat format = DefaultDateFormat();
  format.order = order;
  scratch_.UseFormats(format, proposal_.time_format);
  std::vector<size_t> columns;
  const Fits whole_date = [&](const std::u16string& value) {
    const std::optional<DateRec> date = ReadDate(scratch_.env(), value);
    return date && date->status == MDbDateValid && date->fourDigitYear == 1;
  };
  for (size_t column = 0; column < decided_.size(); ++column) {
    const bool asked = request_.types[column] == MDbFieldDate;
    if ((!decided_[column] || asked) && AllFit(column, whole_date)) columns.push_back(column);
  }
  return columns;
}

// The order that explains most of the columns that only one order explains.
std::optional<uint8_t> Proposer::ChooseOrder(
    const std::array<std::vector<size_t>, kUsualOrders.size()>& columns) const {
  std::array<size_t, kUsualOrders.size()> certain{};
  for (size_t column = 0; column < decided_.size(); ++column) {
    size_t explained = 0, by = 0;
    for (size_t i = 0; i < kUsualOrders.size(); ++i) {
      if (!std::binary_search(columns[i].begin(), columns[i].end(), column)) continue;
      ++explained;
      by = i;
    }
    if (explained == 1) ++certain[by];
  }
  const auto best = std::max_element(certain.begin(), certain.end());
  if (*best == 0) return std::nullopt;
  return kUsualOrders[static_cast<size_t>(best - certain.begin())];
}

void Proposer::NoteOtherDates(const std::array<std::vector<size_t>, kUsualOrders.size()>& columns, bool chosen) {
  for (size_t i = 0; i < kUsualOrders.size(); ++i) {
    for (const size_t column : columns[i]) {
      if (decided_[column]) continue;
      std::string& note = proposal_.notes[column];
      note += note.empty() ? "reads as dates in the order " : " and in the order ";
      note += DateOrderName(kUsualOrders[i]);
    }
  }
  for (size_t column = 0; column < decided_.size(); ++column) {
    std::string& note = proposal_.notes[column];
    if (decided_[column] || !note.starts_with("reads as dates")) continue;
    note += chosen ? fmt::format(", but the database's dates are {}", DateOrderName(proposal_.date_format.order))
                   : "; say which with --date-order";
  }
}

void Proposer::Dates() {
  std::array<std::vector<size_t>, kUsualOrders.size()> columns;
  std::optional<uint8_t> order = request_.date_order;
  if (!order) {
    for (size_t i = 0; i < kUsualOrders.size(); ++i) columns[i] = DateColumns(kUsualOrders[i]);
    order = ChooseOrder(columns);
  }
  if (order) {
    proposal_.date_format.order = *order;
    const std::vector<size_t> chosen = DateColumns(*order);
    for (const size_t column : chosen) Decide(column, MDbFieldDate);
    if (!chosen.empty()) ShapeDates(*order, chosen);
  }
  NoteOtherDates(columns, order.has_value());
}

bool Proposer::FormatsBack(const std::vector<size_t>& columns) {
  scratch_.UseFormats(proposal_.date_format, proposal_.time_format);
  const Fits same = [&](const std::u16string& value) {
    constexpr size_t kDateRoom = 16;
    MDbChar text[kDateRoom] = {};
    const std::optional<DateRec> date = ReadDate(scratch_.env(), value);
    return date && MDbRecsetDRecToDateStr(scratch_.env(), &*date, text) == MDbStatusOk && value == text;
  };
  return std::all_of(columns.begin(), columns.end(), [&](size_t column) { return AllFit(column, same); });
}

// Separator and leading zeros as the file writes them, so that dates that programs write later look like those here.
void Proposer::ShapeDates(uint8_t order, const std::vector<size_t>& columns) {
  proposal_.date_format.order = order;
  for (const CsvRow& row : table_.rows) {
    const std::optional<DateRec> date = ReadDate(scratch_.env(), row.values[columns.front()]);
    if (!date) continue;
    proposal_.date_format.separator = static_cast<MDbChar>(date->separator);
    break;
  }
  if (FormatsBack(columns)) return;
  proposal_.date_format.monthLeadingZero = proposal_.date_format.dayLeadingZero = 0;
  if (FormatsBack(columns)) return;
  proposal_.date_format.monthLeadingZero = proposal_.date_format.dayLeadingZero = 1;
}

void Proposer::Times() {
  scratch_.UseFormats(proposal_.date_format, proposal_.time_format);
  bool any_suffix = false, any_plain = false;
  const Fits clock_time = [&](const std::u16string& value) {
    const std::optional<TimeText> read = ReadTime(scratch_.env(), value);
    // Hours alone are a number to most people; a suffix makes a time of them.
    return read && read->clock_digits && (read->time.components > 0 || read->time.state == MDbTimeTwelveHour);
  };
  for (size_t column = 0; column < decided_.size(); ++column) {
    if (decided_[column] || !AllFit(column, clock_time)) continue;
    Decide(column, MDbFieldTime);
    for (const CsvRow& row : table_.rows) {
      const std::optional<TimeText> read = ReadTime(scratch_.env(), row.values[column]);
      if (!read) continue;
      (read->time.state == MDbTimeTwelveHour ? any_suffix : any_plain) = true;
    }
  }
  if (any_suffix && !any_plain) proposal_.time_format.twelveHour = 1;
}

}  // namespace

TypeProposal ProposeTypes(const CsvTable& table, const TypeRequest& request, ScratchDatabase& scratch) {
  return Proposer(table, request, scratch).Run();
}

}  // namespace xkrdb
