#include "simulation/TrajectoryFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <span>
#include <string>

#include "simulation/MissionTime.h"
#include "simulation/NmeaLog.h"
#include "simulation/Receiver.h"

namespace kv::simulation {
namespace {

constexpr FlightPath::Span kGapInTurn{4.0, 7.5};        // seconds from the start of the turn
constexpr std::chrono::hours kEarlierLog{1 - 30 * 24};  // start of another day's log, since that of the mission
constexpr int kSkyViewSeconds = 5;                      // between sets of GSV sentences
constexpr double kMetresPerSecondInKnots = 3600.0 / 1852.0;
constexpr double kCourseFromKnots = 0.5;  // a slower receiver reports no course

struct Satellite {
  int number;               // as in NMEA; GLONASS starts at 65
  int elevation, azimuth;   // degrees at the start of the mission
  int signal;               // dB-Hz
  double degreesPerMinute;  // of azimuth
};
constexpr auto kGps = std::to_array<Satellite>({{2, 71, 41, 48, 0.6},
                                                {5, 55, 203, 46, -0.4},
                                                {7, 48, 118, 45, 0.5},
                                                {9, 33, 301, 43, 0.3},
                                                {13, 29, 67, 41, -0.3},
                                                {16, 24, 250, 40, 0.4},
                                                {20, 18, 332, 38, -0.2},
                                                {27, 15, 161, 37, 0.2},
                                                {29, 11, 22, 34, 0.3},
                                                {30, 8, 279, 31, -0.3}});
constexpr auto kGlonass = std::to_array<Satellite>({{66, 62, 88, 47, 0.5},
                                                    {67, 44, 190, 44, -0.5},
                                                    {74, 37, 310, 42, 0.4},
                                                    {75, 22, 15, 39, 0.3},
                                                    {82, 17, 140, 36, -0.4},
                                                    {83, 10, 235, 33, 0.2}});
constexpr std::size_t kSatellitesPerSentence = 4;
constexpr std::size_t kActiveSlots = 12;  // of a GSA sentence

/// Formats "ddmm.mmmmmmmm,h" or "dddmm.mmmmmmmm,h", with h for the hemisphere.
std::string Angle(double degrees, int degreeDigits, std::string_view hemispheres) {
  constexpr std::int64_t kUnit = 100'000'000;  // units of the last digit in a minute
  const std::int64_t total = std::llround(std::abs(degrees) * 60.0 * kUnit);
  const std::int64_t minutes = total / kUnit;
  return fmt::format("{:0{}}{:02}.{:08},{}", minutes / 60, degreeDigits, minutes % 60, total % kUnit,
                     hemispheres[degrees < 0.0 ? 1 : 0]);
}
std::string Latitude(const Fix& fix) { return Angle(fix.position.latitude, 2, "NS"); }
std::string Longitude(const Fix& fix) { return Angle(fix.position.longitude, 3, "EW"); }

std::string TimeOfDay(UtcTime time) {
  return fmt::format("{:%H%M%S}.{:02}", Calendar(time), Microsecond(time) / 10'000);
}

std::string Gga(const Fix& fix, UtcTime time, const MissionOptions& options) {
  if (fix.quality == 0) return fmt::format("{}GGA,{},,,,,0,00,{:.2f},,,,,,", fix.talker, TimeOfDay(time), fix.hdop);
  const double separation = GeoidSeparation(fix.position, options);
  const std::string_view correction = fix.quality == 1 ? "," : "1.0,0133";  // age in seconds, reference station
  return fmt::format("{}GGA,{},{},{},{},{:02},{:.1f},{:.3f},M,{:.3f},M,{}", fix.talker, TimeOfDay(time), Latitude(fix),
                     Longitude(fix), fix.quality, fix.satellites, fix.hdop, fix.position.height - separation,
                     separation, correction);
}

std::string Rmc(const Fix& fix, UtcTime time) {
  const std::string date = fmt::format("{:%d%m%y}", Calendar(time));
  if (fix.quality == 0) return fmt::format("{}RMC,{},V,,,,,,,{},,,N,V", fix.talker, TimeOfDay(time), date);

  const auto& [east, north, up] = fix.velocity;
  const double knots = std::hypot(east, north) * kMetresPerSecondInKnots;
  const double course = std::fmod(std::atan2(east, north) * 180.0 / std::numbers::pi + 360.0, 360.0);
  const std::string courseText = knots < kCourseFromKnots ? "" : fmt::format("{:.2f}", course);
  const char mode = fix.quality == 1 ? 'A' : fix.quality == 2 ? 'D' : fix.quality == 5 ? 'F' : 'R';
  return fmt::format("{}RMC,{},A,{},{},{:.3f},{},{},,,{},V", fix.talker, TimeOfDay(time), Latitude(fix), Longitude(fix),
                     knots, courseText, date, mode);
}

std::string Gsa(const Fix& fix, std::span<const Satellite> satellites) {
  std::string sentence = fmt::format("{}GSA,A,{}", fix.talker, fix.quality == 0 ? 1 : 3);
  for (std::size_t slot = 0; slot < kActiveSlots; ++slot) {
    const bool used = fix.quality != 0 && slot < satellites.size();
    sentence += used ? fmt::format(",{:02}", satellites[slot].number) : ",";
  }
  const double pdop = std::min(1.7 * fix.hdop, kNoDop), vdop = std::min(1.4 * fix.hdop, kNoDop);
  return sentence + fmt::format(",{:.2f},{:.2f},{:.2f}", pdop, fix.hdop, vdop);
}

void WriteSkyView(NmeaLog& file, std::string_view talker, std::span<const Satellite> satellites, double seconds) {
  const std::size_t count = (satellites.size() + kSatellitesPerSentence - 1) / kSatellitesPerSentence;
  for (std::size_t i = 0; i < satellites.size(); i += kSatellitesPerSentence) {
    std::string sentence =
        fmt::format("{}GSV,{},{},{:02}", talker, count, i / kSatellitesPerSentence + 1, satellites.size());
    for (const Satellite& s : satellites.subspan(i, std::min(kSatellitesPerSentence, satellites.size() - i))) {
      const auto azimuth = (std::llround(s.azimuth + s.degreesPerMinute * seconds / 60.0) % 360 + 360) % 360;
      sentence += fmt::format(",{:02},{:02},{:03},{:02}", s.number, s.elevation, azimuth, s.signal);
    }
    file.Write(sentence);
  }
}

/// Writes wind and heading, as instruments on the receiver's line give them.
void WriteInstruments(NmeaLog& file, std::int64_t second) {
  file.Write(fmt::format("WIMWV,{:.1f},R,{:.1f},N,A", static_cast<double>(second * 7 % 360), 4.5));
  file.Write(fmt::format("HEHDT,{:.1f},T", static_cast<double>(second * 3 % 360)));
}

/// Writes the sentences that follow GGA at a whole second.
void WriteSecond(NmeaLog& file, const Fix& fix, UtcTime time, std::int64_t second, const MissionOptions& options) {
  const LogTrouble& trouble = options.trouble.log;
  const bool dated = !trouble.undated && !(trouble.halfDated && 2 * second < options.duration.count());
  if (dated) file.Write(Rmc(fix, time));
  file.Write(Gsa(fix, kGps));
  if (fix.talker == "GN") file.Write(Gsa(fix, kGlonass));
  if (trouble.instrument) WriteInstruments(file, second);
  if (second % kSkyViewSeconds != 0) return;
  WriteSkyView(file, "GP", kGps, static_cast<double>(second));
  WriteSkyView(file, "GL", kGlonass, static_cast<double>(second));
}

/// Writes what the receiver reports in the mission's time, but for the gap.
/// @return false if `goesOn` stopped it
bool WriteEpochs(NmeaLog& file, const MissionOptions& options, Receiver receiver, const FlightPath::Span& gap,
                 const std::function<bool()>& goesOn) {
  const std::int64_t epochs = options.duration.count() * options.rate;
  for (std::int64_t epoch = 0; epoch <= epochs; ++epoch) {
    const std::chrono::microseconds sinceStart(epoch * 1'000'000 / options.rate);
    const double seconds = ToSeconds(sinceStart);
    const Fix fix = receiver.Next(seconds);
    if (!goesOn()) return false;
    if (seconds >= gap.begin && seconds < gap.end) continue;

    const UtcTime time = options.start + sinceStart;
    file.WriteFix(Gga(fix, time, options));
    if (epoch % options.rate == 0) WriteSecond(file, fix, time, epoch / options.rate, options);
  }
  return true;
}

/// Writes the first minute of the flight as another day's.
bool WriteEarlierLog(NmeaLog& file, const MissionOptions& options, const FlightPath& flight,
                     const std::function<bool()>& goesOn) {
  MissionOptions earlier = options;
  earlier.start += kEarlierLog;
  earlier.duration = std::chrono::minutes(1);
  const Receiver receiver(earlier, flight, Random(options.seed, Stream::EarlierLog));
  return WriteEpochs(file, earlier, receiver, {0.0, 0.0}, goesOn);
}

}  // namespace

double GeoidSeparation(const GeodeticPosition& position, const MissionOptions& options) {
  return 47.3 + 0.6 * (position.latitude - options.latitude) -
         0.4 * std::remainder(position.longitude - options.longitude, 360.0);
}

FlightPath::Span TrajectoryGap(const MissionOptions& options, const FlightPath& flight) {
  if (!options.faults || flight.Turns().empty()) return {0.0, 0.0};
  const double turn = flight.Turns().front().begin;
  return {turn + kGapInTurn.begin, turn + kGapInTurn.end};
}

bool WriteTrajectoryFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight,
                         const std::function<bool()>& goesOn) {
  NmeaLog file(path, options);
  if (options.trouble.log.appended && !WriteEarlierLog(file, options, flight, goesOn)) return false;
  const Receiver receiver(options, flight, Random(options.seed, Stream::Receiver));
  if (!WriteEpochs(file, options, receiver, TrajectoryGap(options, flight), goesOn)) return false;
  file.Close();
  return true;
}

}  // namespace kv::simulation
