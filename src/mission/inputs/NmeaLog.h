#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Log.h"
#include "readers/NmeaSentence.h"

namespace kv::mission {

/// What a receiver's log holds.
struct NmeaCounts {
  std::size_t lines = 0;
  std::array<std::size_t, kLineKinds> kinds{};
  std::map<std::string, std::size_t, std::less<>> others;  ///< lines of `OtherSentence` by type
  std::map<int, std::size_t> qualities;                    ///< fixes by the receiver's quality figure
  std::size_t truncatedTimes = 0;                          ///< fixes with a time finer than a hundredth of a second

  std::size_t Of(LineKind kind) const { return kinds[static_cast<std::size_t>(kind)]; }
};

struct NmeaLog {
  NmeaCounts counts;
  std::optional<Hundredths> firstFix;  ///< its time of day
  std::vector<int> days;               ///< of the pieces of the copy, counted from the first fix's
  std::optional<Instant> dated;        ///< of the first dated sentence after the first fix, else of the last before it
};

/// A file of the copy of a log's fixes. Each has the fixes of one day: over midnight the trajectory reader follows the
/// date only from a fix of the last hour to one of the first, and it never goes back.
std::filesystem::path PieceOf(const std::filesystem::path& copy, std::size_t number);

/// Copies the fixes of a log, and nothing else, to new files that the trajectory reader takes: one for each day, and
/// for each return to the day before, as when receivers take turns and one is late.
/// @throws Failure when a file cannot be read or written, or the user interrupts
NmeaLog CopyFixes(const std::filesystem::path& log, const std::filesystem::path& copy, const Log& messages);

/// The kinds of lines that are left out, with the words for people and the key for programs.
struct LeftOutKind {
  LineKind kind;
  const char* words;
  const char* key;
};
inline constexpr std::array<LeftOutKind, 7> kLeftOutKinds{{
    {LineKind::NoFix, "without a fix", "noFix"},
    {LineKind::Incomplete, "incomplete", "incomplete"},
    {LineKind::RepeatedTime, "of a repeated time", "repeatedTime"},
    {LineKind::BadChecksum, "with a wrong checksum", "badChecksum"},
    {LineKind::OtherSentence, "other sentences", "otherSentences"},
    {LineKind::NotASentence, "that are no sentence", "notASentence"},
    {LineKind::Blank, "blank", "blank"},
}};

/// "1204 other sentences (GSA 301, RMC 903), 3 without a fix"; empty when nothing was left out.
std::string LeftOutText(const NmeaCounts& counts);

}  // namespace kv::mission
