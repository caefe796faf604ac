// What the model of the record sets believes a text is worth: numbers, dates and times by value, words for searching,
// and the order of texts. Written without a line of the engine, from simpler means: the standard calendar, whole texts
// read from front to back, the collator itself. It covers the texts that the stream of calls uses and no more.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plain {

using Text = std::u16string;

// No value: no digit, or the value reaches a limit of 32 bits.
std::optional<int32_t> NumberValue(const Text& text);

// Days; the database reads month/day/year. Only month/day/year with a year of three or more digits has a value.
std::optional<int32_t> DateValue(const Text& text);

// Seconds; hours, or hours:minutes, or hours:minutes:seconds, with a sign or one of the suffixes AM, PM and H.
std::optional<int32_t> TimeValue(const Text& text);

// The value of a text in a field of a type; none for types without values.
std::optional<int32_t> ValueOf(uint8_t type, const Text& text);

// Every word of the search begins a word of the text; ASCII only.
bool WordsMatch(const Text& search, const Text& text);

// Negative, 0 or positive, as the collator's root order has it.
int CompareText(const Text& a, const Text& b);

}  // namespace plain
