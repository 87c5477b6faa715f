#include "KVUtilities.h"
#include "export/Layer.h"

namespace {

using kv::Decimal, kv::Integer, kv::Text, kv::TickText, kv::TimeText;

using Station = tagKVExposureStation;
using Row = kv::Row<Station>;

constexpr auto kColumns = std::to_array<kv::Column<Station>>({
    {"Index", Integer<10>{}, [](const Station&, Row row) { return row.number; }},
    {"TimeUTC", TimeText{}, [](const Station& station, Row) { return station.TimeUTC; }},
    {"Latitude", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Latitude; }},
    {"Longitude", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Longitude; }},
    {"Altitude", Decimal<14, 4>{}, [](const Station& station, Row) { return station.Altitude; }},
    {"TimeTick", TickText{}, [](const Station& station, Row) { return station.TimeUTC; }},
    {"Cam1Time", TimeText{}, [](const Station& station, Row) { return station.Cam1Event.TimeUTC; }},
    {"Cam1Lat", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Cam1Event.Latitude; }},
    {"Cam1Lon", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Cam1Event.Longitude; }},
    {"Cam1Alt", Decimal<14, 4>{}, [](const Station& station, Row) { return station.Cam1Event.Altitude; }},
    {"Cam1MCTick", Decimal<14, 1>{}, [](const Station& station, Row) { return station.Cam1Event.MasterTick; }},
    {"Cam1Sharp", Decimal<14, 1>{}, [](const Station& station, Row) { return station.Cam1Event.Sharpness; }},
    {"Cam1TmTick", TickText{}, [](const Station& station, Row) { return station.Cam1Event.TimeUTC; }},
    {"Cam1Path", Text<254>{}, [](const Station& station, Row) { return station.Cam1Event.PhotoPath.GetString(); }},
    {"Cam2Time", TimeText{}, [](const Station& station, Row) { return station.Cam2Event.TimeUTC; }},
    {"Cam2Lat", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Cam2Event.Latitude; }},
    {"Cam2Lon", Decimal<14, 8>{}, [](const Station& station, Row) { return station.Cam2Event.Longitude; }},
    {"Cam2Alt", Decimal<14, 4>{}, [](const Station& station, Row) { return station.Cam2Event.Altitude; }},
    {"Cam2MCTick", Decimal<14, 1>{}, [](const Station& station, Row) { return station.Cam2Event.MasterTick; }},
    {"Cam2Sharp", Decimal<14, 1>{}, [](const Station& station, Row) { return station.Cam2Event.Sharpness; }},
    {"Cam2TmTick", TickText{}, [](const Station& station, Row) { return station.Cam2Event.TimeUTC; }},
    {"Cam2Path", Text<254>{}, [](const Station& station, Row) { return station.Cam2Event.PhotoPath.GetString(); }},
});
static_assert(FitsTable(kColumns) && RecordBytes(kColumns) == kv::kStationBytes);

constexpr kv::Layer<Station> kStationLayer{
    .shapeType = SHPT_POINTZ,
    .columns = kColumns,
    .addVertices = [](const Station& station, Row,
                      kv::Shape& shape) { shape.AddVertex(station.Longitude, station.Latitude, station.Altitude); },
    .shapefileNotCreated = L"Error creating Station Shapefile.",
    .tableNotCreated = L"Error creating Station DBF file.",
    .shapeNotCreated = L"Error creating Exposure Station point shape.",
    .shapeNotWritten = L"Error writing Exposure Station point shape.",
};

}  // namespace

bool KVUtilities::ExportExposureStationPointShapefile(std::wstring path, std::vector<tagKVExposureStation> stations,
                                                      std::wstring& error) {
  return kv::ExportLayer(path, kStationLayer, std::span<const Station>(stations), error);
}
