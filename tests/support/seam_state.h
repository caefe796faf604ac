// The inside of the platform seam: what the __wrap_ functions share. Tests include platform_seam.h instead.
//
// Every wrapper is one Pass(): it writes the call down, asks whether a fault answers it, and otherwise lets it through
// with the depth raised, so that calls made underneath are not taken for the engine's.
#pragma once

#include <optional>

#include "platform_seam.h"

namespace seam {

// Databases and enumerations, file listings and word-breaker sessions count their handles each for themselves.
enum class HandleKind : uint64_t { kStore, kListing, kSession };

// Builds the text and the copied arguments of one call.
class Describer {
 public:
  explicit Describer(Call& call);
  Describer& Number(uint64_t value);                                       // 5, 0x10013
  Describer& Field(std::string_view label, uint64_t value);                // flags=0
  Describer& Word(std::string_view word, uint64_t value);                  // CREATE_NEW
  Describer& Text(std::string_view label, const WCHAR* text);              // name="OBJG_0"
  Describer& Volume(const CEGUID* guid);                                   // vol1
  Describer& Handle(HANDLE handle, HandleKind kind = HandleKind::kStore);  // OBJG_0
  Describer& Oid(CEOID oid);                                               // oid=#1
  Describer& Block(const void* block);                                     // size of a heap block
  Describer& Pointer(const void* pointer);                                 // null or "pointer"
  Describer& Values(const CEPROPVAL* values, size_t count);                // [0x20013=5]
  Describer& Value(const CEPROPVAL* value);                                // 0x20013=5
  Describer& Ids(const CEPROPID* ids, size_t count);                       // [0x20013]
  Describer& Sorts(const SORTORDERSPEC* sorts, size_t count);              // sorts=[0x10013:0]
  void Finish();

 private:
  void Next();
  Call& call_;
  bool first_ = true;
};

// The names given to volumes, handles and blocks; kept whether or not anyone watches.
void NoteMounted(const CEGUID& guid);
void NoteUnmounted(const CEGUID& guid);
void NoteDatabaseOpened(HANDLE handle, const CEGUID& guid, CEOID oid);                          // OBJG_0, OBJG_0/2
void NoteNumberedOpened(HANDLE handle, HandleKind kind, const char* name, const CEGUID* guid);  // find1, find2
void NoteClosed(HANDLE handle, HandleKind kind = HandleKind::kStore);
void NoteBlock(const void* block, size_t size);
void ForgetBlock(const void* block);
void NoteDatabase(const CEGUID& guid, CEOID oid, const std::string& name);
std::string ToUtf8(std::u16string_view text);
std::string OidText(CEOID oid);

bool Passing();  // underneath another call, or told to be unseen
bool Recording();
void RaiseDepth();
void LowerDepth();

// Adds the call to the recording and says what answers it in place of the platform, if anything does.
std::optional<Answer> Admit(Call call);
// Completes the call admitted last with what the platform answered; may change output and result.
uint64_t Complete(std::string_view name, uint64_t result, bool result_is_oid, void* output);

enum class ResultIs { kPlain, kOid };

// describe writes the call down, real asks the platform, note keeps the names up to date with what it answered. output
// is what a test may alter.
template <typename Result, typename Describe, typename Real, typename Note>
Result Pass(const char* name, ResultIs kind, void* output, Describe describe, Real real, Note note) {
  if (Passing()) return real();
  if (Recording()) {
    Call call;
    call.name = name;
    Describer describer(call);
    describe(describer);
    describer.Finish();
    const std::optional<Answer> answer = Admit(std::move(call));
    if (answer) {
      SetLastError(answer->error);
      return static_cast<Result>(answer->result);
    }
  }
  RaiseDepth();
  const Result result = real();
  LowerDepth();
  note(result);
  if (!Recording()) return result;
  return static_cast<Result>(Complete(name, static_cast<uint64_t>(result), kind == ResultIs::kOid, output));
}

}  // namespace seam
