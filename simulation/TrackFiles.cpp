#include "simulation/TrackFiles.h"

#include <array>
#include <bit>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "simulation/Attitude.h"
#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"
#include "simulation/Receiver.h"
#include "simulation/TrajectoryFile.h"

namespace kv::simulation {
namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

/// Calls `take` with each fix, its time and the seconds since the start of the mission. The receiver's fixes are those
/// of its log.
void ForEachFix(const MissionOptions& options, const FlightPath& flight,
                const std::function<void(const Fix& fix, UtcTime time, double seconds)>& take) {
  const bool post = options.tracks.postProcessed;
  Receiver receiver(options, flight, Random(options.seed, post ? Stream::PostProcessed : Stream::Receiver));
  const FlightPath::Span gap = TrajectoryGap(options, flight);
  const std::int64_t epochs = options.duration.count() * options.rate;
  for (std::int64_t epoch = 0; epoch <= epochs; ++epoch) {
    const std::chrono::microseconds sinceStart(epoch * 1'000'000 / options.rate);
    const double seconds = ToSeconds(sinceStart);
    const Fix fix = post ? receiver.NextSettled(seconds) : receiver.Next(seconds);
    const bool logged = post || seconds < gap.begin || seconds >= gap.end;
    if (logged && fix.quality != 0) take(fix, options.start + sinceStart, seconds);
  }
}

using Vector = std::array<double, 3>;

Vector Ecef(const GeodeticPosition& place) {
  constexpr double kSemiMajorAxis = 6378137.0, kEccentricitySquared = 0.00669437999014;
  const double sinLatitude = std::sin(place.latitude * kDegree), cosLatitude = std::cos(place.latitude * kDegree);
  const double normal = kSemiMajorAxis / std::sqrt(1.0 - kEccentricitySquared * sinLatitude * sinLatitude);
  return {(normal + place.height) * cosLatitude * std::cos(place.longitude * kDegree),
          (normal + place.height) * cosLatitude * std::sin(place.longitude * kDegree),
          (normal * (1.0 - kEccentricitySquared) + place.height) * sinLatitude};
}

/// Returns metres east, north and up of the reference, along its axes.
Vector Baseline(const GeodeticPosition& place, const GeodeticPosition& reference) {
  const Vector to = Ecef(place), from = Ecef(reference);
  const double x = to[0] - from[0], y = to[1] - from[1], z = to[2] - from[2];
  const double sinLatitude = std::sin(reference.latitude * kDegree),
               cosLatitude = std::cos(reference.latitude * kDegree);
  const double sinLongitude = std::sin(reference.longitude * kDegree);
  const double cosLongitude = std::cos(reference.longitude * kDegree);
  const double outward = x * cosLongitude + y * sinLongitude;
  return {y * cosLongitude - x * sinLongitude, z * cosLatitude - outward * sinLatitude,
          z * sinLatitude + outward * cosLatitude};
}

/// The receiver at a known place whose data correct those of the vehicle.
GeodeticPosition ReferenceStation(const MissionOptions& options) {
  return {options.latitude - 0.004, std::remainder(options.longitude + 0.006, 360.0), 437.25};
}

/// How one form of coordinates names its columns.
struct PosColumns {
  std::string_view system;  // up to the form of heights
  std::array<std::string_view, 3> names;
  std::string_view deviations;  // blanks between
};
constexpr auto kPosColumns = std::to_array<PosColumns>({
    {"lat/lon/height=WGS84",
     {"latitude(deg)", "longitude(deg)", "height(m)"},
     "sdn(m) sde(m) sdu(m) sdne(m) sdeu(m) sdun(m)"},
    {"lat/lon/height=WGS84",
     {"latitude(d'\")", "longitude(d'\")", "height(m)"},
     "sdn(m) sde(m) sdu(m) sdne(m) sdeu(m) sdun(m)"},
    {"x/y/z-ecef=WGS84", {"x-ecef(m)", "y-ecef(m)", "z-ecef(m)"}, "sdx(m) sdy(m) sdz(m) sdxy(m) sdyz(m) sdzx(m)"},
    {"e/n/u-baseline=WGS84",
     {"e-baseline(m)", "n-baseline(m)", "u-baseline(m)"},
     "sde(m) sdn(m) sdu(m) sden(m) sdnu(m) sdue(m)"},
});

class PosFile {
 public:
  PosFile(const std::filesystem::path& path, const MissionOptions& options)
      : options_(options), form_(*options.tracks.pos), reference_(ReferenceStation(options)), file_(path) {}

