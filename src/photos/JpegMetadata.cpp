#include "photos/JpegMetadata.h"

#include <optional>
#include <vector>

#include "base/Failure.h"
#include "photos/ExifCorrection.h"

namespace kv::mission {
namespace {

constexpr int kStartOfImage = 0xD8, kEndOfImage = 0xD9, kStartOfScan = 0xDA;
constexpr int kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kApp13 = 0xED;
constexpr std::string_view kExif("Exif\0\0", 6);
constexpr std::string_view kProfile("ICC_PROFILE\0", 12);
constexpr std::size_t kLongestSegment = 0xFFFF - 2;  // bytes of content

int ByteAt(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }
int BigEndian16(std::string_view text, std::size_t at) { return ByteAt(text, at) * 256 + ByteAt(text, at + 1); }

struct Segment {
  int marker;
  std::string_view content;
};

/// A file cut at its markers up to the first scan.
struct Layout {
  std::vector<Segment> segments;
  std::string_view rest;  ///< from the marker of the first scan on
  int width = 0, height = 0, channels = 0;
};

/// The frame headers SOF0 to SOF15; three numbers between them are other segments (DHT, JPG, DAC).
bool IsFrame(int marker) {
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// TEM and RST0 to RST7 have no content.
bool StandsAlone(int marker) { return marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

/// Where the next marker's number stands. Stray bytes before its FF, and fill bytes FF, are passed over as decoders do;
/// FF 00 is no marker.
std::size_t NextMarker(std::string_view file, std::size_t at) {
  do {
    at = file.find_first_not_of('\xFF', file.find('\xFF', at));
  } while (at != std::string_view::npos && file[at] == '\0');
  return at;
}

/// @return nothing for what is no JPEG file up to its first scan
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

/// The colour space of a profile stands at byte 16. A profile may come in pieces, in any order: number 1 has it.
bool ProfileFits(const Layout& photo, int channels) {
  constexpr std::size_t kSpaceAt = kProfile.size() + 2 + 16;  // behind the piece's number and the count of pieces
  for (const auto& [marker, content] : photo.segments) {
    if (marker != kApp2 || !content.starts_with(kProfile) || content.size() < kSpaceAt + 4) continue;
    if (ByteAt(content, kProfile.size()) != 1) continue;
    const std::string_view space = content.substr(kSpaceAt, 4);
    return space == "GRAY" ? channels == 1 : space == "CMYK" ? channels == 4 : channels == 3;
  }
  return false;
}

/// Metadata that stay true when the picture is turned. Not among them is the index of further pictures in the file
/// (APP2 "MPF"): they are not in the copy.
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
    const bool isExif = segment.marker == kApp1 && segment.content.starts_with(kExif);
    Append(segment.marker,
           isExif ? CorrectedExif(segment.content, copy.width, copy.height) : std::string(segment.content), file);
  }
}

}  // namespace

bool IsJpeg(std::string_view file) { return LayOut(file).has_value(); }

std::string WithMetadataOf(std::string_view photo, std::string_view copy) {
  const auto old = LayOut(photo), turned = LayOut(copy);
  if (!old || !turned) throw Failure("no JPEG file");
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
