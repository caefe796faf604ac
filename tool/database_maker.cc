// Records that come from a file are known to the outside already: they get state 0, and their deletion is logged.
#include "database_maker.h"

#include <fmt/format.h>

#include "interruption.h"
#include "open_failure.h"
#include "terminal.h"
#include "tool_error.h"

namespace xkrdb {
namespace {

constexpr uint8_t kKnownOutside = 1;

std::vector<const MDbChar*> Pointers(const std::vector<std::u16string>& texts) {
  std::vector<const MDbChar*> pointers;
  pointers.reserve(texts.size());
  for (const std::u16string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

// A database file open through a reference of its own.
class OwnReference {
 public:
  OwnReference() {
    MDbRefInitialize(&ref_);
    MDbDataTblInitialize(&table_);
  }

  void Create(const std::string& path) {
    if (FileExists(path)) throw CreateFailure(path);
    const std::u16string wide = WidePath(path);
    if (MDbCreate(env(), wide.c_str(), &ref_) != MDbStatusOk) throw CreateFailure(path);
  }
  void Open(const std::string& path) {
    const std::u16string wide = WidePath(path);
    const MDbStatus status = MDbOpen(env(), wide.c_str(), &ref_);
    if (status != MDbStatusOk) throw OpenFailure(path, status);
  }
  void WriteTables(const DatabaseDesign& design);
  void AddAll(const RecordSource& records);
  // Says that the database is whole.
  void WriteMark() { Require(MDbWriteChecksome(env(), &ref_, 1), "writing the mark"); }
  void Close(const std::string& path) { Require(MDbClose(env(), &ref_), fmt::format("writing {}", path)); }

  // Gives the file up and deletes it.
  void Remove(const std::string& path) {
    // A failure is being reported already; a file that stays has no mark and is refused by every open.
    if (table_.opened != 0) (void)MDbDataTblClose(env(), &ref_, &table_);
    if (ref_.opened != 0) (void)MDbClose(env(), &ref_);
    (void)MDbDelete(env(), WidePath(path).c_str());
  }

 private:
  MDbEnv* env() { return environment_.get(); }

  Environment environment_;
  MDbRef ref_;
  MDbDataTbl table_;
};

void OwnReference::WriteTables(const DatabaseDesign& design) {
  const auto count = static_cast<int16_t>(design.field_names.size());
  const auto lists = static_cast<int16_t>(design.value_lists.size());
  std::vector<MDbFldInfo> definitions(design.field_types.size());
  std::vector<MDbFldOptionPair> options(design.field_types.size());
  for (size_t i = 0; i < definitions.size(); ++i) {
    definitions[i].type = design.field_types[i];
    (void)MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, static_cast<uint8_t>(i), count);  // always 0
  }
  MDbAttrs attrs{};
  attrs.dateFormat = design.date_format;
  attrs.timeFormat = design.time_format;
  Require(MDbSchemaTblCreateEx(env(), &ref_, definitions.data(), Pointers(design.field_names).data(), count),
          "writing the fields");
  Require(MDbAttrTblCreateEx(env(), &ref_, &attrs, design.name.c_str()), "writing the settings");
  Require(MDbFieldOpTblCreateEx(env(), &ref_, options.data(), count), "writing the field options");
  Require(MDbValListTblCreateEx(env(), &ref_, Pointers(design.value_lists).data(), lists), "writing the value lists");
  Require(MDbDataTblCreate(env(), &ref_, nullptr), "making the data table");
}

void OwnReference::AddAll(const RecordSource& records) {
  const MDbRecInfo no_info{};
  Require(MDbDataTblOpen(env(), &ref_, &table_, nullptr), "opening the data table");
  Require(StartCreationSeqCache(env(), &ref_, &table_), "reading the creation counter");
  Progress progress("storing records", records.count);
  for (size_t i = 0; i < records.count; ++i) {
    Interruption::Check();
    const std::vector<const MDbChar*> texts = records.texts(i);
    const auto count = static_cast<int16_t>(texts.size());
    const MDbStatus status =
        MDbDataTblAddRec(env(), &ref_, &table_, &no_info, texts.data(), count, kKnownOutside, nullptr, nullptr);
    if (status != MDbStatusOk) Require(status, fmt::format("storing {}", records.name(i)));
    progress.Update(i + 1);
  }
  Require(EndCreationSeqCache(env(), &ref_, &table_), "writing the creation counter");
  Require(MDbDataTblClose(env(), &ref_, &table_), "closing the data table");
}

}  // namespace

void MakeDatabase(const std::string& path, const DatabaseDesign& design, const RecordSource& records) {
  const Interruption interruption;
  OwnReference own;
  own.Create(path);
  try {
    own.WriteTables(design);
    own.AddAll(records);
    own.WriteMark();
    own.Close(path);
  } catch (...) {
    own.Remove(path);
    throw;
  }
}

void AddRecords(Database& database, const RecordSource& records) {
  const std::string path = database.path();
  OwnReference own;
  own.Open(path);
  // The file stays open, and so nobody else gets in between, while the environment's reference goes: a write through
  // any reference flushes that one's file.
  database.Close();
  own.AddAll(records);
  // Not reached after a failure: what was added is then in memory only and goes with the process.
  own.Close(path);
}

}  // namespace xkrdb
