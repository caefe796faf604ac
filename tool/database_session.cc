// Sessions with the library. The library's reads are lenient: some answer 0 and give nothing. Every output is therefore
// set beforehand and looked at afterwards.
#include "database_session.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "open_failure.h"
#include "tool_error.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

constexpr const char* kNoLocale = "";  // the word breaker's own rules, the same on every machine

int16_t Index16(size_t index) { return static_cast<int16_t>(index); }

std::u16string TextBuffer(uint32_t size_bytes) { return std::u16string(std::max<size_t>(size_bytes / 2, 1), u'\0'); }

// Cuts a buffer that the library filled at its terminator.
std::u16string Filled(std::u16string buffer) {
  buffer.resize(std::min(buffer.find(u'\0'), buffer.size()));
  return buffer;
}

std::vector<std::u16string> ReadValues(Database& database, MDbDataRec* record, const std::string& what) {
  MDbEnv* env = database.env();
  std::vector<std::u16string> values;
  for (size_t i = 0; i < database.fields().size(); ++i) {
    const MDbChar* text = nullptr;
    RequireRead(MDbDataRecGetFieldPtr(env, &env->agentRef, &env->dataTbl, &env->schemaTbl, record, Index16(i), &text),
                what);
    if (text == nullptr) throw ToolError(ExitCode::kNotDatabase, what + ": a field is missing");
    values.emplace_back(text);
  }
  return values;
}

}  // namespace

void Require(MDbStatus status, const std::string& what) {
  if (status == MDbStatusOk) return;
  if (status == MDbStatusRecordLimit) {
    throw ToolError(ExitCode::kBadInput,
                    fmt::format("{}: a database holds at most {} records", what, +MDB_MAX_RECORDS));
  }
  throw ToolError(ExitCode::kInputOutput,
                  fmt::format("{}: the library answers {}", what, static_cast<uint32_t>(status)));
}

void RequireRead(MDbStatus status, const std::string& what) {
  if (status == MDbStatusOk) return;
  throw ToolError(ExitCode::kNotDatabase,
                  fmt::format("{}: the library answers {}; the database is damaged, or the disk "
                              "does not read",
                              what, static_cast<uint32_t>(status)));
}

std::u16string WidePath(const std::string& path) {
  std::optional<std::u16string> wide = ToWide(path);
  if (!wide) throw ToolError(ExitCode::kUsage, fmt::format("the path {} is not UTF-8", path));
  if (wide->size() >= MDB_MAX_PATH) {
    throw ToolError(ExitCode::kUsage, fmt::format("the path is {} characters long, at most {} are possible",
                                                  wide->size(), MDB_MAX_PATH - 1));
  }
  return *wide;
}

Environment::Environment() {
  MDbEnvInitialize(&env_);
  if (MDbInit(&env_, kNoLocale, 0) != MDbStatusOk) {
    throw ToolError(ExitCode::kInputOutput, "the word breaker does not start");
  }
}

Environment::~Environment() { (void)MDbShutdown(&env_, 0, 0); }

Database::Database(const std::string& path) : path_(path) {
  const std::u16string wide = WidePath(path);
  const MDbStatus status = MDbAgentOpenDb(environment_.get(), wide.c_str());
  if (status != MDbStatusOk) throw OpenFailure(path, status);
  open_ = true;
  try {
    ReadFields();
  } catch (...) {
    CloseQuietly();
    throw;
  }
}

Database::~Database() { CloseQuietly(); }

void Database::CloseQuietly() {
  // On the way out of a failure that is being reported already.
  if (open_) (void)MDbAgentCloseDb(environment_.get());
  open_ = false;
}

void Database::Close() {
  if (!open_) return;
  open_ = false;
  Require(MDbAgentCloseDb(environment_.get()), fmt::format("closing {}", path_));
}

void Database::ReadFields() {
  MDbEnv* env = environment_.get();
  const std::string what = fmt::format("reading the fields of {}", path_);
  int16_t count = 0;
  RequireRead(MDbSchemaTblGetCount(env, &env->agentRef, &env->schemaTbl, &count), what);
  for (int16_t i = 0; i < count; ++i) {
    Field field;
    uint32_t size = 0;
    RequireRead(MDbSchemaTblGetNameSize(env, &env->agentRef, &env->schemaTbl, i, &size), what);
    RequireRead(MDbSchemaTblReadFldType(env, &env->agentRef, &env->schemaTbl, i, &field.type), what);
    std::u16string name = TextBuffer(size);
    RequireRead(MDbSchemaTblReadFldName(env, &env->agentRef, &env->schemaTbl, i, name.data(), size), what);
    field.name = Filled(std::move(name));
    fields_.push_back(std::move(field));
  }
  int16_t options = 0;
  RequireRead(MDbFieldOpTblGetCount(env, &env->agentRef, &env->fieldOpTbl, &options), what);
  std::vector<int16_t> orders(static_cast<size_t>(std::max(options, count)));
  RequireRead(MDbFieldOpTblGetDisplayOrders(env, &env->agentRef, &env->fieldOpTbl, orders.data(), count), what);
  RecordSet all(*this);
  for (size_t i = 0; i < fields_.size(); ++i) {
    fields_[i].display_order = static_cast<uint16_t>(orders[i]);
    // Refused for a field of no known type: it has no limit then.
    (void)MDbRecsetGetFieldMaxSize(env, all.get(), Index16(i), &fields_[i].max_size);
  }
}