  void WriteHeader() {
    const PosColumns& columns = kPosColumns[static_cast<std::size_t>(form_.coordinates)];
    const bool geographic = form_.coordinates == PosForm::Degrees || form_.coordinates == PosForm::Sexagesimal;
    file_.Print("% program   : simulated mission\r\n");
    file_.Print("% ref pos   :{:14.9f}{}{:14.9f}{}{:10.4f}\r\n%\r\n", reference_.latitude, form_.separator,
                reference_.longitude, form_.separator, reference_.height);
    file_.Print("% ({}{},Q=1:fix,2:float,3:sbas,4:dgps,5:single,6:ppp,ns=# of satellites)\r\n", columns.system,
                !geographic      ? ""
                : form_.geodetic ? "/geodetic"
                                 : "/ellipsoidal");
    constexpr std::string_view kSystems[] = {"GPST", "UTC", "JST"};
    Begin(fmt::format("%  {:<{}}", kSystems[static_cast<std::size_t>(form_.system)], form_.calendar ? 20 : 12));
    const int width = form_.coordinates == PosForm::Sexagesimal ? 16 : 14;
    Add("{:>{}}", columns.names[0], width);
    Add("{:>{}}", columns.names[1], width);
    Add("{:>{}}", columns.names[2], geographic ? 10 : width);
    for (const char* const name : {"Q", "ns"}) Add("{:>3}", name);
    for (std::string_view rest = columns.deviations; !rest.empty();) {
      Add("{:>8}", rest.substr(0, rest.find(' ')));
      rest.remove_prefix(std::min(rest.find(' '), rest.size() - 1) + 1);
    }
    Add("{:>6}", "age(s)");
    Add("{:>6}", "ratio");
    End();
  }

  void WriteFix(const Fix& fix, UtcTime time) {
    Begin(TimeText(time));
    AddPlace(fix.position);
    const int quality = fix.quality == 4 ? 1 : fix.quality == 5 ? 2 : fix.quality == 2 ? 4 : 5;
    Add("{:3}", quality);
    Add("{:3}", fix.satellites);
    for (int axis = 0; axis < 3; ++axis) Add("{:8.4f}", fix.largestError / 3.0);
    for (int pair = 0; pair < 3; ++pair) Add("{:8.4f}", 0.0);
    Add("{:6.2f}", quality == 5 ? 0.0 : 1.0);
    Add("{:6.1f}", quality == 1 ? 25.0 : quality == 2 ? 1.5 : 0.0);
    End();
  }

  void Close() { file_.Close(); }

 private:
  void Begin(std::string text) { line_ = std::move(text); }
  template <typename... Values>
  void Add(fmt::format_string<Values...> format, Values&&... values) {
    line_ += form_.separator;
    fmt::format_to(std::back_inserter(line_), format, std::forward<Values>(values)...);
  }
  void End() { file_.Print("{}\r\n", line_); }

  std::string TimeText(UtcTime time) const {
    const auto gps = GpsTime(time);
    if (!form_.calendar) {
      const auto week = std::chrono::floor<std::chrono::weeks>(gps);
      return fmt::format("{:4}{}{:10.3f}", week.count(), form_.separator, ToSeconds(gps - week));
    }
    const std::chrono::seconds ahead = form_.system == PosForm::Gpst  ? LeapSeconds(time)
                                       : form_.system == PosForm::Jst ? std::chrono::hours(9)
                                                                      : std::chrono::seconds(0);
    return fmt::format("{:%Y/%m/%d %H:%M:%S}.{:03}", Calendar(time + ahead), Microsecond(time) / 1000);
  }

