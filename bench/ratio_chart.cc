// See ratio_chart.h. A bar to the left of the line: XKRDB takes less time. A thin line through a bar's end spans the
// quartiles of all rounds. Colours follow the reader's light or dark scheme; nothing is painted behind them.
#include "ratio_chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "rows.h"

namespace bench {
namespace {

constexpr double kWidth = 860;
constexpr double kLeft = 270;   // where the scale begins
constexpr double kRight = 740;  // and ends; figures stand behind it
constexpr double kTop = 64;
constexpr double kRowHeight = 22;
constexpr double kBarHeight = 12;

constexpr const char* kStyle =
    "<style>"
    "text{font:13px system-ui,sans-serif;fill:#1f2328}"
    ".title{font-size:15px;font-weight:600}.note{font-size:11px;fill:#59636e}"
    ".grid{stroke:#d1d9e0;stroke-width:1}.one{stroke:#1f2328;stroke-width:1.5}.spread{stroke:#1f2328;stroke-width:1}"
    ".less{fill:#2da44e}.more{fill:#d4722b}"
    "@media(prefers-color-scheme:dark){text{fill:#f0f6fc}.note{fill:#9198a1}.grid{stroke:#3d444d}"
    ".one,.spread{stroke:#f0f6fc}.less{fill:#3fb950}.more{fill:#e0873e}}"
    "</style>\n";

struct Bar {
  std::string title;
  Spread ratio;
};

// Powers of ten on both sides of all that is shown.
class Scale {
 public:
  explicit Scale(const std::vector<Bar>& bars) {
    for (const Bar& bar : bars) {
      lowest_ = std::min(lowest_, std::floor(std::log10(bar.ratio.lower_quartile)));
      highest_ = std::max(highest_, std::ceil(std::log10(bar.ratio.upper_quartile)));
    }
  }
  double X(double ratio) const {
    return kLeft + (std::log10(ratio) - lowest_) / (highest_ - lowest_) * (kRight - kLeft);
  }
  int lowest() const { return static_cast<int>(lowest_); }
  int highest() const { return static_cast<int>(highest_); }

 private:
  double lowest_ = -1;
  double highest_ = 1;
};

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == '&') {
      escaped += "&amp;";
    } else if (letter == '<') {
      escaped += "&lt;";
    } else if (letter == '>') {
      escaped += "&gt;";
    } else {
      escaped += letter;
    }
  }
  return escaped;
}

std::string TextAt(double x, double y, const char* kind, const char* anchor, const std::string& text) {
  return fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" class=\"{}\" text-anchor=\"{}\">{}</text>\n", x, y, kind, anchor,
                     Escaped(text));
}

std::string Line(double x1, double y1, double x2, double y2, const char* kind) {
  return fmt::format("<line x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\" class=\"{}\"/>\n", x1, y1, x2, y2,
                     kind);
}

std::string Grid(const Scale& scale, double bottom) {
  std::string grid;
  for (int power = scale.lowest(); power <= scale.highest(); ++power) {
    const double ratio = std::pow(10, power);
    const double x = scale.X(ratio);
    grid += Line(x, kTop - 4, x, bottom, power == 0 ? "one" : "grid");
    grid += TextAt(x, kTop - 10, "note", "middle", fmt::format("{:g}", ratio));
  }
  return grid;
}

std::string DrawBar(const Scale& scale, const Bar& bar, double y) {
  const double one = scale.X(1);
  const double end = scale.X(bar.ratio.median);
  const double middle = y + kBarHeight / 2;
  std::string drawn = TextAt(kLeft - 12, middle + 4.5, "row", "end", bar.title);
  drawn += fmt::format("<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" rx=\"2\" class=\"{}\"/>\n",
                       std::min(one, end), y, std::abs(end - one), kBarHeight, bar.ratio.median <= 1 ? "less" : "more");
  drawn += Line(scale.X(bar.ratio.lower_quartile), middle, scale.X(bar.ratio.upper_quartile), middle, "spread");
  return drawn + TextAt(kWidth - 30, middle + 4.5, "row", "end", fmt::format("{:.2f}", bar.ratio.median));
}

std::vector<Bar> Bars(const Comparison& comparison) {
  std::vector<Bar> bars;
  for (size_t i = 0; i < kRows.size(); ++i) {
    const std::optional<Spread> ratio = RatioToSqlite(comparison.full, i);
    if (ratio) bars.push_back({kRows[i].title, *ratio});
  }
  return bars;
}

}  // namespace

std::string ChartOf(const Comparison& comparison) {
  const std::vector<Bar> bars = Bars(comparison);
  const Scale scale(bars);
  const double bottom = kTop + kRowHeight * static_cast<double>(bars.size());
  const double height = bottom + 34;
  std::string chart = fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" viewBox=\"0 0 {0:.0f} {1:.0f}\" "
      "role=\"img\" aria-label=\"Time of XKRDB through time of SQLite\">\n",
      kWidth, height);
  chart += kStyle;
  chart += TextAt(12, 24, "title", "start", "Time of XKRDB / time of SQLite: below 1, XKRDB takes less");
  chart += Grid(scale, bottom);
  double y = kTop + (kRowHeight - kBarHeight) / 2;
  for (const Bar& bar : bars) {
    chart += DrawBar(scale, bar, y);
    y += kRowHeight;
  }
  chart += TextAt(12, height - 10, "note", "start",
                  fmt::format("{} records, medians of {} rounds, quartiles as thin lines; {}", comparison.records,
                              comparison.rounds, comparison.machine.at(0).second));
  return chart + "</svg>\n";
}

}  // namespace bench
