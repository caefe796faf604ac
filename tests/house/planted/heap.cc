// Allocates with operator new.
namespace planted {
int* Number() { return new int(1); }
}  // namespace planted