std::vector<size_t> Database::DisplayOrder() const {
  std::vector<size_t> order(fields_.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return fields_[a].display_order < fields_[b].display_order; });
  return order;
}

std::u16string Database::Name() {
  constexpr uint32_t kRoomBytes = 2048;
  std::u16string name = TextBuffer(kRoomBytes);
  RequireRead(MDbAgentGetDbName(env(), name.data(), kRoomBytes), "reading the database's name");
  return Filled(std::move(name));
}

MDbAttrs Database::Attributes() {
  MDbAttrs attrs{};
  MDbEnv* env = environment_.get();
  RequireRead(MDbAttrTblReadAttrs(env, &env->agentRef, &env->attrTbl, 0, &attrs), "reading the database's settings");
  return attrs;
}

std::vector<std::u16string> Database::ValueLists() {
  MDbEnv* env = environment_.get();
  int16_t count = 0;
  RequireRead(MDbValListTblGetCount(env, &env->agentRef, &env->valListTbl, &count), "counting the value lists");
  std::vector<std::u16string> lists;
  for (int16_t i = 0; i < count; ++i) {
    uint32_t size = 0;
    RequireRead(MDbAgentGetValListSize(env, i, &size), "reading a value list");
    std::u16string list = TextBuffer(size);
    RequireRead(MDbAgentGetValList(env, i, list.data(), size), "reading a value list");
    lists.push_back(Filled(std::move(list)));
  }
  return lists;
}

uint32_t Database::RecordCount() {
  MDbEnv* env = environment_.get();
  uint32_t count = 0;
  RequireRead(MDbDataTblGetRecCount(env, &env->agentRef, &env->dataTbl, &count), "counting the records");
  return count;
}

uint32_t Database::LogCount() {
  MDbEnv* env = environment_.get();
  uint32_t count = 0;
  RequireRead(MDbDeleteTblGetRecCount(env, &env->agentRef, &env->dataTbl, &count), "counting the deletion log");
  return count;
}

Record Database::LogEntry(uint32_t position) {
  MDbEnv* env = environment_.get();
  const std::string what = fmt::format("reading entry {} of the deletion log", position + 1);
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  RequireRead(MDbDeleteTblOpenRec(env, &env->agentRef, &env->dataTbl, &record, static_cast<int16_t>(position), nullptr),
              what);
  Record entry;
  entry.number = position + 1;
  entry.oid = record.oid;
  try {
    RequireRead(MDbDataRecGetState(env, &env->agentRef, &env->dataTbl, &record, &entry.state), what);
    entry.values = ReadValues(*this, &record, what);
  } catch (...) {
    (void)MDbDataTblCloseRec(env, &env->agentRef, &env->dataTbl, &record);
    throw;
  }
  RequireRead(MDbDataTblCloseRec(env, &env->agentRef, &env->dataTbl, &record), what);
  return entry;
}

RecordSet::RecordSet(Database& database) : database_(database) {
  MDbRecsetInitialize(&recset_);
  RequireRead(MDbAgentQuery(database_.env(), &recset_, nullptr), "reading the records");
}

RecordSet::RecordSet(Database& database, size_t field, int16_t mode, const std::u16string& text)
    : database_(database), text_(text) {
  MDbRecsetInitialize(&recset_);
  const MDbQuery query{Index16(field), mode, text_.c_str()};
  const MDbStatus status = MDbAgentQuery(database_.env(), &recset_, &query);
  if (status != MDbStatusOk) (void)MDbRecsetDestroy(database_.env(), &recset_);
  RequireRead(status, "searching the records");
}

RecordSet::~RecordSet() { (void)MDbRecsetDestroy(database_.env(), &recset_); }

void RecordSet::Sort(size_t field, bool descending) {
  const uint32_t mode = descending ? MDbSortDescending : MDbSortAscending;
  Require(MDbRecsetSort(database_.env(), &recset_, Index16(field), mode), "sorting the records");
}

uint32_t RecordSet::Count() {
  uint32_t count = 0;
  RequireRead(MDbRecsetGetRecCount(database_.env(), &recset_, &count), "counting the records");
  return count;
}

void RecordSet::Open(uint32_t index) {
  const std::string what = fmt::format("reading record {}", index + 1);
  RequireRead(MDbRecsetSetInx(database_.env(), &recset_, Index16(index)), what);
  RequireRead(MDbRecsetOpenRec(database_.env(), &recset_), what);
}

uint32_t RecordSet::Oid(uint32_t index) {
  Open(index);
  const uint32_t oid = recset_.record.oid;
  RequireRead(MDbRecsetCloseRec(database_.env(), &recset_), "closing a record");
  return oid;
}

Record RecordSet::Read(uint32_t index) {
  Open(index);
  MDbEnv* env = database_.env();
  const std::string what = fmt::format("reading record {}", index + 1);
  Record record;
  record.oid = recset_.record.oid;
  const MDbStatus state = MDbDataRecGetState(env, &env->agentRef, &env->dataTbl, &recset_.record, &record.state);
  try {
    RequireRead(state, what);
    record.values = ReadValues(database_, &recset_.record, what);
  } catch (...) {
    (void)MDbRecsetCloseRec(env, &recset_);
    throw;
  }
  RequireRead(MDbRecsetCloseRec(env, &recset_), what);
  return record;
}

}  // namespace xkrdb
