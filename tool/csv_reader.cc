// CSV through libcsv, fed line by line so that every row knows where it begins. The parser is strict; after a row that
// breaks its rules it starts afresh at the next line, since where such a row ends cannot be known.
#include "csv_reader.h"

#include <csv.h>
#include <fmt/format.h>

#include <cstring>
#include <new>
#include <optional>
#include <string_view>

#include "input_file.h"
#include "mdb.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

constexpr size_t kMostRowsKept = MDB_MAX_RECORDS + 1;  // one more than fits: enough to say that it is too many
// What no file of values has that fits a database, and what a device or a picture named by mistake soon has. Whoever reads
// on would run out of memory instead of saying what is wrong.
constexpr size_t kMostRowBytes = 2 << 20;  // twice the largest record, each character written as two
constexpr size_t kMostLines = 100'000;
constexpr size_t kMostProblems = 10'000;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The parser with its callbacks, and the row that is being put together.
class Reader {
 public:
  explicit Reader(const CsvReadOptions& options) : options_(options) {
    table_.header = options.header;
    Start();
  }
  ~Reader() { csv_free(&parser_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // One line with its terminator; the last one may have none.
  void Line(std::string_view text);
  CsvTable Finish();
  size_t row_count() const { return table_.row_count; }

  // Throws when the row being read, with so many bytes of its next line, or the file is too long. False when there are
  // so many problems that more would not help, or none could be found without a header.
  bool GoOn(const std::string& file, size_t next_line_bytes);

 private:
  void Start();
  void Field(std::string_view bytes);
  void EndRow();
  void TakeRow();
  std::string ColumnName(size_t column) const;
  void Problem(size_t line, std::string what) { table_.problems.push_back({line, std::move(what)}); }
  bool HasHeader() const { return table_.header_line > 0 || !options_.header.empty(); }

  static void OnField(void* bytes, size_t size, void* self) {
    static_cast<Reader*>(self)->Field({static_cast<const char*>(bytes), size});
  }
  static void OnRow(int, void* self) { static_cast<Reader*>(self)->EndRow(); }

  const CsvReadOptions& options_;
  csv_parser parser_{};
  CsvTable table_;
  CsvRow row_;
  std::vector<std::string> row_problems_;
  size_t line_ = 0;             // the line being fed
  size_t row_bytes_ = 0;        // of the row so far
  size_t field_line_ = 0;       // where the field being read begins
  bool row_open_ = false;       // the last line ended inside a row
  bool header_broken_ = false;  // without the header no row can be judged
};

void Reader::Start() {
  if (csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI | CSV_REPALL_NL) != 0) throw std::bad_alloc();
  csv_set_delim(&parser_, static_cast<unsigned char>(options_.delimiter));
  csv_set_space_func(&parser_, [](unsigned char) { return 0; });  // a blank is a character like any other
}

std::string Reader::ColumnName(size_t column) const {
  if (!HasHeader() || column >= table_.header.size()) return fmt::format("column {}", column + 1);
  return fmt::format("column {}", Quoted(table_.header[column]));
}

void Reader::Field(std::string_view bytes) {
  const size_t column = row_.values.size();
  const std::optional<size_t> bad = FirstBadByte(bytes);
  if (bad) {
    row_problems_.push_back(fmt::format("{}: not UTF-8 (byte {:02X} at position {} of the value)", ColumnName(column),
                                        static_cast<uint8_t>(bytes[*bad]), *bad + 1));
  } else if (bytes.find('\0') != std::string_view::npos) {
    row_problems_.push_back(fmt::format("{}: the value holds a zero character", ColumnName(column)));
  }
  row_.values.push_back(ToWide(bytes).value_or(std::u16string()));
  field_line_ = line_;
}

void Reader::EndRow() {
  row_open_ = false;
  if (row_.values.empty()) return;  // a blank line, or the second half of a line end of two characters
  TakeRow();
  row_.values.clear();
  row_problems_.clear();
}

void Reader::TakeRow() {
  if (!HasHeader()) {
    table_.header = row_.values;
    table_.header_line = row_.line;
    for (std::string& what : row_problems_) Problem(row_.line, std::move(what));
    return;
  }
  ++table_.row_count;
  if (row_.values.size() != table_.header.size()) {
    row_problems_.push_back(fmt::format("{} value{}, but the header has {}", row_.values.size(),
                                        row_.values.size() == 1 ? "" : "s", table_.header.size()));
  }
  if (row_problems_.empty() && table_.rows.size() < kMostRowsKept) table_.rows.push_back(row_);
  for (std::string& what : row_problems_) Problem(row_.line, std::move(what));
}

void Reader::Line(std::string_view text) {
  ++line_;
  if (header_broken_) return;
  if (!row_open_) {
    row_.line = field_line_ = line_;
    row_bytes_ = 0;
  }
  row_bytes_ += text.size();
  const bool blank = !row_open_ && text.find_first_not_of("\r\n") == std::string_view::npos;
  if (blank) {
    ++table_.blank_lines;
    return;
  }
  row_open_ = true;
  if (csv_parse(&parser_, text.data(), text.size(), OnField, OnRow, this) == text.size()) return;
  if (csv_error(&parser_) != CSV_EPARSE) throw std::bad_alloc();
  // The parser keeps its place inside the row it refused; there is no telling where that row was meant to end.
  const bool same_line = row_.line == line_;
  Problem(row_.line,
          fmt::format("a quote where none may stand{}: put quotes around the whole value and write each quote "
                      "inside it twice; the rest of the line was not read",
                      same_line ? std::string() : fmt::format(" (in line {})", line_)));
  if (HasHeader()) ++table_.row_count;
  header_broken_ = !HasHeader();
  csv_free(&parser_);
  Start();
  row_.values.clear();
  row_problems_.clear();
  row_open_ = false;
}

bool Reader::GoOn(const std::string& file, size_t next_line_bytes) {
  const size_t row_bytes = next_line_bytes + (row_open_ ? row_bytes_ : 0);
  if (row_bytes > kMostRowBytes) {
    throw ToolError(
        ExitCode::kBadInput,
        fmt::format("{}:{}: a row of more than {} bytes begins here; perhaps a quote in it is never closed, "
                    "or this is no CSV file",
                    file, row_open_ ? row_.line : line_ + 1, kMostRowBytes));
  }
  if (line_ > kMostLines) {
    throw ToolError(ExitCode::kBadInput, fmt::format("{} has more than {} lines; a database holds at most {} records",
                                                     file, kMostLines, +MDB_MAX_RECORDS));
  }
  if (header_broken_) return false;
  if (table_.problems.size() < kMostProblems) return true;
  Problem(line_, fmt::format("the file was not read beyond this line: there were {} problems", table_.problems.size()));
  return false;
}

CsvTable Reader::Finish() {
  if (csv_fini(&parser_, OnField, OnRow, this) != 0) {
    if (csv_error(&parser_) != CSV_EPARSE) throw std::bad_alloc();
    Problem(field_line_, "a quote is opened here and never closed");
    ++table_.row_count;
  }
  return std::move(table_);
}

// Feeds a file to the reader in lines. A line end is LF, CR LF or CR.
class LineFeeder {
 public:
  explicit LineFeeder(Reader& reader) : reader_(reader) {}

