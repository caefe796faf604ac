// See table_data.h.
#include "table_data.h"

#include <fmt/format.h>
#include <unicode/unistr.h>

#include <numeric>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

constexpr std::array<std::string_view, 24> kFirstNames = {
    "Anna",  "Bernd",  "Carla", "Dmitri", "Edith", "Farid", "Gwen",    "Hugo", "Irene", "Jack",  "Karim",  "Leona",
    "Marie", "Nadine", "Oscar", "Paula",  "Quinn", "Rosa",  "Stephen", "Tess", "Ulla",  "Viola", "Walter", "Yvonne"};
constexpr std::array<std::string_view, 24> kLastNames = {
    "Abbott", "Becker",       "Cohen",  "Diaz",    "Eriksen", "Fischer",    "Garcia", "Hansen",
    "Ivanov", "Jones",        "Keller", "MacLeod", "Nguyen",  "Okafor",     "Peters", "Quist",
    "Rossi",  "van der Berg", "Smith",  "Tanaka",  "Ueda",    "de la Cruz", "Weaver", "Young"};
constexpr std::array<std::string_view, 10> kForeignNames = {"\u00c5sa \u00c5ngstr\u00f6m",
                                                            "\u00c9mile Zol\u00e0",
                                                            "J\u00fcrgen M\u00fcller",
                                                            "\u0141ukasz W\u00f3jcik",
                                                            "\u017dofie Nov\u00e1kov\u00e1",
                                                            "I\u00f1igo N\u00fa\u00f1ez",
                                                            "\u00d8ystein S\u00f8rlie",
                                                            "\u0395\u03bb\u03ad\u03bd\u03b7 Papas",
                                                            "\u5c71\u7530 Hana",
                                                            "Zo\u00eb Cr\u00e8vec\u0153ur"};
constexpr std::array<std::string_view, 12> kCities = {"Amsterdam", "Berlin",   "Cairo",  "Dublin",
                                                      "Edinburgh", "Florence", "Geneva", "Hanoi",
                                                      "Lisbon",    "Nairobi",  "Porto",  "Seoul"};
constexpr std::array<std::string_view, 8> kCategories = {"customer", "supplier", "friend",  "family",
                                                         "press",    "member",   "partner", "former customer"};
constexpr std::array<std::string_view, 60> kWords = {
    "about",   "after",  "again",     "agreed",  "and",     "answer",   "arrived",  "asked",   "before",    "between",
    "brought", "called", "careful",   "changed", "copy",    "delivery", "details",  "early",   "everybody", "expected",
    "first",   "from",   "garden",    "given",   "half",    "have",     "however",  "invoice", "kept",      "later",
    "letter",  "likely", "meeting",   "minutes", "morning", "never",    "notice",   "number",  "office",    "order",
    "other",   "paper",  "payment",   "people",  "please",  "promise",  "question", "ready",   "report",    "returned",
    "second",  "seldom", "something", "station", "summer",  "the",      "to",       "until",   "visit",     "with"};

template <typename Items>
std::string_view Pick(Sequence& sequence, const Items& items) {
  return items[sequence.Below(items.size())];
}

