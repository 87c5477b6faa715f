#pragma once

#include <KVMission.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

/// The engine's records as JSON: one function for each, whatever document it stands in.
namespace kv::mission {

using namespace KVMission;
using Json = nlohmann::ordered_json;

template <typename T>
Json OrNull(const std::optional<T>& value) {
  return value ? Json(*value) : Json(nullptr);
}
Json JsonOf(const std::optional<Instant>& time);  ///< null when there is none
Json JsonOf(const Bounds& bounds);                ///< null when empty
Json JsonOf(const PosCounts& counts);
Json JsonOf(const Trajectory& trajectory);
Json JsonOf(const EventFile& events);
Json JsonOf(const HousekeepingLog& log);
Json JsonOf(const TimestampFile& timestamps);
Json JsonOf(const OrientationFile& orientation);
Json JsonOf(const ApplanixExport& applanix);
Json JsonOf(const PosPoints& points);

/// The content of summary.json.
/// @param folder  of the layers; empty for `settings.output`
Json SummaryOf(const Mission& mission, const std::filesystem::path& folder);

/// A list of findings without the notes.
Json JsonOf(const std::vector<Finding>& findings);

/// "time", "order", "number"
const char* WordFor(PairMode mode);
/// "unchecked", "certain", "partly certain", "ambiguous", "no match"
const char* WordFor(ClockState state);

/// Indented, with a final line end; text that is not UTF-8 is replaced, control characters are escaped.
std::string Written(const Json& json);

/// `KVMission::Visible`, with a control character that stays as it is.
std::string Visible(const std::string& text, std::optional<char> kept = {});

}  // namespace kv::mission
