// All rows of one store, once, on fresh files in one folder.
#pragma once

#include <string>
#include <vector>

#include "measured_store.h"
#include "round_report.h"

namespace bench {

class Round {
 public:
  Round(Store& store, const std::vector<Record>& table, std::string folder);

  // The report's rows, in the order in which they are measured.
  void Run(RoundReport& report);

  // The file that the peak of memory is measured on, by a process of its own; there while Run says so.
  std::string MainPath() const { return folder_ + "/main"; }

 private:
  void Load(RoundReport& report);
  void MeasureMemory(RoundReport& report);
  void OpenAndReadFirst(RoundReport& report);
  void Read(RoundReport& report);
  void Query(RoundReport& report);
  void Sort(RoundReport& report);
  void EditAfterSort(RoundReport& report);
  double TimeEditAfterSort(size_t commits);
  void Edit(RoundReport& report);
  void Delete(RoundReport& report);
  void Add(RoundReport& report);
  void AddWithWordIndex(RoundReport& report);

  // Opens the file and reads everything once, so that the next call finds all in memory.
  void Reopen(const std::string& path);
  std::string DigestOfAll();
  std::string DigestOfHits();
  std::string DigestOfSorted();
  void TimeQuery(RoundReport& report, const std::string& row, void (Round::*find)());
  void FindNumber();
  void FindWord();
  Place TakePlace(size_t position);

  Store& store_;
  const std::vector<Record>& table_;
  std::string folder_;
  Copies copies_;
  Views views_;
  std::vector<uint32_t> living_;  // identifiers by position
  Text wanted_number_;
  Text wanted_word_;
};

}  // namespace bench
