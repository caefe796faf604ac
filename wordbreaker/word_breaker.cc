// The module's five functions: the language that is set, and the open sessions by their numbers.
//
// Any call may come from any thread; calls on one session wait for one another. A session keeps the language that was
// set when it was opened. Nothing is thrown out of here.
#include "xkrwbrk.h"

#include <memory>
#include <mutex>
#include <new>

#include "session_table.h"
#include "word_language.h"
#include "word_search.h"

namespace {

using wordbreaker::SessionTable;
using wordbreaker::WordLanguage;
using wordbreaker::WordSearch;

enum Result : uint16_t { kDone = 0, kNotFound = 1, kNoSession = 2, kNoMemory = 3, kRefused = 4 };

class Module {
 public:
  void SetLanguage(std::shared_ptr<const WordLanguage> language) {
    const std::lock_guard<std::mutex> hold(lock_);
    language_.swap(language);
  }

  // The root's until another one is set.
  std::shared_ptr<const WordLanguage> Language() {
    const std::lock_guard<std::mutex> hold(lock_);
    if (language_ == nullptr) language_ = std::make_shared<const WordLanguage>("");
    return language_;
  }

  SessionTable& sessions() { return sessions_; }

 private:
  std::mutex lock_;
  std::shared_ptr<const WordLanguage> language_;  // under the lock
  SessionTable sessions_;
};

// Never destroyed: threads may still search while the program ends.
Module& TheModule() {
  static Module* const module = new Module;
  return *module;
}

// Makes results of what may be thrown.
template <typename Call>
Result WithoutExceptions(Call call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return kNoMemory;
  } catch (...) {
    return kRefused;
  }
}

}  // namespace

extern "C" uint32_t XKRWbrInit(uint32_t, const void* parameter, uint32_t) {
  return WithoutExceptions([&] {
    const auto locale = wordbreaker::LocaleOfName(static_cast<const char*>(parameter));
    if (!locale) return kRefused;
    TheModule().SetLanguage(std::make_shared<const WordLanguage>(*locale));
    return kDone;
  });
}

extern "C" uint32_t XKRWbrShutdown(uint32_t, uint32_t, uint32_t) {
  return WithoutExceptions([] {
    TheModule().SetLanguage(nullptr);
    return kDone;
  });
}

extern "C" uint16_t FWOpenSession(const MDbChar* text, uint32_t* session) {
  if (session == nullptr) return kRefused;
  *session = 0;
  if (text == nullptr) return kRefused;
  return WithoutExceptions([&] {
    const auto language = TheModule().Language();
    *session = TheModule().sessions().Add(std::make_unique<WordSearch>(text, *language));
    return kDone;
  });
}

extern "C" uint16_t FWFindWord(uint32_t session, const MDbChar* text) {
  return WithoutExceptions([&] {
    bool found = false;
    const bool open = TheModule().sessions().With(
        session, [&](WordSearch& search) { found = text != nullptr && search.FindsTerminated(text); });
    if (!open) return kNoSession;
    return found ? kDone : kNotFound;
  });
}

extern "C" uint16_t FWCloseSession(uint32_t session) {
  return WithoutExceptions([&] { return TheModule().sessions().Remove(session) ? kDone : kNoSession; });
}
