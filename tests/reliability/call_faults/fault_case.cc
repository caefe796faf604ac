// Outcomes and rules, and the list of all cases.
#include "fault_case.h"

#include <cctype>

namespace callfaults {

Outcome Outcome::Outputs(Held held, std::vector<std::string> changes) const {
  Outcome result = *this;
  result.outputs = held;
  result.output_changes = std::move(changes);
  return result;
}

Outcome Outcome::Handles(Held held, std::vector<std::string> changes) const {
  Outcome result = *this;
  result.handles = held;
  result.handle_changes = std::move(changes);
  return result;
}

Outcome Outcome::Onwards(std::vector<std::string> changes) const {
  Outcome result = *this;
  result.onwards_changes = std::move(changes);
  result.has_onwards_changes = true;
  return result;
}

Outcome Outcome::Volume(Held held) const {
  Outcome result = *this;
  result.volume = held;
  return result;
}

Outcome Outcome::AgainAnswers(uint32_t answer) const {
  Outcome result = *this;
  result.again = Again::kAnswers;
  result.again_status = answer;
  return result;
}

Outcome Outcome::NotAgain() const {
  Outcome result = *this;
  result.again = Again::kNo;
  return result;
}

Outcome Outcome::Recover(std::function<void(World&)> steps) const {
  Outcome result = *this;
  result.recover = std::move(steps);
  return result;
}

Outcome Outcome::StaysMounted() const {
  Outcome result = *this;
  result.stays_mounted = true;
  return result;
}

Outcome Fails(uint32_t status) {
  Outcome outcome;
  outcome.status = status;
  return outcome;
}

Outcome Lenient() { return Fails(MDbStatusOk); }

Outcome GoesOn() {
  Outcome outcome;
  outcome.goes_on = true;
  outcome.outputs = outcome.handles = outcome.volume = Held::kAfter;
  outcome.again = Again::kNo;
  return outcome;
}

Outcome DoneButFails() {
  Outcome outcome;
  outcome.outputs = outcome.handles = outcome.volume = Held::kAfter;
  outcome.again = Again::kNo;
  return outcome;
}

Outcome NotThere() { return GoesOn().Volume(Held::kAnything); }

Rules operator+(Rules left, const Rules& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Rules LenientReads() { return {{"LocalAlloc(*", Lenient()}, {"CeReadRecordPropsEx(*, size=*", Lenient()}}; }

std::string FaultCase::Name() const {
  std::string name = std::string(call) + "_" + state;
  for (char& character : name) {
    if (!std::isalnum(static_cast<unsigned char>(character))) character = '_';
  }
  return name;
}

Cases AllCases() {
  Cases all;
  for (const auto& family : {VolumeCases, AgentCases, SchemaCases, OptionCases, AttributeAndListCases, DataTableCases,
                             CreationCases, RecordCases, QueryCases, SortCases, SetCases, EditCases, ConversionCases}) {
    const Cases cases = family();
    all.insert(all.end(), cases.begin(), cases.end());
  }
  return all;
}

}  // namespace callfaults
