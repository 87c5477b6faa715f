#include <fmt/format.h>

#include "platform/FileNames.h"
#include "report/Json.h"
#include "text/Csv.h"

std::string KVMission::GradesCsv(const std::vector<std::filesystem::path>& photos, const std::vector<Grade>& grades,
                                 bool visible) {
  std::string text = "path,sharpness\n";
  for (std::size_t i = 0; i < photos.size(); ++i) {
    if (!grades[i].complaint.empty()) continue;
    kv::mission::AppendCsvField(visible ? Visible(Utf8(photos[i])) : kv::TextFromPath(photos[i]), text);
    text += fmt::format(",{}\n", grades[i].sharpness);
  }
  return text;
}

std::string KVMission::GradesJson(const std::vector<std::filesystem::path>& photos, const std::vector<Grade>& grades) {
  using kv::mission::Json;
  Json all = Json::array();
  for (std::size_t i = 0; i < photos.size(); ++i) {
    Json photo = {{"path", Utf8(photos[i])}, {"sharpness", grades[i].sharpness}};
    if (!grades[i].complaint.empty()) photo.update({{"sharpness", nullptr}, {"error", grades[i].complaint}});
    if (!grades[i].damage.empty()) photo["damage"] = grades[i].damage;
    all.push_back(std::move(photo));
  }
  return kv::mission::Written(all);
}
