// The recorder and the faults of the platform seam. One PlatformSeam lives at a time; the engine is called from one
// thread while it does.
#include "platform_seam.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "seam_state.h"

namespace seam {
namespace {

struct Rule {
  enum class Kind { kReplace, kAlterOutput, kAlterResult } kind = Kind::kReplace;
  std::string name;  // empty: any call that can fail
  size_t n = 0;
  bool and_later = false;
  Answer answer{};
  bool usual = false;  // the answer is the failed call's usual one
  std::function<void(void*)> change;
};

struct State {
  bool exists = false;
  bool recording = false;
  std::vector<Call> calls;
  std::map<CEOID, size_t> oid_numbers;
  std::vector<Rule> rules;
  std::map<std::string, Answer, std::less<>> unusual;    // failures other than the usual ones
  std::map<std::string, size_t, std::less<>> made;       // calls per name since arming
  std::map<std::string, size_t, std::less<>> succeeded;  // those that the platform answered and that did not fail
  size_t fallible = 0;
  bool fault_happened = false;
};

State& Now() {
  static State state;
  return state;
}

thread_local int depth = 0;

const struct {
  std::string_view name;
  Answer failure;
} kUsualFailures[] = {
    {"CeMountDBVol", {0, ERROR_FILE_CORRUPT}},
    {"CeUnmountDBVol", {0, ERROR_WRITE_FAULT}},
    {"CeFlushDBVol", {0, ERROR_WRITE_FAULT}},
    {"CeCreateDatabaseEx", {0, ERROR_DISK_FULL}},
    {"CeOpenDatabaseEx", {INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND}},
    {"CeDeleteDatabaseEx", {0, ERROR_SHARING_VIOLATION}},
    {"CeFindFirstDatabaseEx", {INVALID_HANDLE_VALUE, ERROR_OUTOFMEMORY}},
    {"CeFindNextDatabaseEx", {0, ERROR_NO_MORE_ITEMS}},
    {"CeOidGetInfoEx", {0, ERROR_INVALID_HANDLE}},
    {"CeSetDatabaseInfoEx", {0, ERROR_SHARING_VIOLATION}},
    {"CeSeekDatabase", {0, ERROR_SEEK}},
    {"CeReadRecordPropsEx", {0, ERROR_KEY_DELETED}},
    {"CeWriteRecordProps", {0, ERROR_DISK_FULL}},
    {"CeDeleteRecord", {0, ERROR_INVALID_PARAMETER}},
    {"CloseHandle", {0, ERROR_INVALID_HANDLE}},
    {"LocalAlloc", {0, ERROR_OUTOFMEMORY}},
    {"LocalReAlloc", {0, ERROR_OUTOFMEMORY}},
    {"FindFirstFileW", {INVALID_HANDLE_VALUE, ERROR_FILE_NOT_FOUND}},
    {"FindNextFileW", {0, ERROR_IO_DEVICE}},
    {"FindClose", {0, ERROR_INVALID_HANDLE}},
    {"CreateDirectoryW", {0, ERROR_PATH_NOT_FOUND}},
    {"DeleteFileW", {0, ERROR_ACCESS_DENIED}},
    {"XKRWbrInit", {1, ERROR_INVALID_PARAMETER}},
    {"FWOpenSession", {1, ERROR_OUTOFMEMORY}},
    {"FWFindWord", {1, 0}},
    {"FWCloseSession", {1, ERROR_INVALID_HANDLE}},
};

const Answer* FindUsualFailure(std::string_view name) {
  for (const auto& row : kUsualFailures) {
    if (row.name == name) return &row.failure;
  }
  return nullptr;
}

bool IsFailure(std::string_view name, uint64_t result) {
  if (name == "XKRWbrInit") return (result & 0xFFFF) != 0;
  if (name.starts_with("FW")) return result != 0;
  if (name == "CeOpenDatabaseEx" && result == 0) return true;
  return CanFail(name) && result == UsualFailure(name).result;
}

Answer FailureOf(std::string_view name) {
  const auto unusual = Now().unusual.find(name);
  return unusual == Now().unusual.end() ? UsualFailure(name) : unusual->second;
}

size_t OidNumber(CEOID oid) {
  auto& numbers = Now().oid_numbers;
  return numbers.try_emplace(oid, numbers.size() + 1).first->second;
}

const Rule* Matching(Rule::Kind kind, std::string_view name, size_t of_name, size_t of_any) {
  for (const Rule& rule : Now().rules) {
    if (rule.kind != kind) continue;
    if (rule.name.empty() && !CanFail(name)) continue;
    if (!rule.name.empty() && rule.name != name) continue;
    const size_t n = rule.name.empty() ? of_any : of_name;
    if (n == rule.n || (rule.and_later && n > rule.n)) return &rule;
  }
  return nullptr;
}

void Arm(Rule rule) { Now().rules.push_back(std::move(rule)); }

Rule NewRule(Rule::Kind kind, std::string_view name, size_t n) {
  // Counting starts when a rule is made, so that "the first" means the first from here on.
  State& state = Now();
  const bool of_successes = kind != Rule::Kind::kReplace;
  const auto& counts = of_successes ? state.succeeded : state.made;
  const auto found = counts.find(name);
  const size_t before = name.empty() ? state.fallible : found == counts.end() ? 0 : found->second;
  Rule rule;
  rule.kind = kind;
  rule.name = name;
  rule.n = before + n;
  return rule;
}

}  // namespace

Answer UsualFailure(std::string_view name) {
  const Answer* failure = FindUsualFailure(name);
  if (failure == nullptr) {
    std::fprintf(stderr, "platform seam: %.*s cannot fail\n", static_cast<int>(name.size()), name.data());
    std::abort();
  }
  return *failure;
}

bool CanFail(std::string_view name) { return FindUsualFailure(name) != nullptr; }

// ---- for the wrappers

bool Passing() { return depth > 0; }
bool Recording() { return Now().recording; }
void RaiseDepth() { ++depth; }
void LowerDepth() { --depth; }

std::string OidText(CEOID oid) { return oid == 0 ? "0" : "#" + std::to_string(OidNumber(oid)); }

std::optional<Answer> Admit(Call call) {
  State& state = Now();
  const size_t of_name = state.made[call.name]++;
  const size_t of_any = state.fallible;
  if (CanFail(call.name)) ++state.fallible;
  const Rule* rule = Matching(Rule::Kind::kReplace, call.name, of_name, of_any);
  if (rule == nullptr) {
    state.calls.push_back(std::move(call));
    return std::nullopt;
  }
  const Answer answer = rule->usual ? FailureOf(call.name) : rule->answer;
  call.injected = true;
  call.result = answer.result;
  call.failed = IsFailure(call.name, answer.result);
  call.error = answer.error;
  state.fault_happened = true;
  state.calls.push_back(std::move(call));
  return answer;
}

uint64_t Complete(std::string_view name, uint64_t result, bool result_is_oid, void* output) {
  State& state = Now();
  Call& call = state.calls.back();
  call.failed = IsFailure(name, result);
  if (call.failed) {
    RaiseDepth();
    call.error = GetLastError();
    LowerDepth();
  } else {
    const size_t n = state.succeeded[call.name]++;
    const Rule* change = Matching(Rule::Kind::kAlterOutput, name, n, 0);
    if (change != nullptr && output != nullptr) {
      change->change(output);
      state.fault_happened = true;
    }
    const Rule* other = Matching(Rule::Kind::kAlterResult, name, n, 0);
    if (other != nullptr) {
      result = other->answer.result;
      state.fault_happened = true;
    }
  }
  if (result_is_oid && result != 0) OidNumber(static_cast<CEOID>(result));
  call.result = result;
  return result;
}

// ---- the recorder

PlatformSeam::PlatformSeam() {
  State& state = Now();
  if (state.exists) {
    std::fprintf(stderr, "platform seam: a second one\n");
    std::abort();
  }
  state = State();
  state.exists = true;
  state.recording = true;
}

PlatformSeam::~PlatformSeam() { Now() = State(); }

const std::vector<Call>& PlatformSeam::calls() const { return Now().calls; }

std::vector<Call> PlatformSeam::CallsOf(std::string_view name) const {
  std::vector<Call> found;
  for (const Call& call : Now().calls) {
    if (call.name == name) found.push_back(call);
  }
  return found;
}

size_t PlatformSeam::CountOf(std::string_view name) const { return CallsOf(name).size(); }

std::vector<std::string> PlatformSeam::Texts() const {
  std::vector<std::string> texts;
  for (const Call& call : Now().calls) texts.push_back(call.text);
  return texts;
}

std::vector<std::string> PlatformSeam::Texts(std::initializer_list<std::string_view> names) const {
  std::vector<std::string> texts;
  for (const Call& call : Now().calls) {
    if (std::find(names.begin(), names.end(), call.name) != names.end()) texts.push_back(call.text);
  }
  return texts;
}

std::vector<std::string> PlatformSeam::StoreTexts() const {
  std::vector<std::string> texts;
  for (const Call& call : Now().calls) {
    if (!call.name.starts_with("Local") && call.name != "GetLastError") texts.push_back(call.text);
  }
  return texts;
}

void PlatformSeam::Clear() {
  Now().calls.clear();
  Now().oid_numbers.clear();
}

void PlatformSeam::Fail(std::string_view name, size_t n) { Replace(name, n, UsualFailure(name)); }

void PlatformSeam::Fail(std::string_view name, size_t n, DWORD error) {
  Replace(name, n, {UsualFailure(name).result, error});
}

void PlatformSeam::FailAny(size_t n) {
  Rule rule = NewRule(Rule::Kind::kReplace, "", n);
  rule.usual = true;
  Arm(std::move(rule));
}

void PlatformSeam::FailAnyFrom(size_t n) {
  Rule rule = NewRule(Rule::Kind::kReplace, "", n);
  rule.usual = true;
  rule.and_later = true;
  Arm(std::move(rule));
}

void PlatformSeam::FailAs(std::string_view name, Answer answer) {
  Now().unusual.insert_or_assign(std::string(name), answer);
}

void PlatformSeam::Replace(std::string_view name, size_t n, Answer answer) {
  Rule rule = NewRule(Rule::Kind::kReplace, name, n);
  rule.answer = answer;
  Arm(std::move(rule));
}

void PlatformSeam::Alter(std::string_view name, size_t n, std::function<void(void*)> change) {
  Rule rule = NewRule(Rule::Kind::kAlterOutput, name, n);
  rule.change = std::move(change);
  Arm(std::move(rule));
}

void PlatformSeam::AlterResult(std::string_view name, size_t n, uint64_t result) {
  Rule rule = NewRule(Rule::Kind::kAlterResult, name, n);
  rule.answer.result = result;
  Arm(std::move(rule));
}

bool PlatformSeam::FaultHappened() const { return Now().fault_happened; }
size_t PlatformSeam::FallibleCalls() const { return Now().fallible; }
void PlatformSeam::Disarm() { Now().rules.clear(); }
void PlatformSeam::Stop() { Now().recording = false; }
void PlatformSeam::Start() { Now().recording = true; }

Unseen::Unseen() { RaiseDepth(); }
Unseen::~Unseen() { LowerDepth(); }

}  // namespace seam
