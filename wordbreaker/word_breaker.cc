// The module's five functions: the language that is set, and the open sessions by their numbers.
//
// Any call may come from any thread; calls on one session wait for one another. A session keeps the language that was
// set when it was opened. Nothing is thrown out of here.
#include "xkrwbrk.h"

#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>

#include "word_language.h"
#include "word_search.h"

namespace {

using wordbreaker::WordLanguage;
using wordbreaker::WordSearch;

enum Result : uint16_t { kDone = 0, kNotFound = 1, kNoSession = 2, kNoMemory = 3, kRefused = 4 };

struct Session {
  Session(std::u16string_view text, const WordLanguage& language) : search(text, language) {}

  std::mutex lock;
  WordSearch search;
};

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

  uint32_t Add(std::shared_ptr<Session> session) {
    const std::lock_guard<std::mutex> hold(lock_);
    // The numbers come round again in the end; one that is still open is passed over.
    do {
      ++last_number_;
    } while (last_number_ == 0 || sessions_.contains(last_number_));
    sessions_.emplace(last_number_, std::move(session));
    return last_number_;
  }

  // Null for an unknown number. What is returned outlives a close from another thread.
  std::shared_ptr<Session> Find(uint32_t number) {
    const std::lock_guard<std::mutex> hold(lock_);
    const auto found = sessions_.find(number);
    return found == sessions_.end() ? nullptr : found->second;
  }

  bool Remove(uint32_t number) {
    std::shared_ptr<Session> last_reference = Find(number);  // destroyed outside the lock
    const std::lock_guard<std::mutex> hold(lock_);
    return sessions_.erase(number) != 0;
  }

 private:
  std::mutex lock_;
  std::shared_ptr<const WordLanguage> language_;
  std::unordered_map<uint32_t, std::shared_ptr<Session>> sessions_;
  uint32_t last_number_ = 0;
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
    *session = TheModule().Add(std::make_shared<Session>(text, *language));
    return kDone;
  });
}

extern "C" uint16_t FWFindWord(uint32_t session, const MDbChar* text) {
  return WithoutExceptions([&] {
    const auto open = TheModule().Find(session);
    if (open == nullptr) return kNoSession;
    if (text == nullptr) return kNotFound;
    const std::lock_guard<std::mutex> hold(open->lock);
    return open->search.Finds(text) ? kDone : kNotFound;
  });
}

extern "C" uint16_t FWCloseSession(uint32_t session) {
  return WithoutExceptions([&] { return TheModule().Remove(session) ? kDone : kNoSession; });
}
