#include "mission/inputs/Inputs.h"

#include <bit>
#include <string>
#include <utility>

#include "readers/LineReader.h"

namespace kv::mission {
namespace {

// Offsets and sizes in bytes. Source: ESRI Shapefile Technical Description, July 1998, pages 4 and 23.
constexpr std::size_t kHeaderSize = 100;
constexpr std::size_t kTypeAt = 32;
constexpr std::size_t kBoundsAt = 36;
constexpr std::uintmax_t kIndexRecordSize = 8;

using Header = std::string;

template <typename Bits>
Bits LittleEndian(const Header& header, std::size_t at) {
  Bits bits = 0;
  for (std::size_t i = sizeof(Bits); i-- > 0;)
    bits = static_cast<Bits>(bits << 8) | static_cast<unsigned char>(header[at + i]);
  return bits;
}

double Bound(const Header& header, std::size_t index) {
  return std::bit_cast<double>(LittleEndian<std::uint64_t>(header, kBoundsAt + 8 * index));
}

std::optional<std::uint64_t> CountRecords(std::filesystem::path index) {
  std::error_code error;
  const auto size = std::filesystem::file_size(index.replace_extension(".shx"), error);
  if (error || size < kHeaderSize) return std::nullopt;
  return (size - kHeaderSize) / kIndexRecordSize;
}

}  // namespace

std::optional<ShapefileHeader> ReadShapefileHeader(const std::filesystem::path& path) {
  const Header header = ReadBeginning(path, kHeaderSize);
  if (header.size() < kHeaderSize) return std::nullopt;
  const auto type = static_cast<std::int32_t>(LittleEndian<std::uint32_t>(header, kTypeAt));
  const Bounds bounds{Bound(header, 0), Bound(header, 1), Bound(header, 4),
                      Bound(header, 2), Bound(header, 3), Bound(header, 5)};
  return ShapefileHeader{type, CountRecords(path), bounds};
}

std::string ShapeTypeName(std::int32_t type) {
  if (type == 0) return "Null";
  if (type == 31) return "MultiPatch";
  constexpr const char* kSuffixes[] = {"", "Z", "M"};  // of 1 to 8, 11 to 18 and 21 to 28
  for (const auto& [number, name] : {std::pair{1, "Point"}, {3, "PolyLine"}, {5, "Polygon"}, {8, "MultiPoint"}}) {
    if (type > 0 && type < 30 && type % 10 == number) return std::string(name) + kSuffixes[type / 10];
  }
  return "unknown";
}

}  // namespace kv::mission
