#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KVUtilities.h"
#include "platform/FileNames.h"
#include "platform/TextStream.h"
#include "readers/ApplanixSamples.h"

namespace {

constexpr const wchar_t* kNoDate = L"Error scanning Applanix trajectory file. The header holds no mission date.";
constexpr const wchar_t* kMissingColumns =
    L"Error scanning Applanix trajectory file. The header names no ";  // and which
constexpr const wchar_t* kOneRowSkipped = L"There was one row that could not be read.";
constexpr const wchar_t* kRowsSkipped = L" rows that could not be read.";  // after "There were" and a number

// @param missionDate  nothing to take it from the header
std::vector<tagKVPosEvent> Scan(const std::wstring& path, std::optional<FILETIME> missionDate, std::wstring& error) {
  error.clear();
  std::vector<tagKVPosEvent> samples;
  if (!kv::PathExists(path)) return samples;
  kv::ApplanixReader reader;
  if (missionDate) reader.BeginAt(*missionDate);
  kv::TextStream file(path);
  for (std::string_view line; reader.IsReadable() && file.ReadLine(line);) reader.Read(line, samples);
  if (const std::wstring missing = reader.MissingColumns(); !missing.empty()) {
    error = kMissingColumns + missing + L".";
  } else if (!reader.IsDated()) {
    error = kNoDate;
  } else if (reader.Skipped() == 1) {
    error = kOneRowSkipped;
  } else if (reader.Skipped() > 1) {
    error = L"There were " + std::to_wstring(reader.Skipped()) + kRowsSkipped;
  }
  return samples;
}

}  // namespace

std::vector<tagKVPosEvent> KVUtilities::ScanApplanixPostProcessTrajectoryFile(std::wstring path, std::wstring& error) {
  return Scan(path, {}, error);
}

std::vector<tagKVPosEvent> KVUtilities::ScanApplanixPostProcessTrajectoryFile(FILETIME missionDate, std::wstring path,
                                                                              std::wstring& error) {
  return Scan(path, missionDate, error);
}
