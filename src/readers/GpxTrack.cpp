#include "readers/GpxTrack.h"

#include <expat.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "platform/FileNames.h"
#include "text/Blanks.h"
#include "text/Numbers.h"
#include "time/Instants.h"

namespace kv::mission {
namespace {

constexpr int kBlockBytes = 64 * 1024, kMostBlockBytes = 1 << 28;
constexpr std::size_t kLongestValue = 64;
constexpr std::string_view kBlanks = " \t\r\n";

struct FreeParser {
  void operator()(XML_ParserStruct* parser) const { XML_ParserFree(parser); }
};

/// YYYY-MM-DDThh:mm:ss with any decimals and a zone. A time without a zone is UTC, as the format has it.
std::optional<Instant> TimeOf(std::string_view text) {
  constexpr std::size_t kWhole = 19, kTickDigits = 7;
  constexpr std::string_view kForm = "0000-00-00T00:00:00";
  const auto digits = [&](std::size_t at, std::size_t count) {
    return at + count <= text.size() ? Digits(text.substr(at, count)).value_or(-1) : -1;
  };
  if (text.size() < kWhole) return std::nullopt;
  for (std::size_t i = 0; i < kWhole; ++i) {
    if (kForm[i] != '0' && text[i] != kForm[i]) return std::nullopt;
  }
  const auto minute = FromFields(digits(0, 4), digits(5, 2), digits(8, 2), digits(11, 2), digits(14, 2), 0);
  const int second = digits(17, 2);
  if (!minute || second < 0 || second > 60) return std::nullopt;  // 60 is a leap second
  std::string_view rest = text.substr(kWhole);
  std::string decimals;
  if (rest.starts_with('.')) {
    const std::size_t end = std::min(rest.find_first_not_of("0123456789", 1), rest.size());
    decimals = rest.substr(1, std::min(end - 1, kTickDigits));
    if (decimals.empty()) return std::nullopt;
    rest.remove_prefix(end);
  }
  decimals.resize(kTickDigits, '0');
  const Instant time = *minute + std::chrono::seconds{second} + FileTimeTicks{*Digits(decimals)};
  if (rest.empty() || rest == "Z") return time;
  if (rest.size() != 6 || (rest[0] != '+' && rest[0] != '-') || rest[3] != ':') return std::nullopt;
  const auto hours = Digits(rest.substr(1, 2)), minutes = Digits(rest.substr(4));
  constexpr int kFarthest = 14;
  if (!hours || !minutes || *hours > kFarthest || *minutes > 59) return std::nullopt;
  const std::chrono::minutes zone = std::chrono::hours{*hours} + std::chrono::minutes{*minutes};
  return rest[0] == '+' ? time - zone : time + zone;
}

/// Collects the points of tracks while expat reads.
class TrackParser {
 public:
  TrackParser() : parser_(XML_ParserCreate(nullptr)) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(
        parser_.get(),
        [](void* self, const char* name, const char** attributes) {
          Guarded(self, [&](TrackParser& p) { p.Start(name, attributes); });
        },
        [](void* self, const char*) { Guarded(self, [](TrackParser& p) { p.End(); }); });
    XML_SetCharacterDataHandler(parser_.get(), [](void* self, const char* text, int length) {
      Guarded(self, [&](TrackParser& p) { p.Add({text, static_cast<std::size_t>(length)}); });
    });
    XML_SetStartDoctypeDeclHandler(parser_.get(), [](void* self, auto...) {
      Guarded(self, [](TrackParser& p) { p.Refuse("a document type, which no GPX file needs"); });
    });
    XML_SetUnknownEncodingHandler(parser_.get(), TakeAscii, nullptr);
  }

