// A counter that lives between calls: state that is not the caller's.
namespace planted {
int Count() {
  static int count = 0;
  return ++count;
}
}  // namespace planted
