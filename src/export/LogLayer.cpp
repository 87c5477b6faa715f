#include "KVUtilities.h"
#include "export/Layer.h"

namespace {

using kv::Decimal, kv::Integer, kv::Text, kv::WholeSecondsText;

using Event = tagKVLogEvent;
using Row = kv::Row<Event>;

constexpr auto kColumns = std::to_array<kv::Column<Event>>({
    {"Index", Integer<10>{}, [](const Event&, Row row) { return row.number; }},
    {"Type", Text<254>{}, [](const Event& event, Row) { return event.Type.GetString(); }},
    // Without milliseconds, on purpose: the log has none.
    {"TimeUTC", WholeSecondsText{}, [](const Event& event, Row) { return event.SystemTimeUTC; }},
    {"Latitude", Decimal<14, 8>{}, [](const Event& event, Row) { return event.Latitude; }},
    {"Longitude", Decimal<14, 8>{}, [](const Event& event, Row) { return event.Longitude; }},
    {"Altitude", Decimal<14, 4>{}, [](const Event& event, Row) { return event.Altitude; }},
    {"Desc", Text<254>{}, [](const Event& event, Row) { return event.Desc.GetString(); }},
    {"CCUTemp", Decimal<14, 4>{}, [](const Event& event, Row) { return event.CCUTemp; }},
    {"BatBrdTemp", Decimal<14, 4>{}, [](const Event& event, Row) { return event.BatBrdTemp; }},
    {"BatTemp", Decimal<14, 4>{}, [](const Event& event, Row) { return event.BatTemp; }},
    {"BatVoltage", Decimal<14, 4>{}, [](const Event& event, Row) { return event.BatVoltage; }},
    {"BatCurrent", Decimal<14, 4>{}, [](const Event& event, Row) { return event.BatCurrent; }},
    {"BatPercent", Decimal<14, 4>{}, [](const Event& event, Row) { return event.BatPercent; }},
    {"AOSBrdTemp", Decimal<14, 4>{}, [](const Event& event, Row) { return event.AOSBrdTemp; }},
    {"AOSPitch", Decimal<14, 4>{}, [](const Event& event, Row) { return event.AOSPitch; }},
    {"AOSRoll", Decimal<14, 4>{}, [](const Event& event, Row) { return event.AOSRoll; }},
    {"AOSHeading", Decimal<14, 4>{}, [](const Event& event, Row) { return event.AOSHeading; }},
    {"AOSCalStat", Integer<10>{}, [](const Event& event, Row) { return event.AOSCalStat; }},
    {"AOSSysStat", Integer<10>{}, [](const Event& event, Row) { return event.AOSSysStat; }},
    // The table keeps ten characters: callers read AOSSysErro.
    {"AOSSysError", Integer<10>{}, [](const Event& event, Row) { return event.AOSSysError; }},
});
static_assert(FitsTable(kColumns) && RecordBytes(kColumns) == kv::kLogPointBytes);

// The measure is the running number, on purpose, unlike in other point layers.
void AddPoint(const Event& event, Row row, kv::Shape& shape) {
  shape.AddVertex(event.Longitude, event.Latitude, event.Altitude, row.number);
}

constexpr kv::Layer<Event> kLogLayer{
    .shapeType = SHPT_POINTZ,
    .columns = kColumns,
    .addVertices = AddPoint,
    .shapefileNotCreated = L"Error creating Log Point Shapefile.",
    .tableNotCreated = L"Error creating Log Point DBF file.",
};

}  // namespace

bool KVUtilities::ExportLogPointShapefile(std::wstring path, std::vector<tagKVLogEvent> events, std::wstring& error) {
  return kv::ExportLayer(path, kLogLayer, std::span<const Event>(events), error);
}
