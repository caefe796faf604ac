// A seeded stream of calls on one database file, each made against the engine and against the plain model, and
// compared. The same seed gives the same stream on every machine.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <random>
#include <string>

#include "mdb.h"
#include "plain_model.h"

namespace plain {

class CallStream {
 public:
  // Every choice of a stream is one of these numbers, taken modulo how much there is to choose from.
  using Choices = std::function<uint32_t()>;

  // A database at path is made anew. shared is an environment that is initialised already and outlives the stream;
  // without one the stream has its own.
  CallStream(std::u16string path, uint32_t seed, MDbEnv* shared = nullptr)
      : CallStream(std::move(path), std::mt19937(seed), shared) {}
  CallStream(std::u16string path, Choices choices, MDbEnv* shared = nullptr);
  ~CallStream();
  CallStream(const CallStream&) = delete;
  CallStream& operator=(const CallStream&) = delete;

  // Makes so many calls; stops at the first difference, which fails the test that runs.
  void Run(int steps);

 private:
  void CreateDatabase();
  void Step();
  void StepWithRecordSet();
  void StepOfHost();

  // One kind of call each.
  void HostAdds();
  void Queries();
  void Sorts();
  void Destroys();
  void AddsNew();
  void Duplicates();
  void Edits();
  void DeletesOne();
  void DeletesAll();
  void MovesCursor();
  void Reopens();
  void OtherRecordSetDeletes();
  void OtherRecordSetWantsView();
  void CallsInvalid();
  void DeletesWithRecordOpen();

  // Comparisons.
  void CompareOutside();
  void CompareContents();
  void CompareOpenRecord(const Record& expected);
  void CompareLog();
  void CompareRecord(MDbDataRec& record, const Record& expected);

  uint32_t Draw(uint32_t below);
  int16_t DrawField();
  int16_t DrawIndex();
  Text DrawText(uint8_t type);
  Text DrawSearch(uint8_t type);
  Text DrawLabel();
  // A text for a field, by its type; the label field takes any script.
  Text DrawFieldText(int16_t field);
  void Open();
  void Close();

  std::u16string path_;
  Choices choices_;
  MDbEnv own_env_;
  MDbEnv& env_;
  MDbRecset recset_;
  Database database_;
  RecordSet model_;
  std::list<Text> criteria_texts_;  // stay alive as long as the record set may be sorted
  uint32_t host_info_ = 0;
};

}  // namespace plain
