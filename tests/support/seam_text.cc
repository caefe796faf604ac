// How the platform seam writes a call down, and the names that it gives to volumes, handles and heap blocks.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

#include "seam_state.h"

namespace seam {
namespace {

using GuidKey = std::vector<DWORD>;

struct Mounted {
  size_t number = 0;
  size_t references = 0;
};

struct Opened {
  std::string name;
  GuidKey volume;
};

struct Names {
  std::map<GuidKey, Mounted> volumes;
  std::map<uint64_t, Opened> handles;
  std::map<std::pair<GuidKey, CEOID>, std::string> databases;
  std::map<const void*, size_t> blocks;
};

Names& AllNames() {
  static Names names;
  return names;
}

uint64_t Key(HANDLE handle, HandleKind kind) { return static_cast<uint64_t>(kind) << 32 | handle; }

GuidKey Key(const CEGUID& guid) { return {guid.Data1, guid.Data2, guid.Data3, guid.Data4}; }

std::string NumberText(uint64_t value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 0x10000 ? "%llu" : "0x%llX", static_cast<unsigned long long>(value));
  return text;
}

std::string Quoted(const WCHAR* text) {
  if (text == nullptr) return "null";
  return "\"" + ToUtf8(std::u16string_view(text)) + "\"";
}

std::string BytesText(const std::vector<uint8_t>& bytes) {
  std::string text = "{";
  for (const uint8_t byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02X", byte);
    if (text.size() > 1) text += ' ';
    text += digits;
  }
  return text + "}";
}

Property Copied(const CEPROPVAL& value) {
  Property copy;
  copy.id = value.propid;
  copy.flags = value.wFlags;
  switch (value.propid & 0xFFFF) {
    case CEVT_I2:
      copy.number = static_cast<uint64_t>(int64_t{value.val.iVal});
      break;
    case CEVT_I4:
      copy.number = static_cast<uint64_t>(int64_t{value.val.lVal});
      break;
    case CEVT_BOOL:
      copy.number = static_cast<uint64_t>(int64_t{value.val.boolVal});
      break;
    case CEVT_UI2:
      copy.number = value.val.uiVal;
      break;
    case CEVT_UI4:
      copy.number = value.val.ulVal;
      break;
    case CEVT_LPWSTR:
      if (value.val.lpwstr != nullptr) copy.text = value.val.lpwstr;
      break;
    case CEVT_BLOB:
      if (value.val.blob.lpb != nullptr) {
        copy.bytes.assign(value.val.blob.lpb, value.val.blob.lpb + value.val.blob.dwCount);
      }
      break;
    default:
      break;
  }
  return copy;
}

std::string PropertyText(const Property& property) {
  std::string text = NumberText(property.id) + "=";
  if (property.flags & CEDB_PROPDELETE) return text + "deleted";
  switch (property.id & 0xFFFF) {
    case CEVT_I2:
    case CEVT_I4:
    case CEVT_BOOL:
      return text + std::to_string(static_cast<int64_t>(property.number));
    case CEVT_LPWSTR:
      return text + "\"" + ToUtf8(property.text) + "\"";
    case CEVT_BLOB:
      return text + BytesText(property.bytes);
    default:
      return text + NumberText(property.number);
  }
}

bool Taken(const std::string& name) {
  const auto& handles = AllNames().handles;
  return std::any_of(handles.begin(), handles.end(), [&](const auto& entry) { return entry.second.name == name; });
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  std::string bytes;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = text[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
    }
    const auto put = [&bytes](uint32_t byte) { bytes += static_cast<char>(byte); };
    if (c < 0x80) {
      put(c);
    } else if (c < 0x800) {
      put(0xC0 | c >> 6), put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      put(0xE0 | c >> 12), put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
    } else {
      put(0xF0 | c >> 18), put(0x80 | (c >> 12 & 0x3F)), put(0x80 | (c >> 6 & 0x3F)), put(0x80 | (c & 0x3F));
    }
  }
  return bytes;
}

// ---- names

void NoteMounted(const CEGUID& guid) {
  auto& volumes = AllNames().volumes;
  if (volumes.contains(Key(guid))) {
    ++volumes[Key(guid)].references;
    return;
  }
  size_t number = 1;
  const auto taken = [&volumes](size_t n) {
    return std::any_of(volumes.begin(), volumes.end(), [n](const auto& entry) { return entry.second.number == n; });
  };
  while (taken(number)) ++number;
  volumes[Key(guid)] = {number, 1};
}

void NoteUnmounted(const CEGUID& guid) {
  Names& names = AllNames();
  const auto volume = names.volumes.find(Key(guid));
  if (volume == names.volumes.end() || --volume->second.references > 0) return;
  // The platform closes what was left open in a volume that is gone.
  std::erase_if(names.handles, [&](const auto& entry) { return entry.second.volume == volume->first; });
  std::erase_if(names.databases, [&](const auto& entry) { return entry.first.first == volume->first; });
  names.volumes.erase(volume);
}

void NoteDatabaseOpened(HANDLE handle, const CEGUID& guid, CEOID oid) {
  Names& names = AllNames();
  const auto known = names.databases.find({Key(guid), oid});
  const std::string database = known == names.databases.end() ? "database" : known->second;
  std::string name = database;
  for (size_t n = 2; Taken(name); ++n) name = database + "/" + std::to_string(n);
  names.handles[Key(handle, HandleKind::kStore)] = {name, Key(guid)};
}