  void AddPlace(GeodeticPosition place) {
    if (form_.coordinates == PosForm::Ecef || form_.coordinates == PosForm::Baseline) {
      const bool earth = form_.coordinates == PosForm::Ecef;
      for (const double metres : earth ? Ecef(place) : Baseline(place, reference_)) Add("{:14.4f}", metres);
      return;
    }
    if (form_.geodetic) place.height -= GeoidSeparation(place, options_);
    for (const double degrees : {place.latitude, place.longitude}) {
      form_.coordinates == PosForm::Degrees ? Add("{:14.9f}", degrees) : AddSexagesimal(degrees);
    }
    Add("{:10.4f}", place.height);
  }

  /// Adds whole degrees with the sign, whole minutes, and seconds.
  void AddSexagesimal(double degrees) {
    const std::int64_t units = std::llround(std::abs(degrees) * 3600e5);  // of the last digit of a second
    const std::int64_t minutes = units / 6'000'000;
    Add("{:>4}", fmt::format("{}{}", degrees < 0.0 ? "-" : "", minutes / 60));
    Add("{:02}", minutes % 60);
    Add("{:08.5f}", static_cast<double>(units % 6'000'000) * 1e-5);
  }

  const MissionOptions& options_;
  PosForm form_;
  GeodeticPosition reference_;
  OutputFile file_;
  std::string line_;
};

}  // namespace

void WritePosFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight) {
  PosFile file(path, options);
  file.WriteHeader();
  ForEachFix(options, flight, [&](const Fix& fix, UtcTime time, double) { file.WriteFix(fix, time); });
  file.Close();
}

void WriteSbetFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight) {
  OutputFile file(path);
  ForEachFix(options, flight, [&](const Fix& fix, UtcTime time, double seconds) {
    const auto gps = GpsTime(time);
    const bool ofWeek = options.tracks.sbet == SbetTime::Week;
    const Attitude attitude = AttitudeAt(flight, seconds);
    // The wander angle, accelerations and angular rates at the end are zero.
    const double record[17] = {ToSeconds(ofWeek ? gps - std::chrono::floor<std::chrono::weeks>(gps) : gps),
                               fix.position.latitude * kDegree,
                               fix.position.longitude * kDegree,
                               fix.position.height,
                               fix.velocity.north,
                               fix.velocity.east,
                               -fix.velocity.up,
                               attitude.roll * kDegree,
                               attitude.pitch * kDegree,
                               attitude.heading * kDegree};
    for (const double value : record) {
      std::array<unsigned char, 8> bytes;  // little-endian
      for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(std::bit_cast<std::uint64_t>(value) >> (8 * i));
      file.Write(bytes);
    }
  });
  file.Close();
}

void WriteGpxFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight) {
  OutputFile file(path);
  file.Print(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<gpx version=\"1.1\" creator=\"simulated mission\" "
      "xmlns=\"http://www.topografix.com/GPX/1/1\">\r\n<trk><trkseg>\r\n");
  ForEachFix(options, flight, [&](const Fix& fix, UtcTime time, double) {
    const double separation = GeoidSeparation(fix.position, options);
    file.Print(
        "<trkpt lat=\"{:.9f}\" lon=\"{:.9f}\"><ele>{:.4f}</ele><time>{:%Y-%m-%dT%H:%M:%S}.{:03}Z</time>"
        "<geoidheight>{:.4f}</geoidheight><sat>{}</sat><hdop>{:.1f}</hdop></trkpt>\r\n",
        fix.position.latitude, fix.position.longitude, fix.position.height - separation, Calendar(time),
        Microsecond(time) / 1000, separation, fix.satellites, fix.hdop);
  });
  file.Print("</trkseg></trk>\r\n</gpx>\r\n");
  file.Close();
}

}  // namespace kv::simulation
