#pragma once

#include <KVRecords.h>

#include <string>
#include <vector>

#include "base/Log.h"
#include "mission/OutputFolder.h"

namespace kv::mission {

struct Layer {
  const char* name;
  std::size_t records;
};

/// Write a layer into the staging folder. @throws Failure with the library's sentence; when the user interrupts
Layer WriteTrajectoryLine(const OutputFolder& output, const std::vector<tagKVTrajectoryObs>& trajectory,
                          const Log& log);
Layer WriteTrajectoryPoints(const OutputFolder& output, std::vector<tagKVTrajectoryObs>&& trajectory, const Log& log);
Layer WriteLogPoints(const OutputFolder& output, std::vector<tagKVLogEvent>&& events, const Log& log);
Layer WriteStations(const OutputFolder& output, std::vector<tagKVExposureStation>&& stations, const Log& log);
/// @param events  camera events; each is a record
Layer WritePhotos(const OutputFolder& output, std::vector<tagKVSystemEvent>&& events, const Log& log);

/// @param name        of the layer
/// @param projection  content of the .prj
Layer WritePosPoints(const OutputFolder& output, const char* name, std::vector<tagKVPosEvent>&& samples,
                     const std::wstring& projection, const Log& log);

/// Photo paths that the attribute table cannot hold: it has 254 characters of Windows-1252.
void WarnOfPhotoPaths(const std::vector<tagKVSystemEvent>& events, Log& log);

}  // namespace kv::mission
