#include "photos/Geotag.h"

#include <optional>
#include <vector>

#include "photos/Changes.h"
#include "photos/JpegMarkers.h"
#include "photos/JpegSegments.h"
#include "photos/TiffBlock.h"
#include "photos/XmpTags.h"

namespace kv::mission {
namespace {

using KVMission::Failure;

/// The segments of a photo that a geotag concerns.
struct Metadata {
  const JpegSegment* exif = nullptr;
  const JpegSegment* xmp = nullptr;
  const JpegSegment* furtherPictures = nullptr;
  std::size_t newAt = 2;  ///< place for segments that are missing
};

void Take(const JpegSegment& segment, const char* complaint, const JpegSegment*& part) {
  if (part) throw Failure(complaint);
  part = &segment;
}

Metadata MetadataOf(const JpegLayout& layout) {
  Metadata metadata;
  for (const JpegSegment& segment : layout.segments) {
    const auto isA = [&](int marker, std::string_view signature) {
      return segment.marker == marker && segment.content.starts_with(signature);
    };
    if (isA(kApp1, kExifSignature)) Take(segment, "its EXIF data are in several segments", metadata.exif);
    if (isA(kApp1, kXmpSignature)) Take(segment, "it has several XMP packets", metadata.xmp);
    if (isA(kApp2, kFurtherPictures)) Take(segment, "it has several indexes of pictures", metadata.furtherPictures);
    if (isA(kApp1, kMoreXmpSignature) && MayHoldXmpTags(segment.content))
      throw Failure("its XMP data are in several segments");
    if (segment.marker == kApp0 && segment.begin == metadata.newAt) metadata.newAt = segment.end;
  }
  return metadata;
}

std::string ContentOf(const JpegSegment* segment, std::string_view signature) {
  return segment ? std::string(segment->content.substr(signature.size())) : std::string();
}

/// A segment that takes the place of the old one, or is new.
Change Replace(const JpegSegment* old, std::size_t newAt, int marker, std::string_view signature,
               const std::string& content) {
  Change change{old ? old->begin : newAt, old ? old->end : newAt, {}};
  const std::string whole = std::string(signature) + content;
  if (!FitsSegment(whole.size())) throw Failure("its metadata have no room for the geotag: a segment takes 64 KiB");
  AppendSegment(marker, whole, change.bytes);
  return change;
}

/// The index of further pictures has the size of the photo, and the distances from itself to the other pictures.
Change CorrectIndex(const JpegSegment& index, const std::vector<Change>& changes) {
  constexpr std::uint16_t kPictures = 0xB002;
  constexpr std::size_t kPicture = 16, kSizeAt = 4, kDistanceAt = 8;
  std::int64_t growth = 0, growthAfter = 0;
  for (const Change& change : changes) {
    growth += change.Growth();
    if (change.begin >= index.end) growthAfter += change.Growth();
  }
  TiffBlock block(ContentOf(&index, kFurtherPictures));
  const auto grow = [&](std::size_t at, std::int64_t by) {
    block.SetLong(at, static_cast<std::uint32_t>(block.Long(at) + by));
  };
  for (const TiffEntry& entry : block.Directory(block.FirstDirectory())) {
    if (entry.tag != kPictures) continue;
    for (std::size_t at = entry.at; at + kPicture <= entry.at + entry.value.size(); at += kPicture) {
      const bool isPhoto = block.Long(at + kDistanceAt) == 0;
      isPhoto ? grow(at + kSizeAt, growth) : grow(at + kDistanceAt, growthAfter);
    }
  }
  return Replace(&index, 0, kApp2, kFurtherPictures, block.Bytes());
}

/// A file without its end was cut off; bytes after the end are the business of who put them there.
bool IsWhole(const JpegLayout& layout) { return layout.rest.find(kEndOfJpeg) != layout.rest.npos; }

}  // namespace

std::string WithGeotag(std::string_view jpeg, const Geotag& geotag) {
  const auto layout = LayOut(jpeg);
  if (!layout) throw Failure("not a JPEG file");
  if (!IsWhole(*layout)) throw Failure("the file is cut off");
  const Metadata old = MetadataOf(*layout);

  XmpPacket packet(ContentOf(old.xmp, kXmpSignature));
  const bool hasOwnAttitude = HasOwnAttitude(packet);
  SetXmpTags(geotag, packet);

  std::vector<Change> changes;
  changes.push_back(Replace(old.exif, old.newAt, kApp1, kExifSignature,
                            WithGpsTags(ContentOf(old.exif, kExifSignature), geotag, hasOwnAttitude)));
  if (packet.IsChanged()) {
    const std::size_t newAt = old.exif ? old.exif->end : old.newAt;
    changes.push_back(Replace(old.xmp, newAt, kApp1, kXmpSignature, packet.Text()));
  }
  if (old.furtherPictures) changes.push_back(CorrectIndex(*old.furtherPictures, changes));
  return Changed(jpeg, std::move(changes));
}

}  // namespace kv::mission
