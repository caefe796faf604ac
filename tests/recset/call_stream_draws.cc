// What the stream of calls draws by chance: fields, positions, texts of every type and searches for them.
//
// Texts are drawn so that they meet each other often: short ranges, few words, the same value written in several ways.
#include <iterator>

#include "call_stream.h"

namespace plain {
namespace {

const char16_t* const kWords[] = {u"oak",  u"Oak", u"oaken", u"elm",   u"ELM",  u"birch", u"north", u"north-west",
                                  u"gate", u"a",   u"zebra", u"Zebra", u"42nd", u"river", u"bank",  u"x9"};

// Only ordered and copied, never searched: the model's words are ASCII's.
const char16_t* const kLabels[] = {u"",       u"a",      u"A",    u"á",    u"Á",     u"ab",     u"b",
                                   u"e",      u"é",      u"f",    u"coop", u"co-op", u"CO-OP",  u"ß",
                                   u"ss",     u"Straße", u"日本", u"한국", u"ひ",    u"item 2", u"item 10",
                                   u"item_2", u" lead",  u"lead", u"𝒳",    u"ﬁn",    u"fin"};

const char16_t* const kNumbers[] = {u"",
                                    u"none",
                                    u"42",
                                    u"0042",
                                    u"Total: 42 units",
                                    u"42.9",
                                    u"4 2 0",
                                    u"-7",
                                    u"abc-12",
                                    u"1,234.56",
                                    u"1-2",
                                    u"--5",
                                    u"2147483647",
                                    u"2147483646",
                                    u"-2147483648",
                                    u"-2147483647",
                                    u"99999999999",
                                    u"0",
                                    u"-0",
                                    u".5",
                                    u"$ 19",
                                    u"420"};

const char16_t* const kDates[] = {u"",           u"   ",       u"soon",     u"2/29/2024",  u"2/29/2023",
                                  u"02/29/2024", u"4/31/2024", u"1/1/001",  u"12/31/3000", u"1/1/3001",
                                  u"0/0/0000",   u"1/2/",      u"7/4/1976", u"07/04/1976", u" 7/4/1976 "};

const char16_t* const kTimes[] = {u"",      u"  ",       u"late",    u"7:05 PM",  u"19:05",    u"19:05:00",
                                  u"12 AM", u"13 PM",    u"1:75",    u"2:15",     u"-1:30",    u"-1:30 PM",
                                  u"0:00",  u"23:59 h",  u"24:00 h", u"32766:59", u"32767:00", u"7:05pm",
                                  u"1:2:3", u"0:0:3723", u"9"};

}  // namespace

uint32_t CallStream::Draw(uint32_t below) { return choices_() % below; }

int16_t CallStream::DrawField() { return static_cast<int16_t>(Draw(static_cast<uint32_t>(database_.types().size()))); }

int16_t CallStream::DrawIndex() {
  const uint32_t count = static_cast<uint32_t>(model_.Contents().size());
  switch (Draw(12)) {
    case 0:
      return -1;
    case 1:
      return static_cast<int16_t>(count);
    case 2:
      return static_cast<int16_t>(count + Draw(1000));
    default:
      return static_cast<int16_t>(count == 0 ? 0 : Draw(count));
  }
}

Text CallStream::DrawText(uint8_t type) {
  const auto pick = [&](const auto& texts) { return Text(texts[Draw(static_cast<uint32_t>(std::size(texts)))]); };
  const auto digits = [&](uint32_t below) {
    const std::string number = std::to_string(Draw(below));
    return Text(number.begin(), number.end());
  };
  if (type == MDbFieldNumber) return Draw(2) == 0 ? pick(kNumbers) : digits(60);
  if (type == MDbFieldDate) {
    if (Draw(2) == 0) return pick(kDates);
    return digits(13) + u"/" + digits(32) + u"/" + (Draw(2) == 0 ? u"2024" : u"1999");
  }
  if (type == MDbFieldTime)
    return Draw(2) == 0 ? pick(kTimes) : digits(14) + u":" + digits(70) + (Draw(3) == 0 ? u" PM" : u"");
  if (Draw(8) == 0) return Text();
  Text text = pick(kWords);
  for (uint32_t more = Draw(3); more > 0; --more) text += u" " + pick(kWords);
  return text;
}

Text CallStream::DrawSearch(uint8_t type) {
  if (type == MDbFieldNumber || type == MDbFieldDate || type == MDbFieldTime) return DrawText(type);
  Text search = DrawText(type);
  if (search.size() > 2 && Draw(2) == 0) search.resize(search.size() - 1);
  return search;
}

Text CallStream::DrawLabel() { return kLabels[Draw(static_cast<uint32_t>(std::size(kLabels)))]; }

}  // namespace plain
