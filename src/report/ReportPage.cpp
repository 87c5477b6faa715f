#include <KVMission.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include <report_page.h>
#include "report/ReportData.h"

namespace kv::mission {
namespace {

/// Text of JSON as it may stand inside a script element: nothing in it can end the element, or a line of the script.
void AppendEscaped(std::string_view json, std::string& page) {
  constexpr std::string_view kLine = "\xE2\x80\xA8", kParagraph = "\xE2\x80\xA9";  // U+2028, U+2029
  while (!json.empty()) {
    const std::size_t plain = std::min(json.find_first_of("<>&\xE2"), json.size());
    page += json.substr(0, plain);
    json.remove_prefix(plain);
    if (json.empty()) return;
    const bool isLine = json.starts_with(kLine), isParagraph = json.starts_with(kParagraph);
    if (isLine || isParagraph) {
      page += (isLine ? "\\u2028" : "\\u2029");
    } else if (json[0] == '\xE2') {
      page += json[0];
    } else {
      page += (json[0] == '<' ? "\\u003c" : json[0] == '>' ? "\\u003e" : "\\u0026");
    }
    json.remove_prefix(isLine || isParagraph ? kLine.size() : 1);
  }
}

void AppendBase64(std::string_view bytes, std::string& page) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i) page += at + i > bytes.size() ? '=' : kDigits[group >> (18 - 6 * i) & 63];
  }
}

}  // namespace
}  // namespace kv::mission

std::string KVMission::ReportHtml(const Mission& mission, const std::filesystem::path& folder) {
  using namespace kv::mission;
  constexpr std::string_view kData = "%DATA%";
  const std::string_view frame = kv::report_page::report_page_html;
  const std::size_t at = frame.find(kData);
  std::string data = ReportDataOf(mission, folder.empty() ? mission.settings.output : folder)
                         .dump(-1, ' ', false, Json::error_handler_t::replace);
  data.pop_back();  // the thumbnails follow
  std::string page(frame.substr(0, at));
  AppendEscaped(data, page);
  page += ",\"thumbnails\":[";
  for (const Thumbnail& thumbnail : mission.thumbnails) {
    page += &thumbnail == mission.thumbnails.data() ? "\"" : ",\"";
    AppendBase64(thumbnail.jpeg, page);
    page += '"';
  }
  page += "]}";
  return page += frame.substr(at + kData.size());
}
