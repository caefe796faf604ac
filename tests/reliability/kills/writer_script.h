// The stream of calls that a writer makes on one file: the same seed on the same file gives the same calls, in the
// process that is killed and in the one that judges.
//
// (W1) Every exported call that could change the file is announced before it is made and after it has returned; the
//      calls are numbered from 0.
// (W2) Each succeeds: anything else is a broken promise.
// (W3) The plain model, if there is one, is changed between a call's return and its announcement.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "mdb.h"
#include "plain_model.h"

namespace kills {

class CallObserver {
 public:
  virtual ~CallObserver() = default;
  virtual void Begins(uint32_t call, const char* name) = 0;
  virtual void Returned(uint32_t call) = 0;
};

class WriterScript {
 public:
  // The fields of the files that scripts make.
  static const std::vector<uint8_t>& FieldTypes();

  WriterScript(std::u16string path, uint32_t seed, CallObserver& observer, plain::Database* model);
  // Leaves nothing mounted, wherever the script was left.
  ~WriterScript();
  WriterScript(const WriterScript&) = delete;
  WriterScript& operator=(const WriterScript&) = delete;

  // Makes the file first, when it does not exist. Does not return: the observer ends it, or a signal does.
  [[noreturn]] void Run(bool make_file);

 private:
  template <typename Act, typename Apply>
  void Make(const char* name, Act act, Apply apply);
  template <typename Act>
  void Make(const char* name, Act act);

  void MakeFile();
  void Open();
  void CloseAndComeBack();
  void BulkLoad();
  void Step();
  void StepWithRecordSet();
  void AddOne();
  void Query();
  void SortSometimes();
  void Edit();
  void AddNew();
  void Duplicate();
  void DeleteOne();
  void DeleteAll();
  void ChangeSetting();
  void DestroyRecordSet();

  uint32_t Draw(uint32_t below);
  std::u16string DrawName();
  std::u16string DrawField(size_t field);
  std::vector<std::u16string> DrawFields();
  // The number of records in the record set, which the model must agree with.
  int16_t Count();
  int16_t DrawIndex(int16_t count);

  std::u16string path_;
  std::mt19937 random_;
  CallObserver& observer_;
  plain::Database* model_;
  plain::Database no_model_;
  plain::RecordSet set_model_;
  uint32_t calls_ = 0;
  uint32_t infos_ = 0;
  MDbEnv env_;
  MDbRecset recset_;
  std::u16string criteria_;  // stays alive as long as the record set may be sorted
  MDbRef own_ref_;
  MDbDataTbl own_table_;
};

}  // namespace kills
