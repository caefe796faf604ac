// A class with virtual functions, compiled with type information.
namespace planted {
struct Shape {
  virtual int Sides() const { return 0; }
};
int Sides(const Shape& shape) { return shape.Sides(); }
int NoSides() {
  Shape shape;
  return Sides(shape);
}
Shape MakeShape() { return {}; }
}  // namespace planted
