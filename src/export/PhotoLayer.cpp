#include "KVUtilities.h"
#include "export/Layer.h"
#include "georef/EventTypes.h"

namespace {

using kv::Decimal, kv::Integer, kv::Logical, kv::Text, kv::TickText, kv::TimeText;

using Photo = tagKVSystemEvent;
using Row = kv::Row<Photo>;

// A column whose value is unknown here: zero, empty or false. It gives the layer the columns of photo layers from other
// sources.
template <class Kind>
constexpr kv::Column<Photo> Unknown(std::string_view name, Kind kind) {
  return {name, kind, [](const Photo&, Row) { return typename Kind::Value{}; }, kv::Varies::kNever};
}

constexpr auto kColumns = std::to_array<kv::Column<Photo>>({
    {"TimeUTC", TimeText{}, [](const Photo& photo, Row) { return photo.TimeUTC; }},
    {"POSQuality", Text<254>{}, [](const Photo& photo, Row) { return photo.POSQuality.c_str(); }},
    {"ORIQuality", Text<254>{}, [](const Photo& photo, Row) { return photo.ORIQuality.c_str(); }},
    {"Latitude", Decimal<14, 8>{}, [](const Photo& photo, Row) { return photo.Latitude; }},
    {"Longitude", Decimal<14, 8>{}, [](const Photo& photo, Row) { return photo.Longitude; }},
    {"Altitude", Decimal<14, 4>{}, [](const Photo& photo, Row) { return photo.Altitude; }},
    Unknown("Yaw", Decimal<14, 8>{}),
    Unknown("Pitch", Decimal<14, 8>{}),
    Unknown("Roll", Decimal<14, 8>{}),
    {"MasterTick", Decimal<14, 1>{}, [](const Photo& photo, Row) { return photo.MasterTick; }},
    {"Sharpness", Decimal<14, 1>{}, [](const Photo& photo, Row) { return photo.Sharpness; }},
    {"TimeTick", TickText{}, [](const Photo& photo, Row) { return photo.TimeUTC; }},
    {"CameraID", Integer<10>{}, [](const Photo& photo, Row) { return photo.CameraID; }},
    {"PhotoPath", Text<254>{}, [](const Photo& photo, Row) { return photo.PhotoPath.GetString(); }},
    Unknown("GUID", Text<254>{}),
    Unknown("PlatformID", Text<254>{}),
    Unknown("XYAcc", Decimal<14, 4>{}),
    Unknown("ZAcc", Decimal<14, 4>{}),
    Unknown("RollPitAcc", Decimal<14, 4>{}),
    Unknown("YawAcc", Decimal<14, 4>{}),
    Unknown("CamCalib", Logical{}),
    {"AdjGpsSec", Decimal<16, 6>{}, [](const Photo& photo, Row) { return photo.AdjGpsSec; }},
    Unknown("ImgHgt", Integer<10>{}),
    Unknown("ImgWidth", Integer<10>{}),
    Unknown("FocalLen", Decimal<14, 8>{}),
    Unknown("CamCX", Decimal<14, 8>{}),
    Unknown("CamCY", Decimal<14, 8>{}),
    Unknown("CamK1", Decimal<14, 8>{}),
    Unknown("CamK2", Decimal<14, 8>{}),
    Unknown("CamK3", Decimal<14, 8>{}),
    Unknown("CamP1", Decimal<14, 8>{}),
    Unknown("CamP2", Decimal<14, 8>{}),
    Unknown("CamCalDate", Text<254>{}),
    {"Index", Integer<10>{}, [](const Photo&, Row row) { return row.number; }},
});
static_assert(FitsTable(kColumns) && RecordBytes(kColumns) == kv::kPhotoBytes);

constexpr kv::Layer<Photo> kPhotoLayer{
    .shapeType = SHPT_POINTZ,
    .columns = kColumns,
    .addVertices = [](const Photo& photo, Row,
                      kv::Shape& shape) { shape.AddVertex(photo.Longitude, photo.Latitude, photo.Altitude); },
    .shapefileNotCreated = L"Error creating Photo Shapefile.",
    .tableNotCreated = L"Error creating Photo DBF file.",
};

}  // namespace

bool KVUtilities::ExportPhotoPointShapefile(std::wstring path, std::vector<tagKVSystemEvent> events,
                                            std::wstring& error) {
  std::erase_if(events, [](const Photo& event) { return event.Type != kv::kCameraEvent; });
  return kv::ExportLayer(path, kPhotoLayer, std::span<const Photo>(events), error);
}