  /// @return  what is wrong with the file; empty for nothing
  std::string Read(std::FILE* file, Job& job) {
    Meter meter(job, "reading the trajectory", "points");
    XML_Index at = -1;
    int room = kBlockBytes;
    for (bool isEnd = false; !isEnd;) {
      job.ThrowIfStopped();
      void* const block = XML_GetBuffer(parser_.get(), room);
      if (!block) throw std::bad_alloc();
      const std::size_t size = std::fread(block, 1, static_cast<std::size_t>(room), file);
      if (std::ferror(file)) return "cannot be read: " + std::generic_category().message(errno);
      isEnd = size < static_cast<std::size_t>(room);
      if (XML_ParseBuffer(parser_.get(), static_cast<int>(size), isEnd) != XML_STATUS_OK) return Complaint();
      meter.Show(points_, 0);
      // Inside one long comment, say, the parser begins anew with each block.
      const XML_Index before = std::exchange(at, XML_GetCurrentByteIndex(parser_.get()));
      room = at == before ? std::min(2 * room, kMostBlockBytes) : kBlockBytes;
    }
    return {};
  }

  /// Segments are put in the order of the first time in each; those without one come first.
  GpxTracks Tracks() && {
    std::erase_if(segments_, [](const auto& points) { return points.empty(); });
    tracks_.segments = segments_.size();
    const auto begin = [](const std::vector<GpxPoint>& points) {
      const auto timed = std::find_if(points.begin(), points.end(), [](const GpxPoint& point) { return point.time; });
      return timed == points.end() ? std::nullopt : timed->time;
    };
    std::stable_sort(segments_.begin(), segments_.end(),
                     [&](const auto& a, const auto& b) { return begin(a) < begin(b); });
    tracks_.points.reserve(points_);
    for (const auto& points : segments_) tracks_.points.insert(tracks_.points.end(), points.begin(), points.end());
    return std::move(tracks_);
  }

 private:
  /// Exceptions must not cross the parser.
  template <class Work>
  static void Guarded(void* self, Work work) {
    TrackParser& parser = *static_cast<TrackParser*>(self);
    if (parser.thrown_ || !parser.complaint_.empty()) return;  // the parser goes on for a moment
    try {
      work(parser);
    } catch (...) {
      parser.thrown_ = std::current_exception();
      XML_StopParser(parser.parser_.get(), XML_FALSE);
    }
  }

  /// What counts is ASCII, whatever else the encoding has.
  static int TakeAscii(void*, const char*, XML_Encoding* encoding) {
    for (int byte = 0; byte < 256; ++byte) encoding->map[byte] = byte < 0x80 ? byte : 0xFFFD;
    encoding->convert = nullptr, encoding->release = nullptr;
    return XML_STATUS_OK;
  }

  void Refuse(std::string complaint) {
    complaint_ = fmt::format("line {}: {}", XML_GetCurrentLineNumber(parser_.get()), complaint);
    XML_StopParser(parser_.get(), XML_FALSE);
  }

