#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/Job.h"
#include "readers/LineReader.h"
#include "readers/PosHeader.h"

/// POS files, read with care.
/// @see docs/formats/pos.md
namespace kv::mission {

/// Lines of a POS file, each with an LF.
struct PosLines {
  std::string text;
  std::size_t before = 0;  ///< lines before them in the file
  PosForm form = {};       ///< of those with data, as the header says
};

/// Takes the next lines of a POS file. They end where a header changes the form of the lines after it, so that threads
/// can share a file.
/// @param count  the most lines to take; fewer when they are long
/// @return       false when there are none left
/// @throws       Failure when the file cannot be read; (Stopped)
bool TakeLines(LineReader& reader, PosHeader& header, std::size_t count, PosLines& lines);

/// What some lines hold.
struct PosPart {
  PosFile file;
  std::vector<tagKVPosEvent> samples;
  LineNumbers lines;  ///< of the samples
};

/// What is wanted of the samples.
enum class PosDetail {
  Counts,   ///< no records
  Places,   ///< records of `Latitude`, `Longitude`, `Height` and `TimeUTC`; their other fields have no meaning
  Records,  ///< whole records
};

/// Classifies each line and makes records of the samples.
/// @param room  records to use again
PosPart ReadPosLines(const PosLines& lines, PosDetail wanted, std::vector<tagKVPosEvent> room = {});

/// Adds the content of the lines that follow.
void Append(const PosFile& next, PosFile& file);

/// Reads a whole file and reports what is left out.
/// @throws Failure when the file cannot be read; (Stopped)
PosFile ReadPosFile(const std::filesystem::path& path, Job& job);

/// Reports what is left out and why, except comments and blank lines, and what had to be assumed.
void TellOfPosFile(const PosFile& file, Job& job);

/// @param form  that the header gives
/// @throws Failure with the reason when there is no sample
void RefuseWithoutSample(const std::filesystem::path& path, const PosCounts& counts, const PosForm& form);

/// Reads a POS file as a trajectory. Heights above the geoid become ellipsoidal.
/// @throws Failure without a usable sample, or when a geoid grid is missing; when the file cannot be read; (Stopped)
Trajectory ReadPosTrajectory(const std::filesystem::path& path, double maxGapSeconds, Job& job);

}  // namespace kv::mission
