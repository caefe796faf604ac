// Calls what the platform's objects define but its headers do not declare.
namespace path_text {
bool HiddenFromTheEngine(int number);
}

namespace planted {
bool Ask() { return path_text::HiddenFromTheEngine(1); }
}  // namespace planted
