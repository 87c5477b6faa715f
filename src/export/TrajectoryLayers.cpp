#include "KVUtilities.h"
#include "export/Layer.h"
#include "time/FileTimes.h"

namespace {

using kv::Column, kv::Decimal, kv::Integer, kv::Text, kv::TickText, kv::TimeText;

using Fix = tagKVTrajectoryObs;
using Trajectory = std::vector<Fix>;
using FixRow = kv::Row<Fix>;
using LineRow = kv::Row<Trajectory>;

constexpr const wchar_t* kEmptyTrajectory = L"ExportTrajectoryLineShapefile: Trajectory vector is empty.";

// The measure is the distance in seconds from the first fix, never negative, in any order of the fixes.
void AddVertex(const Fix& fix, const Fix& first, kv::Shape& shape) {
  shape.AddVertex(fix.Longitude, fix.Latitude, fix.Altitude, kv::SecondsBetween(fix.TimeUTC, first.TimeUTC));
}

constexpr auto kPointColumns = std::to_array<Column<Fix>>({
    {"Index", Integer<10>{}, [](const Fix&, FixRow row) { return row.number; }},
    {"TimeUTC", TimeText{}, [](const Fix& fix, FixRow) { return fix.TimeUTC; }},
    {"Latitude", Decimal<14, 8>{}, [](const Fix& fix, FixRow) { return fix.Latitude; }},
    {"Longitude", Decimal<14, 8>{}, [](const Fix& fix, FixRow) { return fix.Longitude; }},
    {"Altitude", Decimal<14, 4>{}, [](const Fix& fix, FixRow) { return fix.Altitude; }},
    {"AltUnit", Text<10>{}, [](const Fix& fix, FixRow) { return fix.AltUnit.GetString(); }},
    {"GeoidOffst", Decimal<14, 8>{}, [](const Fix& fix, FixRow) { return fix.GeoidOffst; }},
    {"TimeTick", TickText{}, [](const Fix& fix, FixRow) { return fix.TimeUTC; }},
    {"TrajStart", TimeText{}, [](const Fix&, FixRow row) { return row.first.TimeUTC; }, kv::Varies::kNever},
    {"TrajTick", TickText{}, [](const Fix&, FixRow row) { return row.first.TimeUTC; }, kv::Varies::kNever},
    {"AdjGpsSec", Decimal<16, 6>{}, [](const Fix& fix, FixRow) { return fix.AdjGpsSec; }},
});
static_assert(FitsTable(kPointColumns) && RecordBytes(kPointColumns) == kv::kTrajectoryPointBytes);

constexpr kv::Layer<Fix> kPointLayer{
    .shapeType = SHPT_POINTZ,
    .columns = kPointColumns,
    .addVertices = [](const Fix& fix, FixRow row, kv::Shape& shape) { AddVertex(fix, row.first, shape); },
    .shapefileNotCreated = L"Error creating Trajectory Point Shapefile.",
    .tableNotCreated = L"Error creating Trajectory Point DBF file.",
};

constexpr auto kLineColumns = std::to_array<Column<Trajectory>>({
    {"Index", Integer<10>{}, [](const Trajectory&, LineRow row) { return row.number; }},
    {"TimeStart", TimeText{}, [](const Trajectory& fixes, LineRow) { return fixes.front().TimeUTC; }},
    {"TimeEnd", TimeText{}, [](const Trajectory& fixes, LineRow) { return fixes.back().TimeUTC; }},
    {"TimeTick", TickText{}, [](const Trajectory& fixes, LineRow) { return fixes.front().TimeUTC; }},
});
static_assert(FitsTable(kLineColumns));

void AddLine(const Trajectory& fixes, LineRow, kv::Shape& shape) {
  shape.Reserve(fixes.size());
  for (const Fix& fix : fixes) AddVertex(fix, fixes.front(), shape);
}

// One record: the whole trajectory.
constexpr kv::Layer<Trajectory> kLineLayer{
    .shapeType = SHPT_ARCZ,
    .columns = kLineColumns,
    .addVertices = AddLine,
    .shapefileNotCreated = L"Error creating Trajectory Line Shapefile.",
    .tableNotCreated = L"Error creating Trajectory Line DBF file.",
    .shapeNotCreated = L"Error creating Trajectory Line shape object.",
};

}  // namespace

bool KVUtilities::ExportTrajectoryLineShapefile(std::wstring path, std::vector<tagKVTrajectoryObs> trajectory,
                                                std::wstring& error) {
  if (trajectory.empty()) {
    error = kEmptyTrajectory;
    return false;
  }
  return kv::ExportLayer(path, kLineLayer, std::span<const Trajectory>(&trajectory, 1), error);
}

bool KVUtilities::ExportTrajectoryPointShapefile(std::wstring path, std::vector<tagKVTrajectoryObs> trajectory,
                                                 std::wstring& error) {
  return kv::ExportLayer(path, kPointLayer, std::span<const Fix>(trajectory), error);
}
