// How a record is laid out as platform properties, live or in the deletion log.
//
//   id      type   holds
//   0       UI2    state bits (RecState...)
//   1       BOOL   mark flag, 0 or 1
//   2       BLOB   info block, 10 bytes, the host's own
//   3       I4     sort value, written by a sort on numbers, dates or times
//   4       UI4    creation number; in the log the deletion number
//   5 + i   LPWSTR text of field i
#pragma once

#include "property.h"

namespace mdb {

constexpr CEPROPID RecPropState = Prop(0, CEVT_UI2);
constexpr CEPROPID RecPropMark = Prop(1, CEVT_BOOL);
constexpr CEPROPID RecPropInfo = Prop(2, CEVT_BLOB);
constexpr CEPROPID RecPropSortValue = Prop(3, CEVT_I4);
constexpr CEPROPID RecPropCreationSeq = Prop(4, CEVT_UI4);
static_assert(RecPropState == 0x12 && RecPropMark == 0x1000B && RecPropInfo == 0x20041);
static_assert(RecPropSortValue == 0x30003 && RecPropCreationSeq == 0x40013);

// The system properties stand first, in this order.
constexpr uint16_t kSystemProperties = 5;
constexpr size_t kStateEntry = 0;
constexpr size_t kCreationSeqEntry = 4;

static_assert(sizeof(MDbRecInfo) == 10);

constexpr CEPROPID RecPropField(int16_t field) {
  return Prop(static_cast<uint16_t>(field + kSystemProperties), CEVT_LPWSTR);
}
static_assert(RecPropField(0) == 0x5001F);

// Flags of a record handle.
constexpr uint32_t RecHandleOpened = 1;
constexpr uint32_t RecHandleFromDeleteTbl = 4;

// No creation counter in the table handle: it is read from the catalogue.
constexpr uint32_t kNoCreationSeqCache = 0xFFFFFFFFu;

}  // namespace mdb
