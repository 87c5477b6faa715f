#include "export/Shape.h"

#include <cstdint>
#include <limits>

namespace kv {
namespace {

// A record's length has 32 bits: 32 bytes a vertex, and less than 256 for the rest. shapelib does not check.
constexpr std::size_t kMostVertices = (std::numeric_limits<std::uint32_t>::max() - 256) / 32;

constexpr int kAppend = -1;

}  // namespace

void Shape::Clear() {
  for (std::vector<double>* values : {&x_, &y_, &z_, &m_}) values->clear();
  isMeasured_ = false;
}

void Shape::Reserve(std::size_t vertices) {
  for (std::vector<double>* values : {&x_, &y_, &z_, &m_}) values->reserve(vertices);
}

void Shape::AddVertex(double x, double y, double z) {
  x_.push_back(x);
  y_.push_back(y);
  z_.push_back(z);
  m_.push_back(0.0);  // shapelib computes the file's bounds from it even when it is not stored
}

void Shape::AddVertex(double x, double y, double z, double m) {
  AddVertex(x, y, z);
  m_.back() = m;
  isMeasured_ = true;
}

int Shape::AppendTo(SHPHandle file) {
  if (x_.size() > kMostVertices) return -1;
  int partStart = 0, partType = SHPP_RING;
  SHPObject object{};
  object.nSHPType = shapeType_;
  object.nShapeId = kAppend;
  object.nParts = shapeType_ == SHPT_POINTZ ? 0 : 1;
  object.panPartStart = &partStart;
  object.panPartType = &partType;
  object.nVertices = static_cast<int>(x_.size());
  object.padfX = x_.data();
  object.padfY = y_.data();
  object.padfZ = z_.data();
  object.padfM = m_.data();
  object.bMeasureIsUsed = isMeasured_;
  SHPComputeExtents(&object);
  return SHPWriteObject(file, kAppend, &object);
}

}  // namespace kv
