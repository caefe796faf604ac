// Writes the table of character_width.cc. Built and run on the machine that builds, for whatever system.
#include <wchar.h>

#include <clocale>
#include <cstdio>

namespace {

constexpr unsigned kEnd = 0x110000;

unsigned WidthOf(unsigned character) {
  const int width = wcwidth(static_cast<wchar_t>(character));
  return width < 0 ? 1 : static_cast<unsigned>(width);
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 || std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) return 1;
  std::FILE* const file = std::fopen(arguments[1], "w");
  if (file == nullptr) return 1;
  std::fputs("constexpr WidthRun kWidthRuns[] = {\n", file);
  for (unsigned first = 0; first < kEnd;) {
    unsigned end = first + 1;
    while (end < kEnd && WidthOf(end) == WidthOf(first)) ++end;
    if (WidthOf(first) != 1) std::fprintf(file, "{%u,%u,%u},\n", first, end - 1, WidthOf(first));
    first = end;
  }
  std::fputs("};\n", file);
  return std::fclose(file) == 0 ? 0 : 1;
}
