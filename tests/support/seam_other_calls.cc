// The __wrap_ functions of the local heap, files, clock and word breaker.
#include "seam_state.h"

namespace {

using seam::Describer;
using seam::HandleKind;
using seam::Pass;
using seam::ResultIs;

constexpr auto kNoNote = [](auto) {};

uintptr_t Address(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }
void* Pointer(uintptr_t address) { return reinterpret_cast<void*>(address); }

}  // namespace

extern "C" {

void* __real_LocalAlloc(DWORD flags, size_t size);
void* __wrap_LocalAlloc(DWORD flags, size_t size) {
  return Pointer(Pass<uintptr_t>(
      "LocalAlloc", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Field("flags", flags).Number(size); },
      [&] { return Address(__real_LocalAlloc(flags, size)); },
      [&](uintptr_t block) {
        if (block != 0) seam::NoteBlock(Pointer(block), size);
      }));
}

void* __real_LocalReAlloc(void* block, size_t size, DWORD flags);
void* __wrap_LocalReAlloc(void* block, size_t size, DWORD flags) {
  return Pointer(Pass<uintptr_t>(
      "LocalReAlloc", ResultIs::kPlain, nullptr,
      [&](Describer& d) { d.Block(block).Number(size).Field("flags", flags); },
      [&] { return Address(__real_LocalReAlloc(block, size, flags)); },
      [&, before = Address(block)](uintptr_t after) {
        if (after == 0) return;
        seam::ForgetBlock(Pointer(before));
        seam::NoteBlock(Pointer(after), size);
      }));
}

size_t __real_LocalSize(void* block);
size_t __wrap_LocalSize(void* block) {
  return Pass<size_t>(
      "LocalSize", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Block(block); },
      [&] { return __real_LocalSize(block); }, kNoNote);
}

void* __real_LocalFree(void* block);
void* __wrap_LocalFree(void* block) {
  return Pointer(Pass<uintptr_t>(
      "LocalFree", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Block(block); },
      [&, address = Address(block)] {
        seam::ForgetBlock(Pointer(address));
        return Address(__real_LocalFree(Pointer(address)));
      },
      kNoNote));
}

HANDLE __real_FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found);
HANDLE __wrap_FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found) {
  return Pass<HANDLE>(
      "FindFirstFileW", ResultIs::kPlain, found, [&](Describer& d) { d.Text("", pattern); },
      [&] { return __real_FindFirstFileW(pattern, found); },
      [&](HANDLE handle) {
        if (handle != INVALID_HANDLE_VALUE) {
          seam::NoteNumberedOpened(handle, HandleKind::kListing, "find", nullptr);
        }
      });
}

BOOL __real_FindNextFileW(HANDLE find, WIN32_FIND_DATAW* found);
BOOL __wrap_FindNextFileW(HANDLE find, WIN32_FIND_DATAW* found) {
  return Pass<BOOL>(
      "FindNextFileW", ResultIs::kPlain, found, [&](Describer& d) { d.Handle(find, HandleKind::kListing); },
      [&] { return __real_FindNextFileW(find, found); }, kNoNote);
}

BOOL __real_FindClose(HANDLE find);
BOOL __wrap_FindClose(HANDLE find) {
  return Pass<BOOL>(
      "FindClose", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Handle(find, HandleKind::kListing); },
      [&] { return __real_FindClose(find); },
      [&](BOOL done) {
        if (done) seam::NoteClosed(find, HandleKind::kListing);
      });
}

BOOL __real_CreateDirectoryW(const WCHAR* path, void* security);
BOOL __wrap_CreateDirectoryW(const WCHAR* path, void* security) {
  return Pass<BOOL>(
      "CreateDirectoryW", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Text("", path).Pointer(security); },
      [&] { return __real_CreateDirectoryW(path, security); }, kNoNote);
}

BOOL __real_DeleteFileW(const WCHAR* path);
BOOL __wrap_DeleteFileW(const WCHAR* path) {
  return Pass<BOOL>(
      "DeleteFileW", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Text("", path); },
      [&] { return __real_DeleteFileW(path); }, kNoNote);
}

void __real_GetSystemTime(SYSTEMTIME* time);
void __wrap_GetSystemTime(SYSTEMTIME* time) {
  Pass<int>(
      "GetSystemTime", ResultIs::kPlain, time, [](Describer&) {},
      [&] {
        __real_GetSystemTime(time);
        return 0;
      },
      kNoNote);
}

uint32_t __real_XKRWbrInit(uint32_t reserved, const void* parameter, uint32_t flags);
uint32_t __wrap_XKRWbrInit(uint32_t reserved, const void* parameter, uint32_t flags) {
  return Pass<uint32_t>(
      "XKRWbrInit", ResultIs::kPlain, nullptr,
      [&](Describer& d) { d.Number(reserved).Pointer(parameter).Number(flags); },
      [&] { return __real_XKRWbrInit(reserved, parameter, flags); }, kNoNote);
}

uint32_t __real_XKRWbrShutdown(uint32_t initialized, uint32_t first, uint32_t second);
uint32_t __wrap_XKRWbrShutdown(uint32_t initialized, uint32_t first, uint32_t second) {
  return Pass<uint32_t>(
      "XKRWbrShutdown", ResultIs::kPlain, nullptr,
      [&](Describer& d) { d.Number(initialized).Number(first).Number(second); },
      [&] { return __real_XKRWbrShutdown(initialized, first, second); }, kNoNote);
}

uint16_t __real_FWOpenSession(const MDbChar* text, uint32_t* session);
uint16_t __wrap_FWOpenSession(const MDbChar* text, uint32_t* session) {
  *session = 0;  // what a refusal leaves there
  return Pass<uint16_t>(
      "FWOpenSession", ResultIs::kPlain, session, [&](Describer& d) { d.Text("", text); },
      [&] { return __real_FWOpenSession(text, session); },
      [&](uint16_t refused) {
        if (refused == 0) {
          seam::NoteNumberedOpened(*session, HandleKind::kSession, "session", nullptr);
        }
      });
}

uint16_t __real_FWFindWord(uint32_t session, const MDbChar* text);
uint16_t __wrap_FWFindWord(uint32_t session, const MDbChar* text) {
  return Pass<uint16_t>(
      "FWFindWord", ResultIs::kPlain, nullptr,
      [&](Describer& d) { d.Handle(session, HandleKind::kSession).Text("", text); },
      [&] { return __real_FWFindWord(session, text); }, kNoNote);
}

uint16_t __real_FWCloseSession(uint32_t session);
uint16_t __wrap_FWCloseSession(uint32_t session) {
  return Pass<uint16_t>(
      "FWCloseSession", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Handle(session, HandleKind::kSession); },
      [&] { return __real_FWCloseSession(session); },
      [&](uint16_t refused) {
        if (refused == 0) seam::NoteClosed(session, HandleKind::kSession);
      });
}

}  // extern "C"
