#pragma once

#include <filesystem>
#include <string>

#include "report/Json.h"

/// What the page of the report shows: the summary, and the records that it draws, as columns.
namespace kv::mission {

/// The state of a mission in one word, which the page colours, and one line.
struct MissionState {
  const char* word;  ///< "complete", "incomplete" or "doubtful"
  std::string line;
};
MissionState StateOf(const Mission& mission);

/// @param folder  of the page; links to photos are relative to it
Json ReportDataOf(const Mission& mission, const std::filesystem::path& folder);

}  // namespace kv::mission
