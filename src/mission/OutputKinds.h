#pragma once

#include <KVMission.h>

#include <string>
#include <string_view>
#include <vector>

#include "base/Job.h"
#include "mission/OutputFolder.h"

namespace kv::mission {

/// A kind of result: what its files are called, and how they are written.
struct OutputRow {
  OutputKind kind;
  Results results;                                                              ///< every name that it may have
  void (*write)(const Mission& mission, const OutputFolder& output, Job& job);  ///< into the staging folder
  bool needsPhotos = false;     ///< in the photo layer, which is not made when results are in doubt
  const char* needs = nullptr;  ///< name of another kind, written before it even if nobody asks for that
};

/// In the order in which they are written.
const std::vector<OutputRow>& OutputRows();

/// "shp, gpkg, ..."
std::string OutputNames();

/// Whether the photo layer is made and has a photo.
bool HasPlacedPhotos(const Mission& mission);

/// Names of those that are written, in the order of `OutputRows`.
std::vector<std::string> WantedOutputs(const Mission& mission);

/// @param name  of a kind of result
bool IsWanted(std::string_view name, const Settings& settings);

inline constexpr const char* kSummaryFile = "summary.json";
inline constexpr const char* kReportOutput = "report";
inline constexpr const char* kReportFile = "report.html";

/// Writes the results that are wanted into the staging folder.
/// @throws Failure; (Stopped)
void WriteResults(const Mission& mission, const OutputFolder& output, Job& job);

}  // namespace kv::mission
