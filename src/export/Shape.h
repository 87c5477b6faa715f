#pragma once

#include <shapefil.h>

#include <cstddef>
#include <vector>

namespace kv {

/// The vertices of one shape, stored so that shapelib takes them without a copy. One object serves a whole layer.
class Shape {
 public:
  /// @param shapeType  SHPT_POINTZ, or SHPT_ARCZ with one part
  explicit Shape(int shapeType) : shapeType_(shapeType) {}

  void Clear();
  void Reserve(std::size_t vertices);

  /// @param x  degrees of longitude
  /// @param y  degrees of latitude
  /// @param z  metres
  void AddVertex(double x, double y, double z) {
    x_.push_back(x);
    y_.push_back(y);
    z_.push_back(z);
    m_.push_back(0.0);  // shapelib computes the file's bounds from it even when it is not stored
  }

  /// @param m  measure; either all vertices of a shape have one or none
  void AddVertex(double x, double y, double z, double m) {
    AddVertex(x, y, z);
    m_.back() = m;
    isMeasured_ = true;
  }

  /// @param file  of the same shape type
  /// @return      the shape's number in the file, negative when it could not be written
  int AppendTo(SHPHandle file);

 private:
  int shapeType_;
  bool isMeasured_ = false;
  std::vector<double> x_, y_, z_, m_;
};

}  // namespace kv