  std::string Complaint() const {
    if (thrown_) std::rethrow_exception(thrown_);
    if (!complaint_.empty()) return complaint_;
    const XML_Error error = XML_GetErrorCode(parser_.get());
    if (error == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    return fmt::format("no sound XML: {} in line {}", XML_ErrorString(error), XML_GetCurrentLineNumber(parser_.get()));
  }

  void Start(std::string_view name, const char** attributes) {
    constexpr std::string_view kChain[kPoint] = {"gpx", "trk", "trkseg", "trkpt"};
    if (depth_ == 0 && name != kChain[0]) Refuse("no GPX file");
    if (depth_ == chain_) {
      if (chain_ == kPoint) {
        field_ = name, text_.clear(), isPlain_ = true;
      } else if (name == kChain[chain_]) {
        Begin(++chain_, attributes);
      } else if (name == "wpt") {
        ++tracks_.others;
      }
    } else if (name == "rtept") {
      ++tracks_.others;
    }
    if (depth_ > kPoint) isPlain_ = false;
    ++depth_;
  }

  void Begin(int element, const char** attributes) {
    if (element == kTrack) ++tracks_.tracks;
    if (element == kSegment) segments_.emplace_back();
    if (element != kPoint) return;
    GpxPoint& point = segments_.back().emplace_back();
    ++points_, seen_ = {};
    for (; *attributes; attributes += 2) {
      const std::string_view name = attributes[0];
      if (name != "lat" && name != "lon") continue;
      (name == "lat" ? point.latitude : point.longitude) =
          WholeDouble(WithoutBlanks(attributes[1], kBlanks)).value_or(GpxPoint::kUnknown);
    }
  }

  /// Blanks around a value are none of it.
  void Add(std::string_view text) {
    if (chain_ != kPoint || depth_ != kPoint + 1) return;
    if (text_.empty()) text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::size_t room = std::min(kLongestValue - text_.size(), text.size());
    text_ += text.substr(0, room);
    if (text.find_first_not_of(kBlanks, room) != text.npos) isPlain_ = false;
  }

  void End() {
    --depth_;
    if (depth_ < chain_) --chain_;
    if (chain_ == kPoint && depth_ == kPoint) SetField(segments_.back().back(), WithoutBlanks(text_, kBlanks));
  }

  void SetField(GpxPoint& point, std::string_view text) {
    constexpr std::array<std::string_view, kFields> kNames{"time", "ele", "geoidheight", "hdop", "sat", "fix"};
    const auto name = std::find(kNames.begin(), kNames.end(), field_);
    if (name == kNames.end()) return;
    bool& isSeen = seen_[static_cast<std::size_t>(name - kNames.begin())];
    if (!isPlain_ || isSeen) return Refuse(field_ + (isSeen ? " stands twice in a point" : " is not a plain value"));
    isSeen = true;
    if (text.empty()) return;
    if (field_ == "time") {
      point.time = TimeOf(text);
    } else if (field_ == "ele") {
      point.elevation = Number(text);
    } else if (field_ == "geoidheight") {
      point.geoidHeight = Number(text);
    } else if (field_ == "hdop") {
      if (const double hdop = Number(text); hdop > 0 && hdop < 1e6) point.quality.hdop = static_cast<float>(hdop);
    } else if (field_ == "sat") {
      constexpr double kMost = std::numeric_limits<std::uint16_t>::max();
      if (const double count = Number(text); count >= 0)
        point.quality.satellites = static_cast<std::uint16_t>(std::min(count, kMost));
    } else if (field_ == "fix") {
      point.hasFix = text != "none" && text != "2d";
      if (text == "dgps") point.quality.quality = PositionQuality::Dgps;
      if (text == "3d" || text == "pps") point.quality.quality = PositionQuality::Single;
    }
  }

  double Number(std::string_view text) {
    const auto number = WholeDouble(text);
    if (!number) Refuse(fmt::format("{} \"{}\" is not a number", field_, text));
    return number.value_or(GpxPoint::kUnknown);
  }

  static constexpr std::size_t kFields = 6;
  enum { kTrack = 2, kSegment, kPoint };  // elements of the chain that are open then

  std::unique_ptr<XML_ParserStruct, FreeParser> parser_;
  int depth_ = 0, chain_ = 0;         // open elements; those of them from the root on that lead to a point
  std::string field_, text_;          // of the point
  bool isPlain_ = true;               // the field: short, without elements inside
  std::array<bool, kFields> seen_{};  // fields of the point
  GpxTracks tracks_;
  std::vector<std::vector<GpxPoint>> segments_;
  std::size_t points_ = 0;
  std::string complaint_;
  std::exception_ptr thrown_;
};

}  // namespace

bool BeginsLikeGpx(std::string_view head) {
  head = WithoutByteOrderMark(head);
  const auto begin = head.find_first_not_of(" \t\r\n");
  const auto root = head.find("<gpx");
  constexpr std::size_t kName = 4;
  return begin != std::string_view::npos && head[begin] == '<' && root != std::string_view::npos &&
         root + kName < head.size() && std::string_view(" \t\r\n>/").find(head[root + kName]) != std::string_view::npos;
}

GpxTracks ReadGpxTracks(const std::filesystem::path& path, Job& job) {
  std::error_code error;
  const bool isFile = std::filesystem::is_regular_file(path, error);
  const FilePtr file = isFile ? OpenNative(path, "rb") : nullptr;
  TrackParser parser;
  const std::string complaint = !isFile ? "not a regular file"
                                : !file ? "cannot be read: " + std::generic_category().message(errno)
                                        : parser.Read(file.get(), job);
  if (!complaint.empty()) throw Failure(fmt::format("{}: {}", Utf8(path), complaint));
  return std::move(parser).Tracks();
}

}  // namespace kv::mission
