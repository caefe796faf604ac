// Handle records as careless programs use them: closed and used again, opened in one database and used with another,
// initialised and never opened. Whatever comes, a call answers with a documented status, stays within its buffers and
// leaves both databases whole.
//
// Input: steps of four bytes: a call, which environment, which handle record, a number.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "handles_world.h"
#include "input_bytes.h"
#include "requirement.h"

namespace {

using fuzz::World;

constexpr int kMostSteps = 60;
constexpr size_t kTextUnits = 24;

struct Step {
  uint8_t call;
  uint8_t env;
  uint8_t handle;
  uint8_t number;
};

struct Call {
  MDbStatus (*make)(World& world, const Step& step);
};

// A text buffer of just so many bytes, so that the sanitizer sees what goes beyond.
class Room {
 public:
  explicit Room(size_t units) : units_(new MDbChar[units]), bytes_(static_cast<uint32_t>(units * sizeof(MDbChar))) {}
  MDbChar* text() { return units_.get(); }
  uint32_t size() const { return bytes_; }

 private:
  std::unique_ptr<MDbChar[]> units_;
  uint32_t bytes_;
};

int16_t Index(const Step& step) { return static_cast<int16_t>(step.number % 16 - 2); }
const MDbChar* Text(const Step& step) {
  static const MDbChar* const kTexts[] = {u"", u"oak", u"42", u"1/2/2024", u"7:05 PM", u"-7", u"north gate", u"é"};
  return kTexts[step.number % std::size(kTexts)];
}

// Files and tables.
constexpr Call kFileCalls[] = {
    {[](World& w, const Step& s) { return MDbOpen(w.env(s.env), w.path(s.number), w.ref(s.handle)); }},
    {[](World& w, const Step& s) { return MDbClose(w.env(s.env), w.ref(s.handle)); }},
    {[](World& w, const Step& s) { return MDbAgentOpenDb(w.env(s.env), w.path(s.number)); }},
    {[](World& w, const Step& s) { return MDbAgentCloseDb(w.env(s.env)); }},
    {[](World& w, const Step& s) { return MDbWriteChecksome(w.env(s.env), w.ref(s.handle), 1); }},
    {[](World& w, const Step& s) { return MDbVerifyChecksome(w.env(s.env), w.ref(s.handle)); }},
    {[](World& w, const Step& s) { return MDbDelete(w.env(s.env), w.path(2)); }},
    {[](World& w, const Step& s) { return MDbSchemaTblOpen(w.env(s.env), w.ref(s.handle), w.schema(s.number)); }},
    {[](World& w, const Step& s) { return MDbSchemaTblClose(w.env(s.env), w.ref(s.handle), w.schema(s.number)); }},
    {[](World& w, const Step& s) { return MDbAttrTblOpen(w.env(s.env), w.ref(s.handle), w.attrs(s.number)); }},
    {[](World& w, const Step& s) { return MDbAttrTblClose(w.env(s.env), w.ref(s.handle), w.attrs(s.number)); }},
    {[](World& w, const Step& s) {
      return MDbFieldOpTblOpen(w.env(s.env), w.ref(s.handle), w.options(s.number), s.number % 2);
    }},
    {[](World& w, const Step& s) { return MDbFieldOpTblClose(w.env(s.env), w.ref(s.handle), w.options(s.number)); }},
    {[](World& w, const Step& s) { return MDbDataTblOpen(w.env(s.env), w.ref(s.handle), w.data(s.number), nullptr); }},
    {[](World& w, const Step& s) { return MDbDataTblClose(w.env(s.env), w.ref(s.handle), w.data(s.number)); }},
    {[](World& w, const Step& s) {
      uint32_t count = 0;
      return MDbDataTblGetRecCount(w.env(s.env), w.ref(s.handle), w.data(s.number), &count);
    }},
    {[](World& w, const Step& s) { return StartCreationSeqCache(w.env(s.env), w.ref(s.handle), w.data(s.number)); }},
};

// What the tables hold.
constexpr Call kCatalogueCalls[] = {
    {[](World& w, const Step& s) {
      int16_t count = 0;
      return MDbSchemaTblGetCount(w.env(s.env), w.ref(s.handle), w.schema(s.handle), &count);
    }},
    {[](World& w, const Step& s) {
      MDbFldInfo info;
      Room name(kTextUnits);
      return MDbSchemaTblRead(w.env(s.env), w.ref(s.handle), w.schema(s.handle), Index(s), &info, name.text(),
                              name.size());
    }},
    {[](World& w, const Step& s) {
      MDbAttrs attrs;
      return MDbAttrTblReadAttrs(w.env(s.env), w.ref(s.handle), w.attrs(s.handle), Index(s), &attrs);
    }},
    {[](World& w, const Step& s) {
      MDbFldOptionEx option{};
      return MDbFieldOpTblReadOptionEx(w.env(s.env), w.ref(s.handle), w.options(s.handle), Index(s), &option);
    }},
    {[](World& w, const Step& s) {
      const MDbFldOption option = {{1, 2, 3, 4, 5, 6}};
      return MDbFieldOpTblWriteOption(w.env(s.env), w.ref(s.handle), w.options(s.handle), Index(s), &option);
    }},
    {[](World& w, const Step& s) {
      std::vector<int16_t> orders(16);
      return MDbFieldOpTblGetDisplayOrders(w.env(s.env), w.ref(s.handle), w.options(s.handle), orders.data(),
                                           static_cast<int16_t>(s.number % 16));
    }},
    {[](World& w, const Step& s) {
      Room name(kTextUnits);
      return MDbAgentGetDbName(w.env(s.env), name.text(), name.size());
    }},
    {[](World& w, const Step& s) { return MDbAgentSetAttr(w.env(s.env), Index(s), s.handle); }},
    {[](World& w, const Step& s) {
      Room text(kTextUnits);
      return MDbAgentGetValList(w.env(s.env), Index(s), text.text(), text.size());
    }},
    {[](World& w, const Step& s) {
      DateRec date;
      return MDbRecsetDateStrToDateRec(w.env(s.env), Text(s), &date, 0, nullptr);
    }},
};

// Records. The table is the environment's own or one of those that stand alone, as the handle's high bit says.
MDbDataTbl* Table(World& w, const Step& s) { return s.handle % 2 == 0 ? &w.env(s.env)->dataTbl : w.data(s.handle / 2); }
MDbRef* Ref(World& w, const Step& s) { return s.handle % 3 == 0 ? w.ref(s.handle) : &w.env(s.env)->agentRef; }

constexpr Call kRecordCalls[] = {
    {[](World& w, const Step& s) { return MDbDataTblCursSetInx(w.env(s.env), Ref(w, s), Table(w, s), Index(s)); }},
    {[](World& w, const Step& s) {
      return MDbDataTblOpenRec(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number), nullptr);
    }},
    {[](World& w, const Step& s) {
      const uint32_t oid = s.number;
      return MDbDataTblOpenRec(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.handle / 4), &oid);
    }},
    {[](World& w, const Step& s) {
      return MDbDeleteTblOpenRec(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number), Index(s), nullptr);
    }},
    {[](World& w, const Step& s) {
      return MDbDataTblCloseRec(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number));
    }},
    {[](World& w, const Step& s) {
      const MDbChar* text = nullptr;
      const MDbStatus status = MDbDataRecGetFieldPtr(w.env(s.env), Ref(w, s), Table(w, s), &w.env(s.env)->schemaTbl,
                                                     w.record(s.number), static_cast<int16_t>(s.number / 4 % 8), &text);
      if (text != nullptr) FUZZ_REQUIRE(std::char_traits<char16_t>::length(text) < 4096, "a text ends");
      return status;
    }},
    {[](World& w, const Step& s) {
      Room text(kTextUnits);
      return MDbDataRecReadField(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number),
                                 static_cast<int16_t>(s.number / 4 % 8), text.text(), text.size());
    }},
    {[](World& w, const Step& s) {
      uint32_t size = 0;
      return MDbDataRecGetFieldSize(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number),
                                    static_cast<int16_t>(s.number / 4 % 8), &size);
    }},
    {[](World& w, const Step& s) {
      uint8_t state = 0;
      return MDbDataRecGetState(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number), &state);
    }},
    {[](World& w, const Step& s) {
      MDbRecInfo info;
      return MDbDataRecGetRecInfo(w.env(s.env), Ref(w, s), Table(w, s), w.record(s.number), &info);
    }},
    {[](World& w, const Step& s) {
      return MDbDataTblNewRec(w.env(s.env), Ref(w, s), Table(w, s), &w.env(s.env)->schemaTbl, nullptr, nullptr);
    }},
    {[](World& w, const Step& s) {
      const MDbRecInfo info{};
      const MDbChar* texts[] = {Text(s), u"1", u"", u""};
      return MDbDataTblAddRec(w.env(s.env), Ref(w, s), Table(w, s), &info, texts, 4, s.number % 2, nullptr, nullptr);
    }},
};

