#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "base/Progress.h"
#include "mission/inputs/Trajectory.h"
#include "readers/LineReader.h"
#include "readers/PosLine.h"

/// What a POS file holds before anything is transformed.
namespace kv::mission {

struct PosCounts {
  std::size_t lines = 0;  ///< up to where the scan ends
  std::array<std::size_t, kPosLineKinds> kinds{};
  std::array<std::size_t, kPosLineKinds> firstLines{};  ///< number of the first line of each kind, from 1

  std::size_t Of(PosLineKind kind) const { return kinds[static_cast<std::size_t>(kind)]; }
  /// Left out although they are neither comments nor blank.
  std::size_t Dropped() const {
    return lines - Of(PosLineKind::Sample) - Of(PosLineKind::Comment) - Of(PosLineKind::Blank);
  }
  /// Adds what the lines behind these count.
  void Append(const PosCounts& next);
};

struct PosFile {
  PosCounts counts;
  std::vector<std::size_t> sampleLines;             ///< number of each sample's line, from 1
  std::optional<std::int32_t> firstWeek, lastWeek;  ///< least and greatest
  Bounds bounds;                                    ///< of the samples, as they stand in the file

  /// Adds what the lines behind these hold.
  void Append(const PosFile& next);
};

/// Some lines of a POS file, each with a line end.
struct PosLines {
  std::string text;
  std::size_t before = 0;  ///< lines that stand before them in the file
};

/// Gives out the lines of a POS file, as far as the scan reads it, without byte-order mark.
class PosReader {
 public:
  /// @throws Failure when the file cannot be opened
  PosReader(const std::filesystem::path& path, const Log& messages);

  /// @param count  the most lines to take; fewer when they are long
  /// @return       false when there are none left
  /// @throws       Failure when the file cannot be read, or the user interrupts
  bool Take(std::size_t count, PosLines& lines);

 private:
  LineReader reader_;
  Progress progress_;
  std::size_t given_ = 0;
};

/// Looks at lines as the scan will, and leaves only the samples among them.
PosFile KeepSamples(PosLines& lines);

/// Looks at a whole file.
/// @throws Failure when the file cannot be read, or the user interrupts
PosFile ReadPosFile(const std::filesystem::path& path, const Log& messages);

/// The kinds of lines that are left out, with the words for people and the key for programs.
struct LeftOutPosLine {
  PosLineKind kind;
  const char* words;
  const char* key;
};
inline constexpr std::array<LeftOutPosLine, kPosLineKinds - 1> kLeftOutPosLines{{
    {PosLineKind::CalendarTime, "with a date and time of day instead of GPS week and seconds of week", "calendarTime"},
    {PosLineKind::CommaSeparated, "with commas or semicolons between the columns instead of blanks", "commaSeparated"},
    {PosLineKind::DegreesMinutesSeconds,
     "with degrees, minutes and seconds in columns of their own instead of decimal degrees", "degreesMinutesSeconds"},
    {PosLineKind::Ecef, "whose columns look like ECEF metres instead of latitude, longitude and height", "ecef"},
    {PosLineKind::OutOfRange, "with a latitude or longitude out of range", "outOfRange"},
    {PosLineKind::NotANumber, "where week, seconds, latitude, longitude or height is no number", "notANumber"},
    {PosLineKind::Short, "of fewer than 15 columns", "short"},
    {PosLineKind::Comment, "that are comments or headers", "comments"},
    {PosLineKind::Blank, "that are blank", "blank"},
}};

/// Says what is left out and why, but for comments and blank lines.
void WarnOfPosLines(const PosCounts& counts, Log& log);

/// "301 with a date and time of day instead of GPS week and seconds of week, 25 that are comments or headers"; empty
/// when nothing was left out.
std::string LeftOutText(const PosCounts& counts);

}  // namespace kv::mission
