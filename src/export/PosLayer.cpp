#include "KVUtilities.h"
#include "export/Layer.h"
#include "platform/FileNames.h"

namespace {

using kv::Decimal, kv::Integer, kv::Text, kv::TimeText;

using Sample = tagKVPosEvent;
using Row = kv::Row<Sample>;

// A column with a text of the file, unchanged.
template <CStringW Sample::*kText>
constexpr kv::Column<Sample> Kept(std::string_view name) {
  return {name, Text<30>{}, [](const Sample& sample, Row) { return (sample.*kText).GetString(); }};
}

constexpr auto kColumns = std::to_array<kv::Column<Sample>>({
    {"Index", Integer<10>{}, [](const Sample&, Row row) { return row.number; }},
    {"TimeUTC", TimeText{}, [](const Sample& sample, Row) { return sample.TimeUTC; }},
    {"AdjGpsSec", Decimal<16, 6>{}, [](const Sample& sample, Row) { return sample.AdjGpsSec; }},
    Kept<&Sample::GpsWeekText>("GpsWeek"),
    Kept<&Sample::GpsSecondsText>("GpsSeconds"),
    {"Latitude", Decimal<14, 8>{}, [](const Sample& sample, Row) { return sample.Latitude; }},
    {"Longitude", Decimal<14, 8>{}, [](const Sample& sample, Row) { return sample.Longitude; }},
    {"Height", Decimal<14, 4>{}, [](const Sample& sample, Row) { return sample.Height; }},
    {"X", Decimal<19, 8>{}, [](const Sample& sample, Row) { return sample.X; }},
    {"Y", Decimal<19, 8>{}, [](const Sample& sample, Row) { return sample.Y; }},
    {"Z", Decimal<14, 4>{}, [](const Sample& sample, Row) { return sample.Z; }},
    Kept<&Sample::Token6>("Token6"),
    Kept<&Sample::Token7>("Token7"),
    Kept<&Sample::Token8>("Token8"),
    Kept<&Sample::Token9>("Token9"),
    Kept<&Sample::Token10>("Token10"),
    Kept<&Sample::Token11>("Token11"),
    Kept<&Sample::Token12>("Token12"),
    Kept<&Sample::Token13>("Token13"),
    Kept<&Sample::Token14>("Token14"),
    Kept<&Sample::Token15>("Token15"),
});
static_assert(FitsTable(kColumns) && RecordBytes(kColumns) == kv::kPosPointBytes);

constexpr kv::Layer<Sample> kPosLayer{
    .shapeType = SHPT_POINTZ,
    .columns = kColumns,
    .addVertices = [](const Sample& sample, Row, kv::Shape& shape) { shape.AddVertex(sample.X, sample.Y, sample.Z); },
    .shapefileNotCreated = L"Error creating POS Shapefile.",
    .tableNotCreated = L"Error creating POS DBF file.",
    .projection = kv::Projection::Needed,  // it alone says what X and Y are
};

}  // namespace

bool KVUtilities::ExportPosPointShapefile(std::wstring path, std::vector<tagKVPosEvent> events,
                                          std::wstring projectionWkt, std::wstring& error) {
  return kv::ExportLayer(path, kPosLayer, std::span<const Sample>(events), error, kv::Utf8FromWide(projectionWkt));
}
