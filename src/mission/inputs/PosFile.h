#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/Job.h"
#include "readers/LineReader.h"

/// POS files, read with care.
/// @see docs/formats/pos.md
namespace kv::mission {

/// Lines of a POS file, each with an LF.
struct PosLines {
  std::string text;
  std::size_t before = 0;  ///< lines before them in the file
};

/// Takes the next lines of a POS file.
/// @param count  the most lines to take; fewer when they are long
/// @return       false when there are none left
/// @throws       Failure when the file cannot be read; (Stopped)
bool TakeLines(LineReader& reader, std::size_t count, PosLines& lines);

/// What some lines hold.
struct PosPart {
  PosFile file;
  std::vector<tagKVPosEvent> samples;
  LineNumbers lines;  ///< of the samples
};

/// Classifies each line and makes records of the samples.
/// @param wantsSamples  else they are only counted
PosPart ReadPosLines(const PosLines& lines, bool wantsSamples);

/// Adds the content of the lines that follow.
void Append(const PosFile& next, PosFile& file);

/// Reads a whole file and reports what is left out.
/// @throws Failure when the file cannot be read; (Stopped)
PosFile ReadPosFile(const std::filesystem::path& path, Job& job);

/// Reports what is left out and why, except comments and blank lines.
void TellOfPosLines(const PosCounts& counts, Job& job);

}  // namespace kv::mission
