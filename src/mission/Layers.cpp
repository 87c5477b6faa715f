#include "mission/Layers.h"

#include <KVUtilities.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/Failure.h"
#include "base/Interrupt.h"
#include "platform/FileNames.h"

namespace kv::mission {
namespace {

constexpr std::size_t kPathWidth = 254;  // of the photo layer's column
/// Characters of Windows-1252 at 0x80 to 0x9F. Source: the Unicode Consortium's CP1252.TXT.
constexpr std::wstring_view kFrom80To9F =
    L"\u20AC\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u017D"
    L"\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u017E"
    L"\u0178";

bool InCodePage(wchar_t character) {
  return character < 0x80 || (character >= 0xA0 && character <= 0xFF) ||
         kFrom80To9F.find(character) != std::wstring_view::npos;
}

bool FitsColumn(const CStringW& path) {
  const std::wstring_view text = path.GetString();
  return text.size() <= kPathWidth && std::all_of(text.begin(), text.end(), InCodePage);
}

/// The library does not report a .prj that could not be written.
void CheckProjectionFile(const std::filesystem::path& layer) {
  std::error_code error;
  const auto projection = std::filesystem::path(layer).replace_extension(".prj");
  if (std::filesystem::file_size(projection, error) == 0 || error)
    throw Failure(Utf8(projection.filename()) + ": cannot be written");
}

template <typename Export, typename Records>
Layer Write(const OutputFolder& output, const char* name, Export exportLayer, Records&& records, const Log& log) {
  ThrowIfInterrupted();
  const Layer layer{name, records.size()};
  const auto path = output.Staging() / (std::string(name) + ".shp");
  log.Note("writing {}, {}", name, Counted(layer.records, "record"));
  std::wstring error;
  if (!exportLayer(WidePath(path), std::forward<Records>(records), error))
    throw Failure(fmt::format("{}: {}", Utf8(output.Path() / path.filename()), Utf8(error)));
  CheckProjectionFile(path);
  ThrowIfInterrupted();
  return layer;
}

}  // namespace

Layer WriteTrajectoryLine(const OutputFolder& output, const std::vector<tagKVTrajectoryObs>& trajectory,
                          const Log& log) {
  Layer layer = Write(output, kTrajectoryLine, KVUtilities::ExportTrajectoryLineShapefile, trajectory, log);
  layer.records = 1;
  return layer;
}

Layer WriteTrajectoryPoints(const OutputFolder& output, std::vector<tagKVTrajectoryObs>&& trajectory, const Log& log) {
  return Write(output, kTrajectoryPoints, KVUtilities::ExportTrajectoryPointShapefile, std::move(trajectory), log);
}

Layer WriteLogPoints(const OutputFolder& output, std::vector<tagKVLogEvent>&& events, const Log& log) {
  return Write(output, kLogPoints, KVUtilities::ExportLogPointShapefile, std::move(events), log);
}

Layer WriteStations(const OutputFolder& output, std::vector<tagKVExposureStation>&& stations, const Log& log) {
  return Write(output, kStations, KVUtilities::ExportExposureStationPointShapefile, std::move(stations), log);
}

Layer WritePhotos(const OutputFolder& output, std::vector<tagKVSystemEvent>&& events, const Log& log) {
  return Write(output, kPhotos, KVUtilities::ExportPhotoPointShapefile, std::move(events), log);
}

Layer WritePosPoints(const OutputFolder& output, const char* name, std::vector<tagKVPosEvent>&& samples,
                     const std::wstring& projection, const Log& log) {
  const auto exportLayer = [&](std::wstring path, std::vector<tagKVPosEvent> records, std::wstring& error) {
    return KVUtilities::ExportPosPointShapefile(std::move(path), std::move(records), projection, error);
  };
  return Write(output, name, exportLayer, std::move(samples), log);
}

void WarnOfPhotoPaths(const std::vector<tagKVSystemEvent>& events, Log& log) {
  const auto unfit =
      std::count_if(events.begin(), events.end(), [](auto& event) { return !FitsColumn(event.PhotoPath); });
  if (unfit > 0)
    log.Warn("{} cannot be written whole: the table takes {} characters of Windows-1252",
             Counted(static_cast<std::size_t>(unfit), "photo path"), kPathWidth);
}

}  // namespace kv::mission
