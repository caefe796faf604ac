// The calls of a script up to the last one that a writer began.
#include "reference_run.h"

#include "flush_watch.h"
#include "writer_script.h"

namespace kills {
namespace {

struct LastCallReturned {};

class Follower : public CallObserver {
 public:
  Follower(Reference& reference, const plain::Database& model, int64_t first_watched, int64_t last_call)
      : reference_(reference), model_(model), first_watched_(first_watched), last_call_(last_call) {}

  void Note(const std::function<DurableState()>& read) {
    if (call_ < first_watched_) {
      reference_.skipped = true;
      return;
    }
    reference_.moments.push_back({call_, read(), nullptr});
  }
  void Begins(uint32_t call, const char* name) override {
    call_ = call;
    reference_.names.push_back(name);
  }
  void Returned(uint32_t call) override {
    Moment& last = reference_.moments.back();
    if (last.call == call) last.model = std::make_shared<const plain::Database>(model_);
    if (call == last_call_) throw LastCallReturned();
  }

 private:
  Reference& reference_;
  const plain::Database& model_;
  int64_t first_watched_;
  int64_t last_call_;
  int64_t call_ = -1;
};

}  // namespace

Reference RunReference(const std::u16string& path, const WriterTask& task, const Moment& start, int64_t first_watched,
                       int64_t last_call) {
  Reference reference;
  reference.moments.push_back(start);
  reference.moments.back().call = -1;
  if (last_call < 0) return reference;
  plain::Database model = *start.model;
  Follower follower(reference, model, first_watched, last_call);
  WriterScript script(path, task.seed, follower, &model);
  const FlushWatch watch([&follower](const std::function<DurableState()>& read) { follower.Note(read); });
  try {
    script.Run(task.make_file);
  } catch (const LastCallReturned&) {
    return reference;
  }
}

bool IsWhole(const DurableState& state) { return state.databases.size() >= 3; }

}  // namespace kills