// Record sets, each with any environment.
constexpr Call kRecordSetCalls[] = {
    {[](World& w, const Step& s) { return MDbAgentQuery(w.env(s.env), w.recset(s.handle), nullptr); }},
    {[](World& w, const Step& s) {
      const MDbQuery query = {Index(s), static_cast<int16_t>(s.number / 16 % 2), Text(s)};
      return MDbAgentQuery(w.env(s.env), w.recset(s.handle), &query);
    }},
    {[](World& w, const Step& s) { return MDbRecsetSort(w.env(s.env), w.recset(s.handle), Index(s), s.number / 16); }},
    {[](World& w, const Step& s) { return MDbRecsetDestroy(w.env(s.env), w.recset(s.handle)); }},
    {[](World& w, const Step& s) {
      uint32_t count = 0;
      return MDbRecsetGetRecCount(w.env(s.env), w.recset(s.handle), &count);
    }},
    {[](World& w, const Step& s) { return MDbRecsetSetInx(w.env(s.env), w.recset(s.handle), Index(s)); }},
    {[](World& w, const Step& s) { return MDbRecsetOpenRec(w.env(s.env), w.recset(s.handle)); }},
    {[](World& w, const Step& s) { return MDbRecsetCloseRec(w.env(s.env), w.recset(s.handle)); }},
    {[](World& w, const Step& s) { return MDbRecsetSetField(w.env(s.env), w.recset(s.handle), Index(s), Text(s)); }},
    {[](World& w, const Step& s) {
      Room text(kTextUnits);
      return MDbRecsetGetField(w.env(s.env), w.recset(s.handle), Index(s), text.text(), text.size());
    }},
    {[](World& w, const Step& s) {
      const MDbChar* text = nullptr;
      const MDbStatus status = MDbRecsetGetFieldPtr(w.env(s.env), w.recset(s.handle), Index(s), &text);
      if (text != nullptr) FUZZ_REQUIRE(std::char_traits<char16_t>::length(text) < 4096, "a text ends");
      return status;
    }},
    {[](World& w, const Step& s) {
      uint16_t index = 0;
      return MDbRecsetNewRec(w.env(s.env), w.recset(s.handle), &index);
    }},
    {[](World& w, const Step& s) {
      uint16_t index = 0;
      return MDBRecsetDupRec(w.env(s.env), w.recset(s.handle), Index(s), &index);
    }},
    {[](World& w, const Step& s) {
      return MDbRecsetDelRec(w.env(s.env), w.recset(s.handle), Index(s), s.number / 16 % 2);
    }},
    {[](World& w, const Step& s) {
      return MDbRecsetDelAllRec(w.env(s.env), w.recset(s.handle), static_cast<uint8_t>(s.number % 2));
    }},
};

const std::vector<Call>& Calls() {
  static const std::vector<Call> kCalls = [] {
    std::vector<Call> calls;
    for (const auto& group : {std::span<const Call>(kFileCalls), std::span<const Call>(kCatalogueCalls),
                              std::span<const Call>(kRecordCalls), std::span<const Call>(kRecordSetCalls)}) {
      calls.insert(calls.end(), group.begin(), group.end());
    }
    return calls;
  }();
  return kCalls;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  World world;
  for (int i = 0; i < kMostSteps && !input.rest().empty(); ++i) {
    const Step step = {input.Byte(), input.Byte(), input.Byte(), input.Byte()};
    const MDbStatus status = Calls()[step.call % Calls().size()].make(world, step);
    FUZZ_REQUIRE(status <= MDbStatusNoFields, "a status is one that is documented");
    world.CheckClosedRecords();
  }
  world.End();
  world.CheckDatabases();
  return 0;
}
