#include "photos/JpegMetadata.h"

#include <KVMission.h>

#include "photos/ExifCorrection.h"
#include "photos/JpegMarkers.h"
#include "photos/JpegSegments.h"

namespace kv::mission {
namespace {

using KVMission::Failure;

constexpr std::string_view kProfile("ICC_PROFILE\0", 12);

int ByteAt(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

/// A profile may come in numbered pieces, in any order. Piece 1 has the colour space, at byte 16.
bool ProfileFits(const JpegLayout& photo, int channels) {
  constexpr std::size_t kSpaceAt = kProfile.size() + 2 + 16;  // after the piece's number and the number of pieces
  for (const auto& [marker, begin, end, content] : photo.segments) {
    if (marker != kApp2 || !content.starts_with(kProfile) || content.size() < kSpaceAt + 4) continue;
    if (ByteAt(content, kProfile.size()) != 1) continue;
    const std::string_view space = content.substr(kSpaceAt, 4);
    return space == "GRAY" ? channels == 1 : space == "CMYK" ? channels == 4 : channels == 3;
  }
  return false;
}

/// Whether a segment holds metadata that are still true of the turned copy. The index of further pictures (APP2 "MPF")
/// is not: the copy lacks these pictures.
bool IsMetadata(const JpegSegment& segment, bool profileFits) {
  if (segment.marker == kApp2) return profileFits && segment.content.starts_with(kProfile);
  return segment.marker == kApp1 || segment.marker == kApp13;
}

void Append(int marker, std::string_view content, std::string& file) {
  if (!FitsSegment(content.size()))
    throw Failure("its EXIF data have no room in a JPEG segment; the photo stays as it was");
  AppendSegment(marker, content, file);
}

void AppendMetadata(const JpegLayout& photo, const JpegLayout& copy, std::string& file) {
  const bool profileFits = ProfileFits(photo, copy.channels);
  for (const JpegSegment& segment : photo.segments) {
    if (!IsMetadata(segment, profileFits)) continue;
    const bool isExif = segment.marker == kApp1 && segment.content.starts_with(kExifSignature);
    Append(segment.marker,
           isExif ? CorrectedExif(segment.content, copy.width, copy.height) : std::string(segment.content), file);
  }
}

}  // namespace

std::string WithMetadataOf(std::string_view photo, std::string_view copy) {
  const auto old = LayOut(photo), turned = LayOut(copy);
  if (!old || !turned) throw Failure("not a JPEG file");
  std::string file = {'\xFF', '\xD8'};
  std::size_t next = 0;
  for (; next < turned->segments.size() && turned->segments[next].marker == kApp0; ++next)
    Append(kApp0, turned->segments[next].content, file);
  AppendMetadata(*old, *turned, file);
  for (; next < turned->segments.size(); ++next) {
    const auto& [marker, begin, end, content] = turned->segments[next];
    if (marker != kApp1 && marker != kApp2 && marker != kApp13) Append(marker, content, file);
  }
  file += turned->rest;
  return file;
}

}  // namespace kv::mission
