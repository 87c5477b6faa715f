#include "photos/JpegMetadata.h"

#include <KVMission.h>

#include <optional>
#include <vector>

#include "photos/ExifCorrection.h"
#include "photos/JpegMarkers.h"

namespace kv::mission {
namespace {

using KVMission::Failure;

constexpr std::string_view kProfile("ICC_PROFILE\0", 12);
constexpr std::size_t kLongestSegment = 0xFFFF - 2;  // bytes of content

int ByteAt(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }
int BigEndian16(std::string_view text, std::size_t at) { return ByteAt(text, at) * 256 + ByteAt(text, at + 1); }

struct Segment {
  int marker;
  std::string_view content;
};

/// A file split at its markers, up to the first scan.
struct Layout {
  std::vector<Segment> segments;
  std::string_view rest;  ///< begins with the marker of the first scan
  int width = 0, height = 0, channels = 0;
};

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

/// @return nothing when the bytes do not form a JPEG file up to its first scan
std::optional<Layout> LayOut(std::string_view file) {
  if (file.size() < 4 || ByteAt(file, 0) != 0xFF || ByteAt(file, 1) != kStartOfImage) return std::nullopt;
  Layout layout;
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
    layout.segments.push_back({marker, file.substr(at + 2, length - 2)});
    if (const auto content = layout.segments.back().content; IsFrame(marker) && content.size() >= 6) {
      layout.height = BigEndian16(content, 1);
      layout.width = BigEndian16(content, 3);
      layout.channels = ByteAt(content, 5);
    }
    at += length;
  }
  return std::nullopt;
}

/// A profile may come in numbered pieces, in any order. Piece 1 has the colour space, at byte 16.
bool ProfileFits(const Layout& photo, int channels) {
  constexpr std::size_t kSpaceAt = kProfile.size() + 2 + 16;  // after the piece's number and the number of pieces
  for (const auto& [marker, content] : photo.segments) {
    if (marker != kApp2 || !content.starts_with(kProfile) || content.size() < kSpaceAt + 4) continue;
    if (ByteAt(content, kProfile.size()) != 1) continue;
    const std::string_view space = content.substr(kSpaceAt, 4);
    return space == "GRAY" ? channels == 1 : space == "CMYK" ? channels == 4 : channels == 3;
  }
  return false;
}

/// Whether a segment holds metadata that are still true of the turned copy. The index of further pictures (APP2 "MPF")
/// is not: the copy lacks these pictures.
bool IsMetadata(const Segment& segment, bool profileFits) {
  if (segment.marker == kApp2) return profileFits && segment.content.starts_with(kProfile);
  return segment.marker == kApp1 || segment.marker == kApp13;
}

void Append(int marker, std::string_view content, std::string& file) {
  if (content.size() > kLongestSegment)
    throw Failure("its EXIF data have no room in a JPEG segment; the photo stays as it was");
  const std::size_t length = content.size() + 2;
  file += '\xFF';
  for (const std::size_t byte : {static_cast<std::size_t>(marker), length >> 8, length & 0xFF})
    file += static_cast<char>(static_cast<unsigned char>(byte));
  file += content;
}

void AppendMetadata(const Layout& photo, const Layout& copy, std::string& file) {
  const bool profileFits = ProfileFits(photo, copy.channels);
  for (const Segment& segment : photo.segments) {
    if (!IsMetadata(segment, profileFits)) continue;
    const bool isExif = segment.marker == kApp1 && segment.content.starts_with(kExifSignature);
    Append(segment.marker,
           isExif ? CorrectedExif(segment.content, copy.width, copy.height) : std::string(segment.content), file);
  }
}

}  // namespace

bool IsJpeg(std::string_view file) { return LayOut(file).has_value(); }

std::string WithMetadataOf(std::string_view photo, std::string_view copy) {
  const auto old = LayOut(photo), turned = LayOut(copy);
  if (!old || !turned) throw Failure("not a JPEG file");
  std::string file = {'\xFF', '\xD8'};
  std::size_t next = 0;
  for (; next < turned->segments.size() && turned->segments[next].marker == kApp0; ++next)
    Append(kApp0, turned->segments[next].content, file);
  AppendMetadata(*old, *turned, file);
  for (; next < turned->segments.size(); ++next) {
    const auto& [marker, content] = turned->segments[next];
    if (marker != kApp1 && marker != kApp2 && marker != kApp13) Append(marker, content, file);
  }
  file += turned->rest;
  return file;
}

}  // namespace kv::mission
