#include <KVMission.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "PythonObserver.h"
#include "Tables.h"

/// The engine for Python. What callers see is python/kvutilities; this gives it the operations.
namespace kv::python {
namespace {

using namespace KVMission;
using Path = std::filesystem::path;
using Given = std::vector<std::pair<std::string, std::string>>;

Settings SettingsFrom(const Path& mission, const Given& given) {
  Settings settings = mission.empty() ? Settings() : SettingsOf(mission);
  const auto isTrajectory = [](const auto& setting) { return setting.first == "trajectory"; };
  if (std::any_of(given.begin(), given.end(), isTrajectory))
    settings.trajectory.clear(), settings.otherTrajectory.clear();
  for (const auto& [key, text] : given) Set(settings, key, text);
  return settings;
}

/// datetime.datetime in UTC.
py::object PythonTime(Instant time) {
  const auto microseconds = std::chrono::floor<std::chrono::microseconds>(time.time_since_epoch()).count();
  const py::module_ datetime = py::module_::import("datetime");
  const py::object utc = datetime.attr("timezone").attr("utc");
  return datetime.attr("datetime")(1970, 1, 1, 0, 0, 0, 0, utc) + datetime.attr("timedelta")(0, 0, microseconds);
}

py::object PythonValue(const Value& value) {
  if (const auto* time = std::get_if<Instant>(&value)) return PythonTime(*time);
  if (const auto* text = std::get_if<std::string>(&value)) return py::str(*text);
  if (const auto* number = std::get_if<double>(&value)) return py::float_(*number);
  return py::int_(std::get<std::int64_t>(value));
}

/// (code, severity, subject, values, text); of the subject, the parts that apply.
py::tuple PythonFinding(const Finding& finding) {
  py::dict subject, values;
  if (!finding.subject.file.empty()) subject["file"] = finding.subject.file;
  if (finding.subject.line > 0) subject["line"] = finding.subject.line;
  if (finding.subject.camera > 0) subject["camera"] = finding.subject.camera;
  if (!finding.subject.photo.empty()) subject["photo"] = finding.subject.photo;
  for (const auto& [name, value] : finding.values) values[py::str(name)] = PythonValue(value);
  return py::make_tuple(finding.code, WordFor(finding.severity), subject, values, finding.text);
}

py::list PythonFindings(const std::vector<Finding>& findings) {
  py::list all;
  for (const Finding& finding : findings) all.append(PythonFinding(finding));
  return all;
}

/// The table of a part, or None where the mission has no such part.
template <class Part>
py::object TableOrNone(const std::optional<Part>& part) {
  return part ? py::object(TableOf(*part)) : py::none();
}

/// The content of a file of one kind.
/// @throws Failure when it is of another
template <class Content>
std::pair<Content, std::vector<Finding>> ContentOf(const Path& path, const char* kind, const py::object& progress) {
  return Observed(progress, [&](Observer& observer) {
    FileDescription description = DescribeFile(path, Settings().maxGapSeconds, observer);
    auto* content = std::get_if<Content>(&description.content);
    if (!content) throw Failure(Utf8(path) + ": " + description.kind + ", not " + kind);
    return std::pair(std::move(*content), std::move(description.findings));
  });
}

/// Keeps the findings of an operation that returns none.
class Listener : public Observer {
 public:
  explicit Listener(Observer& other) : other_(other) {}
  void OnFinding(const Finding& finding) override { findings.push_back(finding); }
  void OnProgress(const Progress& progress) override { other_.OnProgress(progress); }
  bool ShouldStop() override { return other_.ShouldStop(); }

  std::vector<Finding> findings;