  void Add(std::string_view bytes) {
    pending_ += bytes;
    if (!begun_ && pending_.size() < kUtf8Mark.size()) return;
    Begin();
    FeedLines();
  }

  size_t pending_bytes() const { return pending_.size(); }

  void Finish() {
    Begin();
    FeedLines();
    if (!pending_.empty()) reader_.Line(pending_);
  }

 private:
  void Begin() {
    if (begun_) return;
    begun_ = true;
    if (pending_.starts_with("\xFF\xFE") || pending_.starts_with("\xFE\xFF")) {
      throw ToolError(ExitCode::kBadInput, "the file is UTF-16; save it as UTF-8");
    }
    if (pending_.starts_with(kUtf8Mark)) pending_.erase(0, kUtf8Mark.size());
  }

  // The last byte is kept back: a CR may have its LF in the next block.
  void FeedLines() {
    size_t start = 0;
    for (size_t end = pending_.find_first_of("\r\n", searched_); end != std::string::npos && end + 1 < pending_.size();
         end = pending_.find_first_of("\r\n", start)) {
      const size_t size = pending_[end] == '\r' && pending_[end + 1] == '\n' ? 2 : 1;
      reader_.Line(std::string_view(pending_).substr(start, end + size - start));
      start = end + size;
    }
    pending_.erase(0, start);
    searched_ = pending_.empty() ? 0 : pending_.size() - 1;
  }

  Reader& reader_;
  std::string pending_;
  size_t searched_ = 0;
  bool begun_ = false;
};

}  // namespace

std::string CsvName(const std::string& path) { return path == "-" ? "standard input" : path; }

CsvTable ReadCsvBlocks(const std::string& name, const CsvBlocks& next_block, const CsvReadOptions& options) {
  Reader reader(options);
  LineFeeder feeder(reader);
  for (std::string_view block; !(block = next_block(reader.row_count())).empty();) {
    feeder.Add(block);
    if (!reader.GoOn(name, feeder.pending_bytes())) return reader.Finish();
  }
  feeder.Finish();
  return reader.Finish();
}

CsvTable ReadCsv(const std::string& path, const CsvReadOptions& options) {
  InputFile file(path, CsvName(path));
  Progress progress(fmt::format("reading {}, rows", SafeText(CsvName(path))), 0);
  std::vector<char> block(1 << 16);
  const auto next_block = [&](size_t rows) {
    progress.Update(rows);
    return std::string_view(block.data(), file.Read(block.data(), block.size()));
  };
  return ReadCsvBlocks(CsvName(path), next_block, options);
}

}  // namespace xkrdb
