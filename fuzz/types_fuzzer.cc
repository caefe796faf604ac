// The types that an import proposes for the columns of a file, and how it judges each value by them.
//
// Input: whether a date order is asked for, what is asked for with --types up to a zero byte, then the file.
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "field_value.h"
#include "import_plan.h"
#include "input_bytes.h"
#include "object_store.h"
#include "requirement.h"
#include "tool_error.h"
#include "type_proposal.h"
#include "utf_text.h"
#include "value_rules.h"

// The scratch database needs no file behind it.
extern "C" BOOL __wrap_CeFlushDBVol(const CEGUID* volume);  // the name is the linker's
extern "C" BOOL __wrap_CeFlushDBVol(const CEGUID*) { return 1; }

namespace {

using xkrdb::CsvTable;
using xkrdb::TypeProposal;
using xkrdb::TypeRequest;

// The proposals of one process share a scratch database, as that of one import does with its own. It is made anew
// after a while, because what is deleted in memory is remembered until it is flushed.
xkrdb::ScratchDatabase& Scratch() {
  static std::unique_ptr<xkrdb::ScratchDatabase> scratch;
  static int uses = 0;
  if (scratch == nullptr || ++uses == 20000) {
    scratch.reset();
    scratch = std::make_unique<xkrdb::ScratchDatabase>();
    uses = 0;
  }
  return *scratch;
}

CsvTable Read(std::string_view text) {
  const auto next_block = [&](size_t) { return std::exchange(text, std::string_view()); };
  return xkrdb::ReadCsvBlocks("input", next_block, {});
}

bool SameFormats(const TypeProposal& a, const TypeProposal& b) {
  return std::memcmp(&a.date_format, &b.date_format, sizeof a.date_format) == 0 &&
         std::memcmp(&a.time_format, &b.time_format, sizeof a.time_format) == 0;
}

void CheckNumber(const std::u16string& value) {
  mdb::ValueFormat format;
  format.type = MDbFieldNumber;
  int32_t number = 0;
  FUZZ_REQUIRE(mdb::TextToValue(value.c_str(), format, &number) == MDbStatusOk, "the library reads a proposed number");
  const std::string digits = std::to_string(number);
  FUZZ_REQUIRE(value == std::u16string(digits.begin(), digits.end()), "its text can be made again from its value");
}

void CheckDate(MDbEnv* env, const std::u16string& value) {
  const std::optional<DateRec> date = xkrdb::ReadDate(env, value);
  FUZZ_REQUIRE(date && date->status == MDbDateValid && date->fourDigitYear == 1, "a proposed date is a whole date");
}

void CheckTime(MDbEnv* env, const std::u16string& value) {
  const std::optional<xkrdb::TimeText> time = xkrdb::ReadTime(env, value);
  FUZZ_REQUIRE(time && time->clock_digits, "a proposed time is one of a clock");
}

void CheckColumn(MDbEnv* env, const CsvTable& table, size_t column, uint8_t type) {
  bool filled = false;
  for (const auto& row : table.rows) {
    const std::u16string& value = row.values[column];
    FUZZ_REQUIRE(xkrdb::FitsType(env, type, value), "every value fits the type that is proposed");
    FUZZ_REQUIRE(!xkrdb::ValueProblem(env, type, 0, value, false), "and is no problem");
    if (value.empty()) continue;
    filled = true;
    if (type == MDbFieldNumber) CheckNumber(value);
    if (type == MDbFieldDate) CheckDate(env, value);
    if (type == MDbFieldTime) CheckTime(env, value);
  }
  FUZZ_REQUIRE(filled || type == MDbFieldText, "a column without values is text");
}

void CheckProposal(const CsvTable& table, const TypeRequest& request, const TypeProposal& proposal) {
  MDbEnv* env = Scratch().env();
  FUZZ_REQUIRE(proposal.types.size() == table.header.size() && proposal.notes.size() == table.header.size(),
               "each column has a type");
  DateRec date{};
  DateFormat left{};
  FUZZ_REQUIRE(MDbRecsetDateStrToDateRec(env, u"", &date, 0, &left) == MDbStatusBadDateText, "nothing is no date");
  FUZZ_REQUIRE(std::memcmp(&left, &proposal.date_format, sizeof left) == 0, "the scratch database is left under them");
  std::vector<xkrdb::TargetField> fields;
  for (size_t column = 0; column < proposal.types.size(); ++column) {
    const uint8_t type = proposal.types[column];
    FUZZ_REQUIRE(type >= MDbFieldText && type <= MDbFieldTime, "a type is one of four");
    if (request.types[column]) {
      FUZZ_REQUIRE(type == *request.types[column], "what is asked for is not questioned");
    } else {
      CheckColumn(env, table, column, type);
      fields.push_back({type, 0, column});
    }
  }
  xkrdb::ProblemList problems("file", {});
  xkrdb::CheckValues(env, table, fields, false, problems);
  FUZZ_REQUIRE(problems.empty(), "what is proposed can be imported");
}

// A proposal comes from whole columns: the order of rows has no say in it.
void CheckRowsTurnedRound(CsvTable table, const TypeRequest& request, const TypeProposal& proposal) {
  std::reverse(table.rows.begin(), table.rows.end());
  const TypeProposal turned = xkrdb::ProposeTypes(table, request, Scratch());
  FUZZ_REQUIRE(turned.types == proposal.types, "types do not hang on the order of rows");
  FUZZ_REQUIRE(turned.date_format.order == proposal.date_format.order, "nor does the order of dates");
  FUZZ_REQUIRE(turned.time_format.twelveHour == proposal.time_format.twelveHour, "nor does the clock");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  const uint8_t order = input.Byte() % 8;
  const std::string typed = xkrdb::ToUtf8(input.Text(64)).value_or("");
  CsvTable table;
  TypeRequest request;
  try {
    table = Read({reinterpret_cast<const char*>(input.rest().data()), input.rest().size()});
    request.types = xkrdb::RequestedTypes(typed, table);
  } catch (const xkrdb::ToolError&) {
    return 0;
  }
  FUZZ_REQUIRE(request.types.size() == table.header.size(), "each column may be asked for");
  if (table.header.empty()) return 0;
  if (order < 6) request.date_order = order;
  const TypeProposal proposal = xkrdb::ProposeTypes(table, request, Scratch());
  CheckProposal(table, request, proposal);
  const TypeProposal again = xkrdb::ProposeTypes(table, request, Scratch());
  FUZZ_REQUIRE(again.types == proposal.types && again.notes == proposal.notes && SameFormats(again, proposal),
               "the same file gives the same proposal");
  CheckRowsTurnedRound(table, request, proposal);
  return 0;
}
