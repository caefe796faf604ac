// xkrdb repair: a new database of every record of a damaged one whose checksum holds. Nothing is written to the old one.
#include <fmt/format.h>

#include <algorithm>
#include <new>

#include "commands.h"
#include "database_formats.h"
#include "interruption.h"
#include "json_text.h"
#include "known_databases.h"
#include "open_failure.h"
#include "safe_text.h"
#include "terminal.h"
#include "utf_text.h"
#include "volume_findings.h"

namespace xkrdb {
namespace {

struct Saved {
  std::string database;
  uint32_t saved;
  uint32_t lost;
  uint32_t loose;
  bool described;
};

struct Report {
  std::vector<VolumeFinding> findings;
  std::vector<Saved> databases;
};

// Not zero once a signal was noted: nothing is written then.
int StopAfterSignal() {
  try {
    Interruption::Check();
  } catch (const Interrupted&) {
    return 1;
  }
  return 0;
}

int TakeFinding(void* context, const XKRVolumeFinding* finding) {
  static_cast<Report*>(context)->findings.push_back(InWords(*finding));
  return StopAfterSignal();
}

int TakeSaved(void* context, const XKRVolumeSaved* saved) {
  static_cast<Report*>(context)->databases.push_back(
      {SafeText(saved->database), saved->saved, saved->lost, saved->loose, saved->descriptionLost == 0});
  return StopAfterSignal();
}

std::string Counted(uint32_t count) { return fmt::format("{} record{}", count, count == 1 ? "" : "s"); }

std::string Sentence(const Saved& saved) {
  std::string text = fmt::format("{}: {} saved", saved.database, Counted(saved.saved));
  if (saved.lost != 0) text += fmt::format(", {} lost", saved.lost);
  if (!saved.described) text += ", perhaps more";
  if (saved.loose != 0) text += fmt::format("; {} found loose, perhaps older or deleted ones", saved.loose);
  return text;
}

std::string Line(const VolumeFinding& finding) {
  return fmt::format("{}: {}: {}", finding.damage ? "fault" : "note", finding.where, finding.what);
}

std::string AsText(const Report& report) {
  std::string text;
  for (const VolumeFinding& finding : report.findings) text += Line(finding) + "\n";
  for (const Saved& saved : report.databases) text += Sentence(saved) + "\n";
  return text;
}

std::string AsJson(const Report& report) {
  Json findings = Json::array();
  for (const VolumeFinding& finding : report.findings) {
    findings.push_back(
        Json{{"severity", finding.damage ? "fault" : "note"}, {"where", finding.where}, {"what", finding.what}});
  }
  Json databases = Json::array();
  for (const Saved& saved : report.databases) {
    databases.push_back(Json{{"database", saved.database},
                             {"saved", saved.saved},
                             {"lost", saved.lost},
                             {"loose", saved.loose},
                             {"described", saved.described}});
  }
  return JsonPage(Json{{"findings", findings}, {"databases", databases}}) + "\n";
}

std::string AsCsv(const Report& report) {
  std::vector<std::vector<std::string>> rows{{"database", "saved", "lost", "loose", "described"}};
  for (const Saved& saved : report.databases) {
    rows.push_back({saved.database, std::to_string(saved.saved), std::to_string(saved.lost),
                    std::to_string(saved.loose), saved.described ? "yes" : "no"});
  }
  return FormatCsvRows(rows, ',', OutputIsTerminal() ? Controls::kEscaped : Controls::kRaw);
}

void RequireMade(uint32_t result, const RepairOptions& options) {
  switch (result) {
    case XKRVolumeSound:
    case XKRVolumeDamaged:
      return;
    case XKRVolumeNone:
      throw ToolError(ExitCode::kNotDatabase,
                      fmt::format("{} is not a database of this library, or nothing is left of one: nothing is saved",
                                  options.database));
    case XKRVolumeMissing:
      throw FileExists(options.database) ? CreateFailure(options.target)
                                         : OpenFailure(options.database, MDbStatusCannotOpen);
    case XKRVolumeDenied:
    case XKRVolumeInUse:
      throw OpenFailure(options.database, MDbStatusCannotOpen);
    case XKRVolumeNoMemory:
      throw std::bad_alloc();
    case XKRVolumeStopped:
      Interruption::Check();
      [[fallthrough]];
    default:
      throw CreateFailure(options.target);
  }
}

}  // namespace

ExitCode RunRepair(const RepairOptions& options) {
  RequireDatabaseName(options.database);
  RequireDatabaseName(options.target);
  const std::u16string from = WidePath(options.database);
  const std::u16string to = WidePath(options.target);
  if (FileExists(options.target)) throw CreateFailure(options.target);
  MDbAttrs attrs{};
  attrs.dateFormat = DefaultDateFormat();
  attrs.timeFormat = DefaultTimeFormat();
  const auto known = KnownDatabases(ToWide(DatabaseTitle(options.target)).value_or(u""), attrs);
  Report report;
  const XKRVolumeRepairOptions how = {known.data(), static_cast<uint32_t>(known.size()), TakeFinding, TakeSaved,
                                      &report};
  uint32_t result = XKRVolumeFailed;
  {
    const Interruption interruption;
    result = XKRVolumeRepair(from.c_str(), to.c_str(), &how);
    RequireMade(result, options);
  }
  WriteOutput(options.output.json ? AsJson(report) : options.output.csv ? AsCsv(report) : AsText(report));
  uint32_t saved = 0;
  uint32_t lost = 0;
  for (const Saved& database : report.databases) {
    saved += database.saved;
    lost += database.lost;
  }
  if (options.output.csv) {
    for (const VolumeFinding& finding : report.findings) PrintMessage(Line(finding));
  }
  PrintMessage(fmt::format("{}: {} saved from {}{}", options.target, Counted(saved), options.database,
                           result == XKRVolumeSound ? std::string(", nothing lost")
                           : lost != 0              ? fmt::format(", {} lost", lost)
                                                    : std::string(", something may be lost")));
  return result == XKRVolumeSound ? ExitCode::kDone : ExitCode::kNothingFound;
}

}  // namespace xkrdb
