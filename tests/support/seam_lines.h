// Lines that recordings are compared with, put together from the steps that every catalogue operation is made of.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "platform_seam.h"

namespace seam {

using Lines = std::vector<std::string>;

// Bytes of one property's header on this host; text and blobs come on top.
constexpr size_t kPropertyHeader = sizeof(CEPROPVAL);

// Several stretches of lines as one.
inline Lines Join(std::initializer_list<Lines> parts) {
  Lines lines;
  for (const Lines& part : parts) lines.insert(lines.end(), part.begin(), part.end());
  return lines;
}

inline std::string Number(uint64_t value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 0x10000 ? "%llu" : "0x%llX", static_cast<unsigned long long>(value));
  return text;
}

// A path as recordings show it.
inline std::string ToUtf8Path(const std::u16string& path) { return std::filesystem::path(path).string(); }

// The look-up of a catalogue object.
inline std::string Find(uint32_t key) { return "CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=" + Number(key) + ")"; }

// One step of counting the objects of a kind.
inline std::string FindNext(uint32_t key) {
  return "CeSeekDatabase(OBJG_0, VALUENEXTEQUAL, 0x10013=" + Number(key) + ")";
}

// A write of a catalogue object; the text of its properties in between.
inline std::string Write(const std::string& oid, const std::string& properties) {
  return "CeWriteRecordProps(OBJG_0, oid=" + oid + ", [" + properties + "])";
}

inline std::string Probe(const std::string& ids) {
  return "CeReadRecordPropsEx(OBJG_0, flags=0, [" + ids + "], probe)";
}

inline std::string Read(const std::string& ids, uint64_t size) {
  return "CeReadRecordPropsEx(OBJG_0, flags=0, [" + ids + "], size=" + std::to_string(size) + ")";
}

inline std::string Allocate(uint64_t size) { return "LocalAlloc(flags=64, " + std::to_string(size) + ")"; }
inline std::string Free(uint64_t size) { return "LocalFree(" + std::to_string(size) + ")"; }

// Probe, block, read: what reads a property of any size; the block is still held.
inline Lines ProbedReadKept(const std::string& ids, uint64_t size) {
  return {Probe(ids), "GetLastError()", Allocate(size), Read(ids, size)};
}

inline Lines ProbedRead(const std::string& ids, uint64_t size) {
  return Join({ProbedReadKept(ids, size), {Free(size)}});
}

}  // namespace seam
