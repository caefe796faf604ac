// Calls the C library.
extern "C" unsigned long strlen(const char* text);

namespace planted {
unsigned long Length(const char* text) { return strlen(text); }
}  // namespace planted
