#include "photos/Geotag.h"

#include <gtest/gtest.h>
#include <libexif/exif-data.h>

#include <cmath>
#include <memory>

#include "JpegBytes.h"
#include "photos/JpegMarkers.h"
#include "photos/JpegSegments.h"
#include "photos/XmpTags.h"
#include "support/ThrownText.h"

namespace kv::mission {
namespace {

using KVMission::PositionQuality;
using KVMission::Ticks;

constexpr std::string_view kMakerNote = "not for others: \x12\x34";

std::string Number(bool big, std::size_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> 8 * (big ? bytes - 1 - i : i));
  return text;
}

/// EXIF data with a maker note at byte 44, and, if asked for, GPS tags in front of it: an old latitude reference, and a
/// processing method, which is not part of a geotag.
std::string Exif(bool big, bool hasGps) {
  const auto entry = [&](std::size_t tag, std::size_t type, std::size_t count, const std::string& value) {
    return Number(big, tag, 2) + Number(big, type, 2) + Number(big, count, 4) + value;
  };
  const auto at = [&](std::size_t offset) { return Number(big, offset, 4); };
  const std::size_t entries = hasGps ? 2 : 1, exifAt = 8 + 2 + 12 * entries + 4, gpsAt = exifAt + 18;
  std::string exif = (big ? "MM" : "II") + Number(big, 42, 2) + at(8) + Number(big, entries, 2) +
                     entry(0x8769, 4, 1, at(exifAt)) + (hasGps ? entry(0x8825, 4, 1, at(gpsAt)) : "") + at(0);
  const std::size_t noteAt = hasGps ? gpsAt + 2 + 24 + 4 + 8 : gpsAt;
  exif += Number(big, 1, 2) + entry(0x927C, 7, kMakerNote.size(), at(noteAt)) + at(0);
  if (hasGps)
    exif += Number(big, 2, 2) + entry(1, 2, 2, std::string("S\0\0\0", 4)) + entry(27, 7, 8, at(gpsAt + 30)) + at(0) +
            "METHOD 1";
  return exif.append(kMakerNote);
}

std::string Segment(int marker, std::string_view signature, const std::string& content) {
  return ::Segment(static_cast<unsigned char>(marker), std::string(signature) + content);
}

/// A JPEG with restart markers in its scan; `segments` come first.
std::string Jpeg(const std::string& segments) {
  return "\xFF\xD8" + segments + Frame(3) + ::Segment(0xDA, "scan") + std::string("data\xFF\0\xFF\xD0more\xFF\xD9", 14);
}

Geotag Somewhere() {
  Geotag geotag;
  geotag.latitude = 48.1234567891, geotag.longitude = -11.5, geotag.height = 512.3456;
  geotag.time = std::chrono::sys_days{std::chrono::May / 1 / 2024} + Ticks(12 * 36'000'000'000 + 1'234'567);
  geotag.quality = {PositionQuality::Fixed, 14, 0.8f, 0.0123f, 0.02f};
  geotag.attitude = KVMission::Attitude{1.25, -2.5, 359.99996};
  return geotag;
}

struct FreeExif {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

/// GPS tags as another reader sees them.
class GpsReader {
 public:
  explicit GpsReader(const std::string& jpeg)
      : data_(exif_data_new_from_data(reinterpret_cast<const unsigned char*>(jpeg.data()),
                                      static_cast<unsigned>(jpeg.size()))) {}

  std::string Text(int tag) const {
    const ExifEntry* entry = Entry(tag);
    return entry ? std::string(reinterpret_cast<const char*>(entry->data), entry->size) : "none";
  }
  /// Fractions to the base 60.
  double Value(int tag) const {
    const ExifEntry* entry = Entry(tag);
    if (!entry) return NAN;
    double value = 0, unit = 1;
    for (unsigned i = 0; i < entry->components; ++i, unit /= 60) {
      const ExifRational part = exif_get_rational(entry->data + 8 * i, exif_data_get_byte_order(data_.get()));
      value += unit * part.numerator / part.denominator;
    }
    return value;
  }

 private:
  const ExifEntry* Entry(int tag) const {
    return exif_content_get_entry(data_->ifd[EXIF_IFD_GPS], static_cast<ExifTag>(tag));
  }
  std::unique_ptr<ExifData, FreeExif> data_;
};

TEST(Geotag, IsReadBackFromExif) {
  struct {
    double latitude, longitude, height, heading;
    const char *northSouth, *eastWest;
    char below;
    double readHeading;
  } const rows[] = {
      {48.1234567891, -11.5, 512.3456, 270, "N", "W", 0, 270},
      {-0.0000000001, 179.99999999999, -12.0004, -90, "S", "E", 1, 270},
      {90, -180, 0, 719.99999, "N", "W", 0, 0},
      {-89.99999999999, 0, 8848, 359.9999, "S", "E", 0, 359.9999},
  };
  for (const auto& row : rows) {
    Geotag geotag = Somewhere();
    geotag.latitude = row.latitude, geotag.longitude = row.longitude, geotag.height = row.height;
    geotag.attitude->heading = row.heading;
    const GpsReader gps(WithGeotag(Jpeg(""), geotag));
    EXPECT_NEAR(gps.Value(2), std::abs(row.latitude), 1e-9);  // 0.1 mm
    EXPECT_NEAR(gps.Value(4), std::abs(row.longitude), 1e-9);
    EXPECT_NEAR(gps.Value(6), std::abs(row.height), 1e-4);
    EXPECT_NEAR(gps.Value(17), row.readHeading, 1e-9);
    EXPECT_EQ(gps.Text(1), std::string(row.northSouth, 2));
    EXPECT_EQ(gps.Text(3), std::string(row.eastWest, 2));
    EXPECT_EQ(gps.Text(5), std::string(1, row.below));
    EXPECT_NEAR(gps.Value(7) * 3600, 12 * 3600 + 0.1234567, 1e-7);
    EXPECT_EQ(gps.Text(29), std::string("2024:05:01\0", 11));
    EXPECT_EQ(gps.Text(8), std::string("14\0", 3));
    EXPECT_NEAR(gps.Value(11), 0.8, 1e-9);
    EXPECT_NEAR(gps.Value(31), 0.0123, 1e-9);
  }
}

TEST(Geotag, LeavesOutWhatIsNotKnown) {
  Geotag geotag = Somewhere();
  geotag.quality = {}, geotag.attitude.reset(), geotag.isEllipsoidal = true;
  const std::string photo = WithGeotag(WithGeotag(Jpeg(""), Somewhere()), geotag);
  const GpsReader gps(photo);
  for (const int tag : {8, 11, 16, 17, 30, 31}) EXPECT_EQ(gps.Text(tag), "none") << tag;
  EXPECT_EQ(gps.Text(0), std::string("\2\4\0\0", 4));  // heights above the ellipsoid came with this version
  for (const char* name : {"Yaw", "Pitch", "Roll", "Accuracy", "Rtk"}) EXPECT_EQ(photo.find(name), photo.npos) << name;
  geotag.attitude = KVMission::Attitude{0, 0, 45}, geotag.isLevelKnown = false;
  const std::string track = WithGeotag(photo, geotag);
  EXPECT_NE(track.find("Camera:Yaw=\"45.0000\""), track.npos);
  for (const char* name : {"Pitch", "Roll"}) EXPECT_EQ(track.find(name), track.npos) << name;
}

TEST(Geotag, KeepsEverythingElse) {
  const std::string icc = Segment(kApp2, "ICC_PROFILE\0\1\1", "profile"), comment = Segment(0xFE, "", "comment");
  const std::string more = Segment(kApp1, kMoreXmpSignature, std::string(40, 'x'));
  struct {
    const char* description;
    std::string exif;  // empty: none
    bool hasMethod;
  } const rows[] = {
      {"no EXIF data", "", false},
      {"little-endian", Exif(false, false), false},
      {"big-endian", Exif(true, false), false},
      {"little-endian with GPS", Exif(false, true), true},
      {"big-endian with GPS", Exif(true, true), true},
  };
  for (const auto& [description, exif, hasMethod] : rows) {
    SCOPED_TRACE(description);
    const std::string photo = Jpeg(icc + (exif.empty() ? "" : Segment(kApp1, kExifSignature, exif)) + comment + more);
    const std::string tagged = WithGeotag(photo, Somewhere());
    const auto old = LayOut(photo).value(), now = LayOut(tagged).value();
    EXPECT_EQ(now.rest, old.rest);
    std::string others, othersNow;
    for (const auto& segment : old.segments) {
      if (!segment.content.starts_with(kExifSignature)) others += segment.content;
    }
    for (const auto& segment : now.segments) {
      if (segment.content.starts_with(kExifSignature) && !exif.empty()) {
        const std::string_view block = segment.content.substr(kExifSignature.size());
        const std::size_t note = exif.find(kMakerNote);
        EXPECT_EQ(block.substr(note, kMakerNote.size()), kMakerNote);  // at its old place
      }
      if (segment.marker != kApp1 || segment.content.starts_with(kMoreXmpSignature)) othersNow += segment.content;
    }
    EXPECT_EQ(othersNow, others);
    EXPECT_EQ(GpsReader(tagged).Text(27), hasMethod ? "METHOD 1" : "none");
    EXPECT_EQ(GpsReader(tagged).Text(1), std::string("N\0", 2));
    EXPECT_EQ(WithGeotag(tagged, Somewhere()), tagged);
    Geotag elsewhere = Somewhere();
    elsewhere.latitude = -1, elsewhere.quality.hdop = 0, elsewhere.quality.satellites = 12345;
    EXPECT_EQ(WithGeotag(tagged, elsewhere), WithGeotag(photo, elsewhere));  // no trace, and no growth
  }
}

TEST(Geotag, CorrectsTheIndexOfFurtherPictures) {
  const auto little = [](std::size_t value) { return Number(false, value, 4); };
  const std::string second = Jpeg("");
  const auto photoWith = [&](std::size_t size, std::size_t distance) {
    return Jpeg(Segment(kApp2, kFurtherPictures,
                        "II*" + std::string(1, '\0') + little(8) + std::string("\1\0\2\xB0\7\0", 6) + little(32) +
                            little(26) + little(0) + little(0) + little(size) + little(0) + little(0) + little(0) +
                            little(second.size()) + little(distance) + little(0))) +
           second;
  };
  const std::string photo = photoWith(0, 0).substr(0, photoWith(0, 0).size() - second.size());
  const std::size_t header = photo.find("II*");
  const std::string tagged = WithGeotag(photoWith(photo.size(), photo.size() - header), Somewhere());
  const std::size_t at = tagged.find("MPF") + 4, newSize = tagged.size() - second.size();
  EXPECT_EQ(tagged.substr(at + 30, 4), little(newSize));
  EXPECT_EQ(tagged.substr(at + 50, 4), little(newSize - at));
  EXPECT_EQ(tagged.substr(newSize), second);
}

TEST(Geotag, RefusesWhatItCannotDoWell) {
  const auto with = [](int marker, std::string_view signature, const std::string& content) {
    return Jpeg(Segment(marker, signature, content));
  };
  const std::string sound = Jpeg(""), exif = Exif(false, true);
  std::string farGps = exif, loop = exif;
  farGps.replace(30, 4, "\xF0\xFF\xFF\x7F", 4);
  loop.replace(4, 4, "\xFF\xFF\xFF\xFF", 4);
  const auto xmp = [&](const std::string& text) { return with(kApp1, kXmpSignature, text); };
  const struct {
    std::string photo;
    const char* complaint;
  } rows[] = {
      {"", "not a JPEG file"},
      {"GIF89a", "not a JPEG file"},
      {sound.substr(0, sound.size() - 2), "the file is cut off"},
      {with(kApp1, kExifSignature, "garbage"), "its EXIF data cannot be read"},
      {with(kApp1, kExifSignature, farGps), "its EXIF data cannot be read"},
      {with(kApp1, kExifSignature, loop), "its EXIF data cannot be read"},
      {Jpeg(Segment(kApp1, kExifSignature, exif) + Segment(kApp1, kExifSignature, exif)),
       "its EXIF data are in several segments"},
      {with(kApp1, kExifSignature, exif + std::string(65'300, 'x')),
       "its metadata have no room for the geotag: a segment takes 64 KiB"},
      {xmp("<x"), "its XMP packet cannot be read"},
      {xmp("<!DOCTYPE x [<!ENTITY e 'e'>]><x>&e;</x>"), "its XMP packet cannot be read"},
      {with(kApp1, kMoreXmpSignature, "http://pix4d.com/camera/1.0"), "its XMP data are in several segments"},
      {with(kApp2, kFurtherPictures, "II*"), "its EXIF data cannot be read"},
  };
  for (const auto& [photo, complaint] : rows) EXPECT_EQ(ThrownText([&] { WithGeotag(photo, Somewhere()); }), complaint);
  for (const double bad : {std::nan(""), HUGE_VAL, 90.1}) {
    Geotag nowhere = Somewhere();
    nowhere.latitude = bad;
    EXPECT_EQ(ThrownText([&] { WithGeotag(sound, nowhere); }), "its place is not on the Earth");
  }
}

/// A packet as it was, with the new properties as attributes of the first description and the old ones gone.
TEST(XmpTags, ChangeTheirPropertiesOnly) {
  const auto packet = [](const std::string& prefixes, const std::string& rest) {
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
           "<!-- kept --><r:Description" +
           prefixes + " r:about=''" + rest + "</r:RDF></x:xmpmeta>\n  " + std::string(3, '\0');
  };
  const std::string ours = "\n   Camera:Yaw=\"45.0000\"\n   drone-dji:FlightYawDegree=\"45.0000\"",
                    names =
                        "\n    xmlns:Camera=\"http://pix4d.com/camera/1.0\""
                        "\n    xmlns:drone-dji=\"http://www.dji.com/drone-dji/1.0/\"";
  Geotag geotag = Somewhere();
  geotag.quality = {}, geotag.attitude->heading = 45, geotag.isLevelKnown = false;
  const struct {
    std::string prefixes, rest, newPrefixes, newRest;
  } rows[] = {
      {"", "/>", names, ours + "/>"},
      {" xmlns:q='http://a/' q:a = \"1 > '0'\"", "><q:b r:parseType='Resource'><q:Yaw>1</q:Yaw></q:b></r:Description>",
       names + " xmlns:q='http://a/' q:a = \"1 > '0'\"",
       ours + "><q:b r:parseType='Resource'><q:Yaw>1</q:Yaw></q:b></r:Description>"},
      // The name of an older kind of drone: its properties are replaced, and stay under its prefix and name.
      {" xmlns:Camera='http://ns.sensefly.com/Camera/1.0/'",
       "><Camera:Band><r:Seq><r:li>1</r:li></r:Seq></Camera:Band>\n <Camera:Yaw>9</Camera:Yaw></r:Description>",
       names.substr(names.find("\n    xmlns:drone")) + " xmlns:Camera='http://ns.sensefly.com/Camera/1.0/'",
       ours + "><Camera:Band><r:Seq><r:li>1</r:li></r:Seq></Camera:Band></r:Description>"},
      // In a second description, under another prefix; a copy of an EXIF tag.
      {"",
       "/><r:Description xmlns:c='http://pix4d.com/camera/1.0' c:Yaw='8' xmlns:e='http://ns.adobe.com/exif/1.0/'"
       " e:GPSLatitude='1' e:Flash='2'><c:Pitch/></r:Description>",
       names,
       ours + "/><r:Description xmlns:c='http://pix4d.com/camera/1.0' xmlns:e='http://ns.adobe.com/exif/1.0/'"
              " e:Flash='2'></r:Description>"},
  };
  for (const auto& [prefixes, rest, newPrefixes, newRest] : rows) {
    XmpPacket changed(packet(prefixes, rest));
    SetXmpTags(geotag, changed);
    EXPECT_EQ(changed.Text(), packet(newPrefixes, newRest));
  }
}

TEST(XmpTags, GiveADroneItsNewPlaceAndLeaveItsGimbal) {
  const std::string begin =
      "<x:xmpmeta xmlns:x='adobe:ns:meta/'><r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
      "<r:Description xmlns:drone-dji='http://www.dji.com/drone-dji/1.0/' drone-dji:GimbalPitchDegree='-90'";
  XmpPacket packet(begin +
                   " drone-dji:AbsoluteAltitude='+9' drone-dji:AltitudeType='RtkAlt' drone-dji:RtkFlag='16'"
                   " drone-dji:FlightYawDegree='7'/></r:RDF></x:xmpmeta>");
  Geotag geotag = Somewhere();
  geotag.attitude.reset(), geotag.quality = {PositionQuality::Fixed};
  SetXmpTags(geotag, packet);
  EXPECT_EQ(packet.Text(), begin +
                               " drone-dji:FlightYawDegree='7'\n   drone-dji:RtkFlag=\"50\"\n   "
                               "drone-dji:AbsoluteAltitude=\"512.3456\"/></r:RDF></x:xmpmeta>");
}

}  // namespace
}  // namespace kv::mission
