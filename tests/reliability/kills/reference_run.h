// What a writer's file may hold: the same calls made here, on a copy of the file that it started from, with every state
// that becomes durable on the way, and the plain model's beside it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "durable_state.h"
#include "plain_model.h"
#include "writer_process.h"

namespace kills {

// One durable state. Only the last one of a call has a model: what a call has done halfway no model knows.
struct Moment {
  int64_t call = -1;  // that made it durable; -1: what the writer started from
  DurableState state;
  std::shared_ptr<const plain::Database> model;
};

struct Reference {
  std::vector<Moment> moments;     // the start first
  bool skipped = false;            // a call before the first watched one made something durable, which is not here
  std::vector<const char*> names;  // of the calls
};

// Makes the calls 0 to last_call and reads what the calls from first_watched on make durable; start is what the file at
// path holds. Reading a state takes longer than a call, so that it pays to watch the last calls alone.
Reference RunReference(const std::u16string& path, const WriterTask& task, const Moment& start, int64_t first_watched,
                       int64_t last_call);

// Whether a database is complete, so that it must open, or still in the making.
bool IsWhole(const DurableState& state);

}  // namespace kills
