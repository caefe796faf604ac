// The bodies of a volume file: one of each kind in each layout, byte by byte.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "body_codec.h"
#include "status.h"

namespace objectstore {

using Bytes = std::vector<uint8_t>;

// "0A FF" as two bytes.
Bytes FromHex(const std::string& text);

inline Bytes Copy(std::span<const uint8_t> bytes) { return Bytes(bytes.begin(), bytes.end()); }

constexpr CEOID kDatabase = 0x10;
constexpr int64_t kRecordKey = 0x1000000011;
constexpr int64_t kPackedKey = 0x1000010013;
constexpr int64_t kBlockKey = 0x1000000000;

struct Golden {
  const char* why;
  Bytes bytes;
  BodyKind kind;
  int64_t key;
  Status (*decode)(const Bytes&, int64_t key);
};

extern const Golden kVolumeBody;
extern const Golden kFirstDatabaseBody;
extern const Golden kFirstRecordBody;
extern const Golden kFirstPackedBody;
extern const Golden kDatabaseBody;
extern const Golden kCompactRecordBody;
extern const Golden kCompactPackedBody;
extern const Golden kCompactBlockBody;
extern const Golden kRecordBody;
extern const Golden kPackedBody;
extern const Golden kBlockBody;

extern const std::vector<std::reference_wrapper<const Golden>> kGoldenBodies;

}  // namespace objectstore
