// A thread-local variable.
namespace planted {
int Count() {
  thread_local int count = 0;
  return ++count;
}
}  // namespace planted
