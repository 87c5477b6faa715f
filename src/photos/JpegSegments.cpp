#include "photos/JpegSegments.h"

#include <algorithm>
#include <array>

#include "photos/JpegMarkers.h"

namespace kv::mission {
namespace {

int ByteAt(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }
int BigEndian16(std::string_view text, std::size_t at) { return ByteAt(text, at) * 256 + ByteAt(text, at + 1); }

/// TEM and RST0 to RST7 have neither length nor content.
bool StandsAlone(int marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

/// Finds the number of the next marker. Like decoders, skips stray bytes before the marker's FF and fill bytes FF after
/// it; FF 00 is not a marker.
std::size_t NextMarker(std::string_view file, std::size_t at) {
  do {
    at = file.find_first_not_of('\xFF', file.find('\xFF', at));
  } while (at != std::string_view::npos && file[at] == '\0');
  return at;
}

}  // namespace

std::optional<JpegLayout> LayOut(std::string_view file) {
  if (file.size() < 4 || ByteAt(file, 0) != 0xFF || ByteAt(file, 1) != kStartOfImage) return std::nullopt;
  JpegLayout layout;
  for (std::size_t at = NextMarker(file, 2); at < file.size(); at = NextMarker(file, at)) {
    const int marker = ByteAt(file, at++);
    if (StandsAlone(marker)) continue;
    if (marker == kStartOfScan) {
      layout.rest = file.substr(at - 2);
      return layout.width > 0 ? std::optional(layout) : std::nullopt;
    }
    if (marker == kEndOfImage || file.size() - at < 2) return std::nullopt;
    const auto length = static_cast<std::size_t>(BigEndian16(file, at));  // counts itself
    if (length < 2 || length > file.size() - at) return std::nullopt;
    layout.segments.push_back({marker, at - 2, at + length, file.substr(at + 2, length - 2)});
    if (const auto content = layout.segments.back().content; IsFrame(marker) && content.size() >= 6) {
      layout.height = BigEndian16(content, 1);
      layout.width = BigEndian16(content, 3);
      layout.channels = ByteAt(content, 5);
    }
    at += length;
  }
  return std::nullopt;
}

JpegScans ScansIn(std::string_view rest) {
  JpegScans scans;
  std::array<bool, 256> isThere{};
  for (std::size_t at = NextMarker(rest, 0); at < rest.size(); at = NextMarker(rest, at)) {
    const int marker = ByteAt(rest, at++);
    if (StandsAlone(marker)) continue;
    if (marker == kEndOfImage || rest.size() - at < 2) break;
    const auto length = static_cast<std::size_t>(BigEndian16(rest, at));
    if (length < 3 || length >= rest.size() - at) break;
    if (marker == kStartOfScan) {
      ++scans.count;
      const auto components = static_cast<std::size_t>(ByteAt(rest, at + 2));
      for (std::size_t i = 0; i < components && 3 + 2 * i < length; ++i)
        isThere[static_cast<std::size_t>(ByteAt(rest, at + 3 + 2 * i))] = true;
      const std::string_view data = rest.substr(at + length);
      scans.hasData = scans.hasData || data[0] != '\xFF' || data.substr(1, 1) == std::string_view("\0", 1);
    }
    at += length;
  }
  scans.components = static_cast<int>(std::count(isThere.begin(), isThere.end(), true));
  return scans;
}

void AppendSegment(int marker, std::string_view content, std::string& file) {
  const std::size_t length = content.size() + 2;
  file += '\xFF';
  for (const std::size_t byte : {static_cast<std::size_t>(marker), length >> 8, length & 0xFF})
    file += static_cast<char>(static_cast<unsigned char>(byte));
  file += content;
}

}  // namespace kv::mission
