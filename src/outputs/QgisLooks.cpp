#include "outputs/QgisLooks.h"

#include <array>

namespace kv::mission {
namespace {

// Okabe and Ito's colours, and a ramp of blues.
constexpr const char* kBlack = "#000000";
constexpr const char* kWhite = "#ffffff";
constexpr const char* kGrey = "#8c8c8c";
constexpr const char* kNone = "#00000000";
constexpr const char* kVermilion = "#d55e00";  // blurred photos alone
constexpr const char* kGreen = "#009e73";
constexpr const char* kYellow = "#f0e442";
constexpr const char* kSky = "#56b4e9";
constexpr const char* kPurple = "#cc79a7";

constexpr Look Photo(const char* fill) { return {nullptr, fill, kBlack, 0.2, 3.4}; }
constexpr auto kPhotoRules = std::to_array<Rule>({
    {"blurred", "{blurred}", {nullptr, kVermilion, kBlack, 0.4, 4.4}},
    {"least sharp quarter", "{sharp} AND {rank} < {lower}", Photo("#deebf7")},
    {"second quarter", "{sharp} AND {rank} >= {lower} AND {rank} < {middle}", Photo("#9ecae1")},
    {"third quarter", "{sharp} AND {rank} >= {middle} AND {rank} < {upper}", Photo("#4292c6")},
    {"sharpest quarter", "{sharp} AND {rank} >= {upper}", Photo("#08519c")},
    {"sharpness unknown", "ELSE", {nullptr, kNone, kBlack, 0.4, 3.4}},
});

constexpr Look Cross(const char* shape, const char* colour) { return {shape, kNone, colour, 0.8, 3.2}; }
constexpr auto kDroppedRules = std::to_array<Rule>({
    {"no photo", "\"reason_code\" = 'no-photo'", Cross("cross2", kBlack)},
    {"no photo folder", "\"reason_code\" = 'no-photo-folder'", Cross("cross2", kPurple)},
    {"inside a gap of the trajectory", "\"reason_code\" = 'inside-gap'", Cross("cross", kBlack)},
    {"another reason", "ELSE", {"diamond", kYellow, kBlack, 0.4, 3.2}},
});

constexpr auto kStationRules = std::to_array<Rule>({
    {"two exposures", "{exposures} = 2", {"diamond", kNone, kGreen, 0.5, 4.6}},
    {"one exposure", "{exposures} = 1", {"diamond", kNone, kPurple, 0.5, 4.6}},
    {"unknown", "ELSE", {"diamond", kNone, kGrey, 0.5, 4.6}},
});

constexpr Look Fix(const char* fill) { return {"circle", fill, kNone, 0, 1.2}; }
constexpr auto kFixRules = std::to_array<Rule>({
    {"RTK fixed", "{quality} = 'fixed'", Fix(kGreen)},
    {"RTK float", "{quality} = 'float'", Fix(kYellow)},
    {"DGPS", "{quality} = 'dgps'", Fix(kSky)},
    {"single", "{quality} = 'single'", Fix(kPurple)},
    {"estimated", "{quality} = 'estimated'", Fix(kBlack)},
    {"simulated", "{quality} = 'simulated'", Fix(kGrey)},
    {"quality unknown", "ELSE", {"circle", kWhite, kBlack, 0.2, 1.2}},
});
constexpr auto kPlainFixRules = std::to_array<Rule>({{"fix", "", {"circle", kWhite, kBlack, 0.2, 1.2}}});

constexpr auto kTrajectoryRules = std::to_array<Rule>({{"trajectory", "", {"solid", "", "#595959", 0.4, 0}}});
constexpr auto kGapRules = std::to_array<Rule>({
    {"gap", "\"kind\" = 'gap'", {"dash", "", kPurple, 0.8, 0}},
    {"jump, 180th meridian", "ELSE", {"dot", "", kBlack, 0.8, 0}},
});

constexpr auto kHousekeepingRules = std::to_array<Rule>({
    {"error", "{type} ILIKE 'ERR%'", {"star", kPurple, kBlack, 0.3, 3.6}},
    {"warning", "{type} ILIKE 'WARN%'", {"star", kYellow, kBlack, 0.3, 3}},
    {"entry", "ELSE", {"square", kGrey, kNone, 0, 1}},
});

constexpr auto kPosRules = std::to_array<Rule>({{"POS sample", "", {"circle", kSky, kNone, 0, 1.2}}});

constexpr LayerLook kPhotos{
    .symbol = Symbol::Marker,
    .rules = kPhotoRules,
    .when = When::Instant,
    .facts =
        "{photo}, 'Camera ' || {camera}, {time}, attribute($currentfeature, 'reason'), if({blurred}, 'Blurred', "
        "NULL), 'Sharpness ' || round({sharpness}, 1), 'Sharper than ' || round(attribute($currentfeature, "
        "'sharpness_percentile')) || ' % of the camera''s other photos', 'Position: ' || {quality}",
    .photos = {"{photo_path}"},
    .order = "{camera} + if({blurred}, 2, 0)",
    .byCamera = true};
constexpr LayerLook kDropped = [] {
  LayerLook look = kPhotos;
  look.rules = kDroppedRules, look.order = "0", look.byCamera = false;
  return look;
}();
constexpr LayerLook kStations{.symbol = Symbol::Marker,
                              .rules = kStationRules,
                              .when = When::Instant,
                              .facts = "{time}, 'Exposures: ' || {exposures}",
                              .photos = {"{photo1_path}", "{photo2_path}"}};
constexpr LayerLook kTrajectory{.symbol = Symbol::Line,
                                .rules = kTrajectoryRules,
                                .when = When::Span,
                                .facts = "'From ' || {first}, 'To ' || {last}"};
constexpr LayerLook kFixes{.symbol = Symbol::Marker,
                           .rules = kFixRules,
                           .when = When::Instant,
                           .facts =
                               "{time}, 'Position: ' || \"position_quality\", \"satellites\" || ' satellites', "
                               "'HDOP ' || \"hdop\", 'Accuracy ' || \"horizontal_accuracy\" || ' m'"};
constexpr LayerLook kPlainFixes{
    .symbol = Symbol::Marker, .rules = kPlainFixRules, .when = When::Instant, .facts = "{time}"};
constexpr LayerLook kGaps{.symbol = Symbol::Line,
                          .rules = kGapRules,
                          .when = When::Span,
                          .facts = "\"kind\", 'From ' || {first}, 'To ' || {last}, \"seconds\" || ' s'"};
constexpr LayerLook kHousekeeping{.symbol = Symbol::Marker,
                                  .rules = kHousekeepingRules,
                                  .when = When::Instant,
                                  .facts = "{time}, {type}, {text}",
                                  .order = "{type} ILIKE 'ERR%'"};
constexpr LayerLook kPos{.symbol = Symbol::Marker, .rules = kPosRules, .when = When::Instant, .facts = "{time}"};

constexpr auto kGeoPackageRows = std::to_array<NamedLook>({{"photos", &kPhotos},
                                                           {"dropped", &kDropped},
                                                           {"stations", &kStations},
                                                           {"gaps", &kGaps},
                                                           {"trajectory", &kTrajectory},
                                                           {"fixes", &kFixes},
                                                           {"pos", &kPos},
                                                           {"housekeeping", &kHousekeeping}});
constexpr auto kShapefileRows = std::to_array<NamedLook>({{"photos", &kPhotos},
                                                          {"stations", &kStations},
                                                          {"trajectory_line", &kTrajectory},
                                                          {"trajectory_points", &kPlainFixes},
                                                          {"pos_points", &kPos},
                                                          {"log_points", &kHousekeeping}});

}  // namespace

const std::span<const NamedLook> kGeoPackageLooks = kGeoPackageRows, kShapefileLooks = kShapefileRows;

}  // namespace kv::mission
