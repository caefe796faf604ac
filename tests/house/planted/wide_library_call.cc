// Calls a function of the C library that shares its name with one of the platform's.
extern "C" unsigned long wcslen(const wchar_t* text);

namespace planted {
unsigned long Length(const wchar_t* text) { return wcslen(text); }
}  // namespace planted