void NoteNumberedOpened(HANDLE handle, HandleKind kind, const char* name, const CEGUID* guid) {
  size_t n = 1;
  while (Taken(name + std::to_string(n))) ++n;
  AllNames().handles[Key(handle, kind)] = {name + std::to_string(n), guid == nullptr ? GuidKey() : Key(*guid)};
}

void NoteClosed(HANDLE handle, HandleKind kind) { AllNames().handles.erase(Key(handle, kind)); }

void NoteBlock(const void* block, size_t size) { AllNames().blocks[block] = size; }
void ForgetBlock(const void* block) { AllNames().blocks.erase(block); }

void NoteDatabase(const CEGUID& guid, CEOID oid, const std::string& name) {
  AllNames().databases[{Key(guid), oid}] = name;
}

size_t LiveBlocks() { return AllNames().blocks.size(); }
size_t LiveHandles() { return AllNames().handles.size(); }

size_t LiveMounts() {
  size_t mounts = 0;
  for (const auto& [guid, mounted] : AllNames().volumes) mounts += mounted.references;
  return mounts;
}

void ForgetMounts() {
  AllNames().volumes.clear();
  AllNames().handles.clear();
  AllNames().databases.clear();
}

// ---- texts

Describer::Describer(Call& call) : call_(call) { call_.text = call_.name + "("; }

void Describer::Finish() { call_.text += ")"; }

void Describer::Next() {
  if (!first_) call_.text += ", ";
  first_ = false;
}

Describer& Describer::Number(uint64_t value) { return Word(NumberText(value), value); }

Describer& Describer::Field(std::string_view label, uint64_t value) {
  return Word(std::string(label) + "=" + NumberText(value), value);
}

Describer& Describer::Word(std::string_view word, uint64_t value) {
  Next();
  call_.text += word;
  call_.arguments.push_back(value);
  return *this;
}

Describer& Describer::Text(std::string_view label, const WCHAR* text) {
  const std::string prefix = label.empty() ? "" : std::string(label) + "=";
  return Word(prefix + Quoted(text), reinterpret_cast<uintptr_t>(text));
}

Describer& Describer::Volume(const CEGUID* guid) {
  const uintptr_t address = reinterpret_cast<uintptr_t>(guid);
  if (guid == nullptr) return Word("all volumes", address);
  const auto found = AllNames().volumes.find(Key(*guid));
  if (found != AllNames().volumes.end()) return Word("vol" + std::to_string(found->second.number), address);
  if (Key(*guid) == GuidKey(4, 0)) return Word("system", address);
  return Word("no volume", address);
}

Describer& Describer::Handle(HANDLE handle, HandleKind kind) {
  const auto found = AllNames().handles.find(Key(handle, kind));
  if (found != AllNames().handles.end()) return Word(found->second.name, handle);
  if (handle == 0) return Word("no handle", handle);
  return Word(handle == INVALID_HANDLE_VALUE ? "invalid handle" : "closed handle", handle);
}

Describer& Describer::Oid(CEOID oid) { return Word("oid=" + OidText(oid), oid); }

Describer& Describer::Block(const void* block) {
  const uintptr_t address = reinterpret_cast<uintptr_t>(block);
  const auto found = AllNames().blocks.find(block);
  if (block == nullptr) return Word("null", address);
  return Word(found == AllNames().blocks.end() ? "unknown block" : NumberText(found->second), address);
}

Describer& Describer::Pointer(const void* pointer) {
  return Word(pointer == nullptr ? "null" : "pointer", reinterpret_cast<uintptr_t>(pointer));
}

Describer& Describer::Values(const CEPROPVAL* values, size_t count) {
  std::string text = "[";
  for (size_t i = 0; values != nullptr && i < count; ++i) {
    call_.properties.push_back(Copied(values[i]));
    if (i > 0) text += ", ";
    text += PropertyText(call_.properties.back());
  }
  return Word(text + "]", count);
}

Describer& Describer::Value(const CEPROPVAL* value) {
  const uintptr_t address = reinterpret_cast<uintptr_t>(value);
  if (value == nullptr) return Word("null", address);
  call_.properties.push_back(Copied(*value));
  const Property& copy = call_.properties.back();
  const std::string flags = copy.flags == 0 ? "" : " flags " + NumberText(copy.flags);
  return Word(PropertyText(copy) + flags, address);
}

Describer& Describer::Ids(const CEPROPID* ids, size_t count) {
  if (ids == nullptr) return Word("all", 0);
  std::string text = "[";
  for (size_t i = 0; i < count; ++i) {
    call_.ids.push_back(ids[i]);
    if (i > 0) text += ", ";
    text += NumberText(ids[i]);
  }
  return Word(text + "]", count);
}

Describer& Describer::Sorts(const SORTORDERSPEC* sorts, size_t count) {
  std::string text = "sorts=[";
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) text += ", ";
    text += NumberText(sorts[i].propid) + ":" + NumberText(sorts[i].dwFlags);
  }
  return Word(text + "]", count);
}

}  // namespace seam