 private:
  Observer& other_;
};

/// What an operation gives, and its findings.
/// @param make  takes an observer
template <class Make>
auto Kept(const py::object& progress, Make make) {
  return Observed(progress, [&](Observer& observer) {
    Listener listener(observer);
    auto made = make(listener);
    return std::pair(std::move(made), std::move(listener.findings));
  });
}

py::tuple ReadTrajectoryTable(const Path& path, const std::string& date, double maxGap, const py::object& progress) {
  Settings settings;  // for its reading of a date
  if (!date.empty()) Set(settings, "date", date);
  auto [trajectory, findings] = Kept(progress, [&](Observer& observer) {
    return ReadTrajectory(path, {settings.date, maxGap}, observer);
  });
  return py::make_tuple(TableOf(std::move(trajectory)), PythonFindings(findings));
}

template <class Content>
py::tuple ReadTable(const Path& path, const char* kind, const py::object& progress) {
  const auto [content, findings] = ContentOf<Content>(path, kind, progress);
  return py::make_tuple(TableOf(content), PythonFindings(findings));
}

py::tuple ReadPosTable(const Path& path, const std::string& target, unsigned jobs, const py::object& progress) {
  auto [points, findings] = Kept(progress, [&](Observer& observer) {
    return ReadPos({path, target, {}, jobs, false}, observer);
  });
  return py::make_tuple(TableOf(points), PythonFindings(findings), points.wkt);
}

py::tuple TransformFile(const Path& path, const std::string& target, const Path& output, unsigned jobs, bool overwrite,
                        const py::object& progress) {
  auto [points, findings] = Kept(progress, [&](Observer& observer) {
    return TransformPos({path, target, output, jobs, overwrite}, {}, observer);
  });
  return py::make_tuple(PosJson(points), PythonFindings(findings));
}

/// (sharpness, complaint, damage) of each photo.
std::vector<std::tuple<double, std::string, std::string>> GradesOf(const std::vector<Path>& photos, unsigned jobs,
                                                                   double maxMegapixels, const py::object& progress) {
  const auto grades = Observed(progress, [&](Observer& observer) {
    return GradePhotos(photos, {jobs, maxMegapixels}, observer);
  });
  std::vector<std::tuple<double, std::string, std::string>> all;
  for (const Grade& grade : grades) all.emplace_back(grade.sharpness, grade.complaint, grade.damage);
  return all;
}

/// (name, type, whether it may be a list, help)
py::list SettingsTable() {
  constexpr const char* kTypes[] = {"path", "text", "date", "number", "number-or-auto", "count", "choice", "flag"};
  py::list settings;
  for (const SettingKey& key : SettingKeys())
    settings.append(py::make_tuple(key.name, kTypes[static_cast<int>(key.type)], key.isList, key.help));
  return settings;
}

void AddMission(py::module_& module) {
  py::class_<Mission>(module, "Mission")
      .def_readonly("complete", &Mission::complete)
      .def_readonly("doubtful", &Mission::doubtful)
      .def("findings", [](const Mission& mission) { return PythonFindings(mission.findings); })
      .def("exposures", [](const Mission& mission) { return TableOf(mission.exposures); })
      .def("fixes", [](const Mission& mission) { return TableOrNone(mission.trajectory); })
      .def("heartbeats", [](const Mission& mission) { return TableOrNone(mission.events); })
      .def("log", [](const Mission& mission) { return TableOrNone(mission.housekeeping); })
      .def("stations", [](const Mission& mission) { return TableOrNone(mission.stations); })
      .def("pos", [](const Mission& mission) { return TableOrNone(mission.pos); })
      .def("pos_wkt", [](const Mission& mission) { return mission.pos ? mission.pos->wkt : ""; })
      .def("summary_json", [](const Mission& mission) { return SummaryJson(mission); })
      .def("summary_text", [](const Mission& mission) { return SummaryText(mission); })
      .def("report_html", [](const Mission& mission) { return ReportHtml(mission); });
}

}  // namespace

PYBIND11_MODULE(_kvutilities, module) {
  static py::object error = py::exception<Failure>(module, "Error");
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const Failure& failure) {
      PyObject* const type = failure.Why() == Failure::Reason::WrongUsage ? PyExc_ValueError
                             : failure.Why() == Failure::Reason::Stopped  ? PyExc_KeyboardInterrupt
                                                                          : error.ptr();
      PyErr_SetString(type, failure.what());
    }
  });
  AddMission(module);
  module.attr("__version__") = Version();
  module.def("settings", SettingsTable);
  module.def("run_mission", [](const Path& mission, const Given& given, const py::object& progress) {
    return Observed(progress, [&](Observer& observer) { return RunMission(SettingsFrom(mission, given), observer); });
  });
  module.def("read_trajectory", ReadTrajectoryTable);
  module.def("read_events", [](const Path& path, const py::object& progress) {
    return ReadTable<EventFile>(path, "a system event file", progress);
  });
  module.def("read_log", [](const Path& path, const py::object& progress) {
    return ReadTable<HousekeepingLog>(path, "a housekeeping log", progress);
  });
  module.def("read_pos", ReadPosTable);
  module.def("transform", TransformFile);
  module.def("grades", GradesOf);
  module.def("describe", [](const Path& path, double maxGap) {
    return Observed(py::none(),
                    [&](Observer& observer) { return DescriptionJson({DescribeFile(path, maxGap, observer)}); });
  });
}

}  // namespace kv::python
