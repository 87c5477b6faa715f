#include "simulation/OrientationFile.h"

#include "simulation/MissionTime.h"
#include "simulation/OutputFile.h"
#include "simulation/Random.h"
#include "simulation/SensorReadings.h"

namespace kv::simulation {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kInterval{500};
constexpr int kRunning = 5;  // system status

}  // namespace

void WriteOrientationFile(const std::filesystem::path& path, const MissionOptions& options, const FlightPath& flight) {
  SensorReadings sensors(flight, Random(options.seed, Stream::Orientation));
  OutputFile file(path);
  for (milliseconds time{0}; time <= options.duration; time += kInterval) {
    const UtcTime utc = options.start + time;
    const OrientationReading reading = sensors.Orientation(static_cast<double>(time.count()) * 1e-3);
    file.Print("{:%Y-%m-%d %H:%M:%S}.{:03},{:.1f},{:.1f},{:.1f},{:.1f},{},{},0\r\n", Calendar(utc),
               Microsecond(utc) / 1000, reading.boardTemperature, reading.pitch, reading.roll, reading.heading,
               reading.calibration, kRunning);
  }
  file.Close();
}

}  // namespace kv::simulation
