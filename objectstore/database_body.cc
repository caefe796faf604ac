// See database_body.h.
#include "database_body.h"

#include <limits>

#include "stored_property.h"

namespace objectstore {

namespace {

void DecodeName(BodyReader& reader, DatabaseName& name) {
  const size_t length = reader.Get8();
  std::array<WCHAR, CEDB_MAXDBASENAMELEN> characters{};
  if (length >= characters.size()) return reader.Reject();
  if (!reader.GetText(characters.data(), length)) return;
  name = DatabaseName::FromText(characters.data());
  if (name.characters().size() != length || !name.IsUsable()) reader.Reject();
}

void DecodeSortSpecs(BodyReader& reader, SortSpecs& specs) {
  const size_t count = reader.Get8();
  for (size_t i = 0; i < count && reader.ok(); ++i) {
    SORTORDERSPEC spec;
    spec.propid = reader.Get32();
    spec.dwFlags = reader.Get32();
    if (!specs.Append(spec)) reader.Reject();
  }
}

void DecodePackedReferences(BodyReader& reader, std::vector<PackedReference>& references) {
  const size_t count = reader.Get16();
  for (size_t i = 0; i < count && reader.ok(); ++i) {
    PackedReference reference;
    reference.property = reader.Get32();
    reference.flush = reader.Get64();
    references.push_back(reference);
  }
}

void DecodeRecordNames(BodyReader& reader, DatabaseHead& head) {
  head.packed.block_flush = reader.GetCount(std::numeric_limits<uint64_t>::max());
  if (head.packed.block_flush != 0) head.packed.in_block.Decode(reader);
  if ((head.packed.block_flush != 0) != (head.packed.in_block.count() != 0)) reader.Reject();
  for (size_t i = 0; i < head.description.sort_specs.list().size(); ++i) {
    const uint8_t flag = reader.Get8();
    if (flag > 1) reader.Reject();
    head.by_identifier[i] = flag != 0;
  }
  head.identifiers.Decode(reader);
  head.names_records = true;
  if (head.identifiers.count() != head.description.record_count) reader.Reject();
}

}  // namespace

std::span<const uint8_t> EncodeVolumeHead(const VolumeHead& head, BodyWriter& writer) {
  writer.Start(BodyKind::kVolume);
  writer.Put32(head.next_identifier);
  writer.Put64(head.flush);
  writer.Put32(head.database_count);
  return writer.Seal(kVolumeRowKey);
}

Status DecodeVolumeHead(std::span<const uint8_t> body, VolumeHead& head) {
  BodyReader reader(body, BodyKind::kVolume, kVolumeRowKey);
  if (reader.layout() != Layout::kFirst) reader.Reject();
  head.next_identifier = reader.Get32();
  head.flush = reader.Get64();
  head.database_count = reader.Get32();
  if (head.next_identifier == 0) reader.Reject();
  return reader.Finished();
}

std::span<const uint8_t> EncodeDatabaseHead(const DatabaseHead& head, const PackedParts& packed, CEOID oid,
                                            BodyWriter& writer) {
  const Description& description = head.description;
  const auto name = description.name.characters();
  writer.Start(BodyKind::kDatabase, Layout::kCompact);
  writer.Put8(static_cast<uint8_t>(name.size()));
  writer.PutText(name.data(), name.size());
  writer.Put32(description.type);
  writer.Put32(description.flags);
  writer.Put64(description.modified);
  writer.Put32(description.record_count);
  writer.Put64(description.record_bytes);
  writer.Put8(static_cast<uint8_t>(description.sort_specs.list().size()));
  for (const SORTORDERSPEC& spec : description.sort_specs.list()) {
    writer.Put32(spec.propid);
    writer.Put32(spec.dwFlags);
  }
  writer.Put16(static_cast<uint16_t>(packed.columns.size()));
  for (const PackedReference& reference : packed.columns) {
    writer.Put32(reference.property);
    writer.Put64(reference.flush);
  }
  writer.PutCount(packed.block_flush);
  if (packed.block_flush != 0) packed.in_block.Encode(writer);
  for (size_t i = 0; i < description.sort_specs.list().size(); ++i) writer.Put8(head.by_identifier[i] ? 1 : 0);
  head.identifiers.Encode(writer);
  return writer.Seal(oid);
}

Status DecodeDatabaseHead(std::span<const uint8_t> body, CEOID oid, DatabaseHead& head) {
  BodyReader reader(body, BodyKind::kDatabase, oid);
  Description& description = head.description;
  DecodeName(reader, description.name);
  description.type = reader.Get32();
  description.flags = reader.Get32();
  description.modified = reader.Get64();
  description.record_count = reader.Get32();
  description.record_bytes = reader.Get64();
  DecodeSortSpecs(reader, description.sort_specs);
  DecodePackedReferences(reader, head.packed.columns);
  if (reader.layout() == Layout::kCompact) DecodeRecordNames(reader, head);
  if (description.record_count > CEDB_MAXNUMRECORDS || (description.flags & ~kDatabaseFlagsMask) != 0) reader.Reject();
  return reader.Finished();
}

}  // namespace objectstore
