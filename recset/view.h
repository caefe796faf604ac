// The view: the scratch database "VTBL_0" that holds a record set's order, one view record per data record.
//
// (I1) View records are numbered in the order in which they were appended and sorted on that number.
// (I2) One view exists per volume: its name is fixed. Building one deletes what is left of another, and is refused
//      while another record set has its own open.
#pragma once

#include "mdb_types.h"
#include "object_store.h"

namespace mdb {

constexpr HANDLE kNoView = INVALID_HANDLE_VALUE;
constexpr int16_t kNoIndex = -1;

void ResetView(ViewState* view);

// Deletes a view left over, creates a new one and opens it. 1 when another record set's view is in the way, when this
// one is open already, or the platform refuses.
MDbStatus CreateView(MDbEnv* env, ViewState* view);

// Closes the view and, when that worked, deletes it.
MDbStatus DestroyView(MDbEnv* env, ViewState* view);

// Appends a data record and answers its index in the view.
MDbStatus AppendToView(ViewState* view, CEOID record, uint16_t* index);

// The data record at the view's index. 1 when there is none.
MDbStatus ReadViewRecord(const ViewState& view, CEOID* record);

// Takes the view record at an index away and answers its data record. The view's index is as before.
MDbStatus RemoveFromView(ViewState* view, int16_t index, CEOID* record);

MDbStatus CountView(const MDbEnv* env, const ViewState& view, uint32_t* count);

}  // namespace mdb
