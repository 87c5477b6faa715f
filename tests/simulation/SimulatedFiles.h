#pragma once

#include <charconv>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <KVUtilities.h>
#include <gtest/gtest.h>
#include <libexif/exif-data.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "commands/Commands.h"
#include "support/TempFolder.h"

/// A mission made by the command, read back.
namespace simulated {

using Words = std::vector<std::string>;

inline Words Split(const std::string& text, char separator) {
  Words words(1);
  for (const char c : text) c == separator ? words.emplace_back() : words.back() += c;
  return words;
}

inline Words Lines(const std::string& text) {
  Words lines = Split(text, '\n');
  EXPECT_EQ(lines.back(), "") << "the last line has no end";
  lines.pop_back();
  return lines;
}

inline double Number(const std::string& text) {
  double value = 0.0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// Seconds of day of "hhmmss.ff", or of "hh:mm:ss.ff" with any separators.
inline double SecondsOfDay(const std::string& text) {
  const std::size_t step = text.size() > 6 && (text[2] < '0' || text[2] > '9') ? 3 : 2;
  return Number(text.substr(0, 2)) * 3600.0 + Number(text.substr(step, 2)) * 60.0 + Number(text.substr(2 * step));
}

struct Place {
  double seconds;                      // of the day, UTC
  double latitude, longitude, height;  // degrees, metres
  int quality;                         // as in GGA
};

/// Metres from one place to another near 47.65 degrees north, in the places of degrees.
inline Place Offset(const Place& from, const Place& to) {
  return {0.0, (to.latitude - from.latitude) * 111'183.0, (to.longitude - from.longitude) * 75'130.0,
          to.height - from.height, 0};
}
inline double Metres(const Place& a, const Place& b) {
  const Place offset = Offset(a, b);
  return std::hypot(offset.latitude, offset.longitude, offset.height);
}

/// The fix of a GGA sentence; its height is above the ellipsoid, or above the geoid.
inline Place FixOf(const std::string& sentence, bool geodetic = false) {
  const Words f = Split(sentence, ',');
  const auto angle = [](const std::string& text, std::size_t digits) {
    return Number(text.substr(0, digits)) + Number(text.substr(digits)) / 60.0;
  };
  return {SecondsOfDay(f[1]), angle(f[2], 2), angle(f[4], 3), Number(f[9]) + (geodetic ? 0.0 : Number(f[11])),
          static_cast<int>(Number(f[6]))};
}

/// A file of comma-separated lines below a header: for each line, the fields by their names.
inline std::vector<std::map<std::string, std::string>> ReadTable(const TempFolder& folder, const std::string& name) {
  const Words lines = Lines(folder.Read(name)), names = Split(lines[0], ',');
  std::vector<std::map<std::string, std::string>> rows(lines.size() - 1);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const Words fields = Split(lines[i], ',');
    EXPECT_EQ(fields.size(), names.size()) << lines[i];
    for (std::size_t k = 0; k < names.size() && k < fields.size(); ++k) rows[i - 1][names[k]] = fields[k];
  }
  return rows;
}

inline std::string ExifText(const std::filesystem::path& path, ExifTag tag) {
  ExifData* data = exif_data_new_from_file(path.string().c_str());
  const ExifEntry* entry = data ? exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], tag) : nullptr;
  const std::string text = entry ? reinterpret_cast<const char*>(entry->data) : "";
  if (data) exif_data_unref(data);
  return text;
}

/// Runs the command on the folder's "mission". @return its exit code; what fails otherwise is thrown
inline int Simulate(const TempFolder& folder, const std::string& options) {
  CLI::App app;
  kv::command::ExitCode exitCode{};
  kv::command::AddSimulateCommand(app, exitCode);
  Words words{"kvmission", "simulate", "-q", (folder.Path() / "mission").string()};
  for (const std::string& word : Split(options, ' ')) {
    if (!word.empty()) words.push_back(word);
  }
  std::vector<const char*> arguments;
  for (const std::string& word : words) arguments.push_back(word.c_str());
  try {
    app.parse(static_cast<int>(arguments.size()), arguments.data());
  } catch (const CLI::ParseError&) {
    return 2;
  } catch (const KVMission::Failure& failure) {
    return static_cast<int>(kv::command::CodeFor(failure.Why()));
  }
  return static_cast<int>(exitCode);
}

struct Truth {
  int camera;
  double tick, adjGpsSeconds, latitude, longitude, height;
  std::string utc, photo;
  bool blurred;
  std::string fault, station;
};

inline std::vector<Truth> ReadTruth(const TempFolder& folder) {
  const Words lines = Lines(folder.Read("mission/truth.csv"));
  EXPECT_EQ(lines[0], "camera,master_tick,utc,adj_gps_seconds,latitude,longitude,height,photo,blurred,fault,station");
  std::vector<Truth> rows;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const Words f = Split(lines[i], ',');
    rows.push_back({f[0] == "1" ? 1 : 2, Number(f[1]), Number(f[3]), Number(f[4]), Number(f[5]), Number(f[6]), f[2],
                    f[7], f[8] == "1", f[9], f[10]});
  }
  return rows;
}

/// The camera events, timed by the library, and the time of the first heartbeat.
inline std::vector<tagKVSystemEvent> CameraEvents(const TempFolder& folder, FILETIME& start) {
  std::wstring error;
  std::vector<tagKVSystemEvent> events = KVUtilities::ScanKVSystemEventFile(folder.Wide("mission/events.txt"), error);
  EXPECT_EQ(error, L"");
  start = events.at(0).TimeUTC;
  std::erase_if(events, [](const tagKVSystemEvent& event) { return event.Type != 2; });
  return events;
}

}  // namespace simulated
