// See cut_disk.h.
#include "cut_disk.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace powercut {

namespace {

constexpr size_t kSectorBytes = 512;

size_t Below(std::mt19937_64& random, size_t limit) { return limit == 0 ? 0 : random() % limit; }

// Zeros behind everything else only make the file longer.
bool OnlyLengthens(const Content& content, const Operation& operation, size_t begin) {
  return operation.only_zeros && begin >= content.bytes.size();
}

void ApplyTo(Content& content, const Operation& operation) {
  const auto begin = static_cast<size_t>(operation.offset);
  if (operation.kind == Kind::kTruncate) {
    content.Resize(begin);
    return;
  }
  const size_t end = begin + operation.bytes.size();
  if (OnlyLengthens(content, operation, begin)) {
    content.size = std::max(content.size, end);
    return;
  }
  content.Extend(end);
  std::memcpy(content.bytes.data() + begin, operation.bytes.data(), operation.bytes.size());
}

void ApplyTo(std::map<std::string, int>& names, const Operation& operation) {
  switch (operation.kind) {
    case Kind::kCreate:
      names[operation.name] = operation.file;
      return;
    case Kind::kRename:
      names[operation.new_name] = operation.file;
      names.erase(operation.name);
      return;
    case Kind::kLink:
      names[operation.new_name] = operation.file;
      return;
    default:
      names.erase(operation.name);
  }
}

// Which sectors of a write reach the disk: each by chance, in eighths.
struct Scatter {
  unsigned kept_of_8;
  unsigned garbled_of_8;  // of those kept
};

void ApplySector(Content& content, const Operation& operation, size_t begin, size_t end, bool garbled,
                 std::mt19937_64& random) {
  if (!garbled && OnlyLengthens(content, operation, begin)) {
    content.size = std::max(content.size, end);
    return;
  }
  content.Extend(end);
  uint8_t* sector = content.bytes.data() + begin;
  if (garbled) {
    std::generate(sector, sector + (end - begin), [&random] { return static_cast<uint8_t>(random()); });
  } else {
    std::memcpy(sector, operation.bytes.data() + (begin - static_cast<size_t>(operation.offset)), end - begin);
  }
}

void ApplyScattered(Content& content, const Operation& operation, Scatter scatter, std::mt19937_64& random) {
  const auto first = static_cast<size_t>(operation.offset);
  const size_t end = first + operation.bytes.size();
  for (size_t begin = first; begin < end;) {
    const size_t sector_end = std::min(end, (begin / kSectorBytes + 1) * kSectorBytes);
    const uint64_t chance = random();
    if ((chance & 7) < scatter.kept_of_8) {
      ApplySector(content, operation, begin, sector_end, (chance >> 3 & 7) < scatter.garbled_of_8, random);
    }
    begin = sector_end;
  }
}

}  // namespace

void Content::Resize(size_t new_size) {
  bytes.resize(std::min(bytes.size(), new_size));
  size = new_size;
}

void Content::Extend(size_t end) {
  if (bytes.size() < end) bytes.resize(end);
  size = std::max(size, end);
}

void Content::DropZerosAtEnd() {
  const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](uint8_t byte) { return byte != 0; });
  bytes.resize(static_cast<size_t>(bytes.rend() - last));
}

CutDisk::CutDisk(const Image& start) {
  int number = 0;
  for (const auto& [name, content] : start) {
    files_[number].durable = content;
    durable_names_[name] = number++;
  }
}

void CutDisk::Apply(const Operation& operation) {
  switch (operation.kind) {
    case Kind::kSyncFile: {
      File& file = files_[operation.file];
      for (const Operation* pending : file.pending) ApplyTo(file.durable, *pending);
      file.pending.clear();
      return;
    }
    case Kind::kSyncDirectory:
      for (const Operation* pending : pending_names_) ApplyTo(durable_names_, *pending);
      pending_names_.clear();
      return;
    case Kind::kWrite:
    case Kind::kTruncate:
      files_[operation.file].pending.push_back(&operation);
      return;
    default:
      pending_names_.push_back(&operation);
  }
}

bool CutDisk::HasPending() const {
  return !pending_names_.empty() ||
         std::any_of(files_.begin(), files_.end(), [](const auto& file) { return !file.second.pending.empty(); });
}

Content CutDisk::ContentOf(const File& file, Fate fate, std::mt19937_64& random) {
  Content content = file.durable;
  const size_t count = file.pending.size();
  if (fate == Fate::kLost || count == 0) return content;
  if (fate == Fate::kKept || fate == Fate::kBegun) {
    const size_t whole = fate == Fate::kKept ? count : Below(random, count);
    for (size_t i = 0; i < whole; ++i) ApplyTo(content, *file.pending[i]);
    if (whole < count && file.pending[whole]->kind == Kind::kWrite)
      ApplyScattered(content, *file.pending[whole], {4, 0}, random);
    return content;
  }
  const Scatter scatter = {1 + static_cast<unsigned>(Below(random, 7)), fate == Fate::kGarbled ? 3u : 0u};
  size_t largest = content.size;
  for (const Operation* operation : file.pending) {
    if (operation->kind == Kind::kWrite) {
      ApplyScattered(content, *operation, scatter, random);
      largest = std::max(largest, static_cast<size_t>(operation->offset) + operation->bytes.size());
    } else if (Below(random, 2) == 0) {
      ApplyTo(content, *operation);
    }
  }
  if (Below(random, 4) == 0 && content.size < largest) content.Resize(largest);  // the size went ahead of the bytes
  return content;
}

CutDisk::Names CutDisk::NamesWith(Fate fate, std::mt19937_64& random) const {
  Names names = durable_names_;
  const size_t begun = Below(random, pending_names_.size() + 1);
  for (size_t i = 0; i < pending_names_.size(); ++i) {
    const bool kept = fate == Fate::kKept || (fate == Fate::kBegun && i < begun) ||
                      (fate >= Fate::kScattered && Below(random, 2) == 0);
    if (kept) ApplyTo(names, *pending_names_[i]);
  }
  return names;
}

Image CutDisk::With(Fate files, Fate directory, std::mt19937_64& random) const {
  Image image;
  for (const auto& [name, file] : NamesWith(directory, random)) {
    const auto found = files_.find(file);
    image[name] = found == files_.end() ? Content() : ContentOf(found->second, files, random);
  }
  return image;
}

Image CutDisk::Draw(std::mt19937_64& random) const {
  Image image;
  const auto draw_fate = [&random] { return kFates[Below(random, std::size(kFates))]; };
  for (const auto& [name, file] : NamesWith(draw_fate(), random)) {
    const auto found = files_.find(file);
    image[name] = found == files_.end() ? Content() : ContentOf(found->second, draw_fate(), random);
  }
  return image;
}

}  // namespace powercut
