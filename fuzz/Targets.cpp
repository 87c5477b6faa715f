#include "Targets.h"

#include <KVMission.h>
#include <KVUtilities.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "mission/PosPoints.h"
#include "mission/Settings.h"
#include "mission/inputs/GpxFile.h"
#include "mission/inputs/Inputs.h"
#include "mission/inputs/PosFile.h"
#include "photos/Geotag.h"
#include "photos/JpegMetadata.h"
#include "photos/JpegRows.h"
#include "photos/JpegSegments.h"
#include "photos/PictureClaims.h"
#include "photos/Sharpness.h"
#include "photos/Thumbnail.h"
#include "platform/FileNames.h"
#include "platform/TextStream.h"
#include "readers/PosSamples.h"
#include "support/GeodeticFolder.h"
#include "support/Wkt.h"

namespace fuzz {
namespace {

using namespace kv::mission;

constexpr double kGapSeconds = 10;
std::wstring error;

struct BrokenPromise : std::logic_error {
  using logic_error::logic_error;
};
void Require(bool holds, const char* promise) {
  if (!holds) throw BrokenPromise(promise);
}

/// The engine's operations fail with a sentence.
template <typename Action>
void TolerateFailure(Action action) {
  try {
    action();
  } catch (const Failure&) {
  }
}

// ---- The strict class's scanners -----------------------------------------------------------------------------------

/// A scanner that documents exceptions for numbers or dates.
template <auto kScan>
void Throwing(const Input& input) {
  try {
    kScan(kv::WidePath(input.path));
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  }
}

void ScanTrajectory(const std::wstring& path) {
  KVUtilities::ScanKVTrajectoryFile(path, KVUtilities::Int64ToFiletime(133'477'200'000'000'000), error);
}
void ScanSystemEvents(const std::wstring& path) { KVUtilities::ScanKVSystemEventFile(path, error); }
void ScanOrientation(const std::wstring& path) { KVUtilities::ScanKVAosFile(path, error); }
void ScanClockedOrientation(const std::wstring& path) { KVUtilities::ScanKVAosFileForQX7(path, error); }

void ScanLog(const Input& input) { KVUtilities::ScanKVLogFile(kv::WidePath(input.path), error); }
void ScanDroneTimestamps(const Input& input) {
  KVUtilities::ScanDjiTimestampFile(kv::WidePath(input.path), L"", error);
}
void ScanApplanix(const Input& input) {
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(kv::WidePath(input.path), error);
}
void ScanDatedApplanix(const Input& input) {
  KVUtilities::ScanApplanixPostProcessTrajectoryFile(FILETIME{}, kv::WidePath(input.path), error);
}

/// The scanner's loop without its transformation, whose set-up alone takes a millisecond.
void ReadPosSamples(const Input& input) {
  kv::TextStream stream(kv::WidePath(input.path));
  kv::PosSampleReader reader;
  std::array<std::string_view, kv::kPosTokens> tokens;
  kv::PosNumbers numbers;
  tagKVPosEvent sample;
  for (std::string_view line; stream.ReadLine(line);) {
    const auto found = kv::Tokenise(line, kv::kPosDelimiters, tokens);
    if (found.size() == kv::kPosTokens && kv::ReadPosNumbers(found, numbers)) reader.Read(found, numbers, sample);
  }
}
/// To a geographic system as well, so that this tries the reader and not PROJ.
void ScanPos(const Input& input) {
  static const std::wstring wkt = kv::WideFromUtf8(kGeographic);
  KVUtilities::ScanKVPosFile(kv::WidePath(input.path), wkt, error);
}

// ---- The engine's readers ------------------------------------------------------------------------------------------

void Describe(const Input& input) {
  TolerateFailure([&] {
    Observer observer;
    const FileDescription description = DescribeFile(input.path, kGapSeconds, observer);
    DescriptionText(description);
    DescriptionJson({description});
  });
}

/// A reader without the recognition before it.
template <FileKind kKind>
void Read(const Input& input) {
  TolerateFailure([&] {
    Observer observer;
    Job job(observer);
    InputOf(kKind).describe(input.path, kGapSeconds, job);
  });
}

/// Likewise, as a run reads it: with dates, gaps, and heights above the ellipsoid.
template <Trajectory (*kRead)(const std::filesystem::path& path, double maxGapSeconds, Job& job)>
void ReadAsTrajectory(const Input& input) {
  TolerateFailure([&] {
    Observer observer;
    Job job(observer);
    kRead(input.path, kGapSeconds, job);
  });
}

void ReadReceiverLog(const Input& input) {
  TolerateFailure([&] {
    Observer observer;
    ReadTrajectory(input.path, {.date = std::chrono::sys_days{std::chrono::June / 18 / 2025}}, observer);
  });
  Read<FileKind::Trajectory>(input);
}

void ReadMissionFile(const Input& input) {
  TolerateFailure([&] {
    Settings settings;
    ReadMissionToml(input.path, settings);
  });
}

// ---- Photos --------------------------------------------------------------------------------------------------------

void ReadPhotoHeader(const Input& input) {
  Read<FileKind::Jpeg>(input);
  const int orientation = OrientationOf(kv::WidePath(input.path));
  Require(orientation >= 1 && orientation <= 8, "an orientation of EXIF");
}

/// Claims are refused first, as before a photo is turned or graded.
constexpr double kMegapixels = 1;

void FindDamage(const Input& input) {
  TolerateFailure([&] {
    CheckPicture(input.path, kMegapixels);
    kv::JpegDamage(input.bytes);
  });
}

void WriteGeotag(const Input& input) {
  TolerateFailure([&] {
    Geotag geotag;
    geotag.latitude = 48.1175, geotag.longitude = -11.5, geotag.height = 592.4;
    geotag.quality.quality = PositionQuality::Fixed;
    geotag.attitude = Attitude{1.25, -2.5, 271};
    const std::string tagged = WithGeotag(input.bytes, geotag);
    Require(WithGeotag(tagged, geotag) == tagged, "a photo that has the geotag stays");
  });
}

void CarryMetadata(const Input& input) {
  TolerateFailure(
      [&] { Require(LayOut(WithMetadataOf(input.bytes, input.bytes)).has_value(), "the copy is a JPEG file"); });
}

void GradePicture(const Input& input) try {
  CheckPicture(input.path, kMegapixels);
  Require(kv::GradeFile(kv::WidePath(input.path)).sharpness >= 0, "a sharpness is a variance");
} catch (const BrokenPromise&) {
  throw;
} catch (const std::exception&) {  // the decoder's complaint
}

// ---- Coordinate systems --------------------------------------------------------------------------------------------

void ReadCoordinateSystem(const Input& input) {
  TolerateFailure([&] {
    const tagKVCoordinateSystem system = ReadTargetSystem(input.path.string());
    std::vector<tagKVPosEvent> samples(1);
    samples[0].Latitude = 48.1175, samples[0].Longitude = 11.5, samples[0].Height = 592.4;
    std::size_t transformed = 0;
    KVUtilities::TransformPosEvents(samples, std::wstring(system.Wkt.GetString()), transformed, error);
    Require(transformed == 0 || (std::isfinite(samples[0].X) && std::isfinite(samples[0].Y)), "a place is finite");
  });
}

/// In one folder for all inputs, as PROJ takes long to open its database; its variable is in force for this call alone.
void LookUpGeoid(const Input& input) {
  constexpr const char* kRoot = "MAPHUB_CONFIG_FILES_PATH";
  const ScopedVariable before(kRoot, std::getenv(kRoot));
  static const GeodeticFolder folder("");
  static const std::string path = std::getenv(kRoot);
  const ScopedVariable root(kRoot, path.c_str());
  folder.Write("GeoidFilesLookupGtx.txt", input.bytes);
  static const std::wstring system = kv::WideFromUtf8(OnUtm33("UTM 33N + Height", 2005));
  KVUtilities::DescribeGeodeticData(error);
  KVUtilities::DescribeCoordinateSystem(system, error);
}

}  // namespace

std::span<const Target> Targets() {
  static constexpr auto kTargets = std::to_array<Target>({
      {"trajectory", Throwing<ScanTrajectory>},
      {"system-events", Throwing<ScanSystemEvents>},
      {"log", ScanLog},
      {"drone-timestamps", ScanDroneTimestamps},
      {"orientation", Throwing<ScanOrientation>},
      {"orientation-clocked", Throwing<ScanClockedOrientation>},
      {"applanix", ScanApplanix},
      {"applanix-dated", ScanDatedApplanix},
      {"pos", ReadPosSamples},
      {"pos-scan", ScanPos},
      {"describe", Describe},
      {"nmea", ReadReceiverLog},
      {"pos-forms", ReadAsTrajectory<ReadPosTrajectory>},
      {"housekeeping", Read<FileKind::HousekeepingLog>},
      {"gpx", ReadAsTrajectory<ReadGpxTrajectory>},
      {"sbet", Read<FileKind::Sbet>},
      {"shapefile", Read<FileKind::Shapefile>},
      {"mission-toml", ReadMissionFile},
      {"photo-header", ReadPhotoHeader},
      {"photo-damage", FindDamage},
      {"photo-geotag", WriteGeotag},
      {"photo-metadata", CarryMetadata},
      {"picture", GradePicture},
      {"coordinate-system", ReadCoordinateSystem},
      {"geoid-lookup", LookUpGeoid},
  });
  return kTargets;
}

}  // namespace fuzz