std::string MakeName(Sequence& sequence) {
  constexpr size_t kForeignOneIn = 20;
  if (sequence.Below(kForeignOneIn) == 0) return std::string(Pick(sequence, kForeignNames));
  std::string name = fmt::format("{} {}", Pick(sequence, kFirstNames), Pick(sequence, kLastNames));
  const size_t spelling = sequence.Below(16);
  for (char& letter : name) {
    if (spelling == 0 && letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    if (spelling == 1 && letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return name;
}

std::string MakeNumber(Sequence& sequence, int32_t* value) {
  const bool small = sequence.Below(5) == 0;
  const int64_t reach = small ? 15 : 400000;
  *value = static_cast<int32_t>(static_cast<int64_t>(sequence.Below(static_cast<size_t>(2 * reach + 1))) - reach);
  if (sequence.Below(3) != 0) return fmt::format("{}", *value);
  return fmt::format("{}.{:02}", *value, sequence.Below(100));
}

std::string MakeDate(Sequence& sequence, int32_t* day_number) {
  const size_t year = 1950 + sequence.Below(75);
  const size_t month = 1 + sequence.Below(12);
  const size_t day = 1 + sequence.Below(28);
  *day_number = static_cast<int32_t>((year * 12 + month - 1) * 31 + day - 1);
  return fmt::format("{:04}-{:02}-{:02}", year, month, day);
}

// Sentences that come to about size bytes.
std::string MakeNotes(Sequence& sequence, size_t size, size_t index) {
  constexpr size_t kWantedOneIn = 37;
  std::string notes;
  size_t words_left = 0;
  bool wanted = index % kWantedOneIn == 5;
  while (notes.size() < size) {
    const bool begins = words_left == 0;
    if (begins) {
      if (!notes.empty()) notes += '.';
      words_left = 6 + sequence.Below(9);
    }
    if (!notes.empty()) notes += ' ';
    std::string word(Pick(sequence, kWords));
    if (wanted && notes.size() > size / 2) {
      word = kWantedWord;
      wanted = false;
    }
    if (begins) word[0] = static_cast<char>(word[0] - 'a' + 'A');
    notes += word;
    --words_left;
  }
  return notes + '.';
}

size_t BytesOf(const Record& record) {
  size_t bytes = 0;
  for (const Text& text : record.texts) bytes += text.bytes.size();
  return bytes;
}

Record MakeRecord(Sequence& sequence, size_t index, size_t bytes_before) {
  Record record;
  record.texts[kName] = MakeText(MakeName(sequence));
  record.texts[kCity] = MakeText(std::string(Pick(sequence, kCities)));
  record.texts[kNumber] = MakeText(MakeNumber(sequence, &record.number));
  record.texts[kDate] = MakeText(MakeDate(sequence, &record.day));
  record.texts[kTime] = MakeText(fmt::format("{:02}:{:02}", sequence.Below(24), sequence.Below(60)));
  record.texts[kCategory] = MakeText(std::string(Pick(sequence, kCategories)));
  record.texts[kCode] = MakeText(fmt::format("XK-{:06}", index + 1));
  // The notes make up for what the records before came out too long or too short, so that the average holds.
  constexpr size_t kSpread = 241;
  const size_t goal = kAverageBytes * (index + 1) - bytes_before - BytesOf(record);
  record.texts[kNotes] = MakeText(MakeNotes(sequence, goal + sequence.Below(kSpread) - kSpread / 2 - 5, index));
  return record;
}

}  // namespace

uint64_t Sequence::Next() {
  state_ += 0x9E3779B97F4A7C15u;
  uint64_t mixed = state_;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
  return mixed ^ (mixed >> 31);
}

Text MakeText(std::string bytes) {
  Text text;
  const icu::UnicodeString wide = icu::UnicodeString::fromUTF8(bytes);
  text.wide.assign(wide.getBuffer(), static_cast<size_t>(wide.length()));
  text.bytes = std::move(bytes);
  return text;
}

std::vector<Record> MakeTable(size_t count) {
  Sequence sequence(1);
  std::vector<Record> table;
  table.reserve(count);
  size_t bytes = 0;
  for (size_t i = 0; i < count; ++i) {
    table.push_back(MakeRecord(sequence, i, bytes));
    bytes += BytesOf(table.back());
  }
  constexpr size_t kEnoughForAnAverage = 200;
  if (count >= kEnoughForAnAverage && (bytes + count / 2) / count != kAverageBytes) {
    throw std::logic_error(fmt::format("the records have {} bytes on average", bytes / count));
  }
  return table;
}

std::vector<uint32_t> ShuffledPositions(size_t count) {
  Sequence sequence(2);
  std::vector<uint32_t> positions(count);
  std::iota(positions.begin(), positions.end(), 0u);
  for (size_t i = count; i > 1; --i) std::swap(positions[i - 1], positions[sequence.Below(i)]);
  return positions;
}

}  // namespace bench
