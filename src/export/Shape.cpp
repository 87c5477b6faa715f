#include "export/Shape.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "export/ShapelibHooks.h"

namespace kv {
namespace {

// A record's length has 32 bits: 32 bytes a vertex, and less than 256 for the rest. shapelib does not check.
constexpr std::size_t kMostVertices = (std::numeric_limits<std::uint32_t>::max() - 256) / 32;

constexpr int kAppend = -1;

// A record with a point: number and length, from the highest byte down, and the type stand before the coordinates.
constexpr std::size_t kPointBytes = 12 + 4 * sizeof(double);

void PutBigEndian(std::uint32_t number, char* to) {
  const std::uint32_t bytes = number >> 24 | (number >> 8 & 0xFF00) | (number << 8 & 0xFF0000) | number << 24;
  std::memcpy(to, &bytes, sizeof bytes);
}

void PutPoint(int number, std::size_t bytes, const std::array<double, 4>& xyzm, char* record) {
  constexpr std::uint32_t kType = SHPT_POINTZ;
  PutBigEndian(static_cast<std::uint32_t>(number) + 1, record);
  PutBigEndian(static_cast<std::uint32_t>(bytes - 8) / 2, record + 4);
  std::memcpy(record + 8, &kType, sizeof kType);
  std::memcpy(record + 12, xyzm.data(), 3 * sizeof(double));
  if (bytes == kPointBytes) std::memcpy(record + kPointBytes - sizeof(double), &xyzm[3], sizeof(double));
}

// Whether the next point widens the bounds. While X and Y are all zero, shapelib starts them anew with each point: also
// after a first point at 0, 0.
bool HasBounds(const SHPInfo& file) {
  return file.adBoundsMin[0] != 0 || file.adBoundsMax[0] != 0 || file.adBoundsMin[1] != 0 || file.adBoundsMax[1] != 0;
}

// Whether a point can follow without shapelib, which starts the bounds and makes its index longer.
bool HasRoomForPoint(const SHPInfo& file) {
  return HasBounds(file) && file.nRecords < file.nMaxRecords &&
         file.nFileSize <= std::numeric_limits<std::uint32_t>::max() - kPointBytes;
}

// Like SHPWriteObject but without its allocation.
int AppendPoint(SHPInfo& file, const std::array<double, 4>& xyzm, bool isMeasured) {
  const std::size_t bytes = kPointBytes - (isMeasured ? 0 : sizeof(double));
  const int number = file.nRecords++;
  file.panRecOffset[number] = file.nFileSize;
  file.panRecSize[number] = static_cast<unsigned>(bytes - 8);
  BufferedFile& shapes = FileBehind(file.fpSHP);
  shapes.Seek(file.nFileSize);
  char record[kPointBytes], *const room = shapes.Claim(bytes);
  PutPoint(number, bytes, xyzm, room ? room : record);
  if (!room && !shapes.Write(record, bytes)) return -1;
  file.nFileSize += static_cast<unsigned>(bytes);
  for (std::size_t axis = 0; axis < xyzm.size(); ++axis) {  // shapelib's comparisons, which a NaN may pass
    file.adBoundsMin[axis] = file.adBoundsMin[axis] < xyzm[axis] ? file.adBoundsMin[axis] : xyzm[axis];
    file.adBoundsMax[axis] = file.adBoundsMax[axis] > xyzm[axis] ? file.adBoundsMax[axis] : xyzm[axis];
  }
  return number;
}

}  // namespace

void Shape::Clear() {
  for (std::vector<double>* values : {&x_, &y_, &z_, &m_}) values->clear();
  isMeasured_ = false;
}

void Shape::Reserve(std::size_t vertices) {
  for (std::vector<double>* values : {&x_, &y_, &z_, &m_}) values->reserve(vertices);
}

int Shape::AppendTo(SHPHandle file) {
  if (x_.size() > kMostVertices) return -1;
  const bool isPoint = shapeType_ == SHPT_POINTZ && x_.size() == 1;
  if (isPoint && HasRoomForPoint(*file)) return AppendPoint(*file, {x_[0], y_[0], z_[0], m_[0]}, isMeasured_);
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
