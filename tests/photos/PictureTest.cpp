#include <KVMission.h>
#include <KVUtilities.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "JpegBytes.h"
#include "photos/ExifCorrection.h"
#include "photos/JpegHeader.h"
#include "photos/JpegMetadata.h"
#include "photos/JpegRows.h"
#include "photos/JpegSegments.h"
#include "support/CommandTest.h"

namespace kv::mission {
namespace {

namespace fs = std::filesystem;
using KVMission::Failure;

std::string Little(std::size_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

/// An entry of one number that stands in the entry itself.
std::string Entry(std::size_t tag, std::size_t type, std::size_t value) {
  return Little(tag, 2) + Little(type, 2) + Little(1, 4) + Little(value, 4);
}

/// Orientation, a tag that no standard knows and a directory of sizes; then, if wanted, a thumbnail's directory.
std::string Exif(std::size_t orientation, std::size_t width, std::size_t height, bool thumbnail) {
  constexpr std::size_t kSecondAt = 8 + 2 + 3 * 12 + 4, kThirdAt = kSecondAt + 2 + 2 * 12 + 4;
  constexpr std::size_t kThumbnailAt = kThirdAt + 2 + 2 * 12 + 4;
  return std::string("Exif\0\0II", 8) + Little(42, 2) + Little(8, 4) +                                        //
         Little(3, 2) + Entry(0x0112, 3, orientation) + Entry(0x8769, 4, kSecondAt) + Entry(0xC6D2, 4, 77) +  //
         Little(thumbnail ? kThirdAt : 0, 4) +                                                                //
         Little(2, 2) + Entry(0xA002, 4, width) + Entry(0xA003, 3, height) + Little(0, 4) +                   //
         (thumbnail
              ? Little(2, 2) + Entry(0x0201, 4, kThumbnailAt) + Entry(0x0202, 4, 4) + Little(0, 4) + "\xFF\xD8\xFF\xD9"
              : "");
}

TEST(ExifCorrection, ChangesSizeAndOrientationAlone) {
  EXPECT_EQ(CorrectedExif(Exif(6, 480, 640, true), 640, 480), Exif(1, 640, 480, false));
  EXPECT_EQ(CorrectedExif(Exif(1, 640, 480, false), 640, 480), Exif(1, 640, 480, false));
  for (const std::string& junk : {std::string("Exif\0\0", 6), std::string("Exif\0\0II*\0\xFF\xFF\xFF\xFF", 14)})
    EXPECT_THROW(CorrectedExif(junk, 640, 480), Failure);
  // The first entry, of 12 bytes behind the header and the count, is the orientation: here a byte, and two numbers.
  for (const auto& [at, value] : {std::pair(2, '\1'), std::pair(4, '\2')}) {
    std::string odd = Exif(6, 480, 640, false);
    odd[static_cast<std::size_t>(16 + at)] = value;
    EXPECT_EQ(CorrectedExif(odd, 640, 480).find("\x12\x01"), std::string::npos) << at;
  }
}

TEST(JpegMetadata, GoesFromThePhotoToTheCopy) {
  const std::string scan = Segment(0xDA, "x") + "data\xFF\xD9", jfif = Segment(0xE0, "JFIF");
  const auto profile = [](const std::string& space, char piece = 1) {
    return Segment(0xE2, std::string("ICC_PROFILE\0", 12) + piece + '\2' + std::string(16, 'x') + space + "rest");
  };
  const std::string xmp = Segment(0xE1, std::string("http://ns.adobe.com/xap/1.0/\0<x/>", 34)),
                    iptc = Segment(0xED, "8BIM");
  const std::string start = "\xFF\xD8", tables = Segment(0xDB, "tables");
  struct {
    const char* what;
    std::string photo, copy;
    std::string result;
  } const rows[] = {
      {"all kinds in their order, behind the copy's own first segment",
       start + Segment(0xE1, Exif(6, 1, 1, false)) + xmp + profile("RGB ") + iptc + Frame(3) + scan,
       start + jfif + tables + Frame(3) + scan,
       start + jfif + Segment(0xE1, Exif(1, 640, 480, false)) + xmp + profile("RGB ") + iptc + tables + Frame(3) +
           scan},
      {"not the photo's own first segment, comment, colour transform and index of further pictures",
       start + jfif + Segment(0xFE, "c") + Segment(0xEE, "Adobe") + Segment(0xE2, "MPF") + Frame(3) + scan,
       start + Frame(3) + scan, start + Frame(3) + scan},
      {"no profile of another colour space", start + profile("CMYK") + Frame(4) + scan, start + Frame(3) + scan,
       start + Frame(3) + scan},
      {"a gray profile, its second piece first", start + profile("CMYK", 2) + profile("GRAY") + Frame(1) + scan,
       start + Frame(1) + scan, start + profile("CMYK", 2) + profile("GRAY") + Frame(1) + scan},
      {"stray bytes, fill bytes and markers that stand alone between segments",
       start + std::string("\xFF\x01s\xFF\0", 5) + xmp + "\xFF\xFF\xFF\xD7" + Frame(3) + "stray" + scan,
       start + Frame(3) + scan, start + xmp + Frame(3) + scan},
  };
  for (const auto& [what, photo, copy, result] : rows) EXPECT_EQ(WithMetadataOf(photo, copy), result) << what;
  const std::string whole = rows[0].photo;
  for (std::size_t length = 0; length + scan.size() < whole.size(); length += 3)
    EXPECT_FALSE(LayOut(whole.substr(0, length)));
}

class Stopper : public KVMission::Observer {
 public:
  void OnProgress(const KVMission::Progress& progress) override { count_ = progress.count; }
  bool ShouldStop() override { return count_ >= 2; }

 private:
  std::uint64_t count_ = 0;
};

/// A folder with a small simulated mission, in which the command runs.
class PictureTest : public CommandTest {
 protected:
  void Prepare() override { ASSERT_EQ(Shell("$K simulate m -q --minutes 1.2 --photo-size 48x32 --names exif"), 0); }

  std::vector<fs::path> Photos(int camera) {
    std::vector<fs::path> photos;
    for (const auto& entry : fs::directory_iterator(temp_.Path() / ("m/cam" + std::to_string(camera))))
      photos.push_back(entry.path());
    std::sort(photos.begin(), photos.end());
    return photos;
  }
};

TEST_F(PictureTest, GradesDoNotDependOnTheirNumberAtATime) {
  auto photos = Photos(1);
  photos.push_back(temp_.Path() / "none.jpg");
  KVMission::Observer nobody;
  const auto grades = KVMission::GradePhotos(photos, {3}, nobody);
  ASSERT_EQ(grades.size(), photos.size());
  for (std::size_t i = 0; i < photos.size(); ++i) {
    std::wstring error;
    EXPECT_EQ(grades[i].sharpness, KVUtilities::ComputeImageSharpnessFactor(photos[i].wstring(), error));
    EXPECT_EQ(grades[i].complaint.empty(), error.empty());
  }
  Stopper stopper;
  EXPECT_THROW(KVMission::GradePhotos(photos, {3}, stopper), Failure);
}

TEST_F(PictureTest, GradePrintsATableOrJson) {
  const std::string quote = IsUnderWine() ? "" : "\"";  // no name has one there
  const std::string odd = " 'a," + quote + "b.jpg'";
  ASSERT_EQ(Shell("cd m/cam1; cp DSC_0001.jpg" + odd + "; $K grade DSC_0001.jpg" + odd), 0) << temp_.Read("err");
  std::wstring error;
  const double sharpness = KVUtilities::ComputeImageSharpnessFactor(temp_.Wide("m/cam1/DSC_0001.jpg"), error);
  EXPECT_EQ(temp_.Read("out"),
            fmt::format("path,sharpness\nDSC_0001.jpg,{0}\n\"a,{1}{1}b.jpg\",{0}\n", sharpness, quote));
  EXPECT_EQ(Shell("$K grade none.jpg m/cam1/DSC_0001.jpg --json"), 3);
  const auto json = nlohmann::json::parse(temp_.Read("out"));
  EXPECT_TRUE(json[0]["sharpness"].is_null());
  EXPECT_EQ(json[1]["sharpness"], sharpness);
  EXPECT_NE(temp_.Read("err").find("none.jpg: "), std::string::npos);
  EXPECT_EQ(Shell("$K grade none.jpg truth.csv"), 1);
}

TEST_F(PictureTest, RotatesOneCameraAndKeepsMetadata) {
  const auto photos = Photos(1);
  const std::string other = temp_.Read("m/cam2/DSC_0001.jpg"), old = temp_.Read("m/cam1/DSC_0001.jpg");
  ASSERT_EQ(Shell("$K rotate m --camera 1 --angle 90 < /dev/null"), 2);  // nobody to ask
  ASSERT_EQ(Shell("$K rotate m --camera 1 --angle 90 --yes --backup b"), 0) << temp_.Read("err");
  EXPECT_EQ(Photos(1), photos);
  EXPECT_EQ(temp_.Read("m/cam2/DSC_0001.jpg"), other);
  EXPECT_EQ(temp_.Read("b/cam1/DSC_0001.jpg"), old);
  const auto header = ReadJpegHeader(photos[0]).value();
  EXPECT_NEAR(header.width, 32, 1);  // the library cuts the size to whole pixels
  EXPECT_NEAR(header.height, 48, 1);
  const auto before = ReadJpegHeader(temp_.Path() / "b/cam1/DSC_0001.jpg").value();
  const std::string exif(before.exif.begin(), before.exif.end());
  EXPECT_EQ(std::string(header.exif.begin(), header.exif.end()), CorrectedExif(exif, header.width, header.height));
  // The same backup protects what is done; without it photos are rotated once more.
  EXPECT_EQ(Shell("$K rotate m --camera 1 --angle 90 --yes --backup b"), 1);
  EXPECT_EQ(Shell("echo x > m/cam1/x.jpg; $K rotate m --camera 1 --angle 90 --yes"), 3);
  EXPECT_NE(temp_.Read("err").find("x.jpg: not rotated: not a JPEG file"), std::string::npos);
  EXPECT_NEAR(ReadJpegHeader(photos[0]).value().width, 48, 2);
}

/// What is refused before the first photo, and what a photo is refused for.
TEST_F(PictureTest, RotationRefusesWhatItCannotDoWell) {
  const std::string one = "rm -rf one b; mkdir -p one/cam1 b/cam1; cp m/cam1/DSC_0001.jpg one/cam1/x.jpg; ",
                    rotate =
                        "cp one/cam1/x.jpg old; $K rotate one --camera 1 --angle 90 --yes; code=$?; "
                        "cmp old one/cam1/x.jpg && exit $code";
  struct {
    std::string script, options;
    int code;
    std::string reason;
  } const rows[] = {
      {"", "--backup one", 2, "apart from the photos"},
      {"ln -sfn one link", "--backup link", 2, "apart from the photos"},
      {"", "--backup ''", 2, "--backup: must not be empty"},
      {"rmdir b/cam1; ln -s ../one/cam1 b/cam1", "--backup b", 2, "apart from the photos"},
      {"ln -s ../../one/cam1/x.jpg b/cam1", "--backup b", 1, "x.jpg is the photo itself"},
      {"head -c -200 m/cam1/DSC_0001.jpg > one/cam1/x.jpg; printf '\377\331' >> one/cam1/x.jpg", "", 1, "is damaged"},
  };
  EXPECT_THROW(KVMission::RotatePhoto(temp_.Path() / "none.jpg", 90, {}), Failure);
  for (const auto& [script, options, code, reason] : rows) {
    std::string command = rotate;
    command.insert(command.find(" --yes"), " " + options);
    EXPECT_EQ(Shell(one + script + "\n" + command), code) << script;
    EXPECT_NE(temp_.Read("err").find(reason), std::string::npos) << temp_.Read("err");
  }
}

TEST_F(PictureTest, RotationKeepsAccessAndTurnsALinkedPhotoOnce) {
  ASSERT_EQ(
      Shell("rm m/cam1/DSC_00[1-9]* m/cam1/DSC_000[3-9]*; cd m/cam1; ln -s DSC_0001.jpg A.jpg\n"
            "chmod 640 DSC_0001.jpg; touch -d 2001-02-03 DSC_0001.jpg; cd ../..\n"
            "$K rotate m --camera 1 --angle 90 --yes --backup b && ! test -e b/cam1/A.jpg &&"
            "stat -c %a m/cam1/DSC_0001.jpg b/cam1/DSC_0001.jpg > modes && date -r b/cam1/DSC_0001.jpg +%F > date"),
      0)
      << temp_.Read("err");
  EXPECT_EQ(temp_.Read("modes") + temp_.Read("date"), "640\n640\n2001-02-03\n");
  EXPECT_NEAR(ReadJpegHeader(temp_.Path() / "m/cam1/DSC_0001.jpg").value().width, 32, 1);
  EXPECT_NE(temp_.Read("err").find("A.jpg: skipped: it leads to the same photo as DSC_0001.jpg"), std::string::npos);
  // Nobody takes the names: the run ends and tells how far it came.
  EXPECT_EQ(Shell("$K rotate m --camera 1 --angle 90 --yes >&-"), 1);
  EXPECT_NE(temp_.Read("err").find("1 of 2 photos rotated, 0 failed; as they were: from DSC_0002.jpg on"),
            std::string::npos)
      << temp_.Read("err");
}

/// Killed or interrupted at any moment, every photo is the old or a turned one, whole.
TEST_F(PictureTest, AnEndAtAnyMomentLeavesWholePhotos) {
  for (const std::string signal : {"KILL", "TERM"}) {
    for (int i = 0; i < 4; ++i) {
      const std::string wait = "0.0" + std::to_string(1 + 3 * i);
      Shell("$K rotate m --camera 1 --angle 90 --yes & run=$!; sleep " + wait + "; kill -" + signal +
            " $run; wait $run");
      for (const auto& photo : Photos(1)) {
        if (photo.extension() != ".jpg") continue;  // the hidden folder of a killed run
        const auto header = ReadJpegHeader(photo).value();
        const std::string file = temp_.Read(fs::relative(photo, temp_.Path()).string());
        EXPECT_NEAR(header.width + header.height, 80, 12) << photo;
        EXPECT_EQ(JpegDamage(file), "") << photo;
      }
    }
  }
}

}  // namespace
}  // namespace kv::mission
