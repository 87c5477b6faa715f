#include "simulation/NmeaLog.h"

#include <utility>
#include <vector>

namespace kv::simulation {
namespace {

constexpr int kSentencesPerBytes = 5;
constexpr std::size_t kFewestBytes = 8, kMostBytes = 60;
constexpr int kFixesPerLateOne = 7, kLateBy = 2;  // fixes

}  // namespace

void NmeaLog::Write(std::string_view sentence) {
  if (trouble_.binary && ++sentences_ % kSentencesPerBytes == 0) WriteBytes();
  unsigned checksum = 0;
  for (const char c : sentence) checksum ^= static_cast<unsigned char>(c);
  file_.Print("${}*{:02X}\r\n", sentence, checksum);
}

void NmeaLog::WriteFix(std::string sentence) {
  const int phase = ++fixes_ % kFixesPerLateOne;
  if (trouble_.shuffled && phase == 0) {
    kept_ = std::move(sentence);
    return;
  }
  Write(sentence);
  if (phase == kLateBy) WriteKept();
}

/// Writes bytes of any value but line ends, as a receiver's own messages have them.
void NmeaLog::WriteBytes() {
  std::vector<unsigned char> bytes(kFewestBytes + random_.Index(kMostBytes - kFewestBytes + 1));
  for (unsigned char& byte : bytes) {
    byte = static_cast<unsigned char>(random_.Index(256));
    if (byte == '\r' || byte == '\n') byte = 0;
  }
  file_.Write(bytes);
}

void NmeaLog::WriteKept() {
  if (!kept_.empty()) Write(kept_);
  kept_.clear();
}

void NmeaLog::Close() {
  WriteKept();
  file_.Close();
}

void WriteInstrumentFile(const std::filesystem::path& path, const MissionOptions& options) {
  constexpr double kFeetPerMetre = 1.0 / 0.3048, kFathomsPerMetre = 1.0 / 1.8288;
  Random random(options.seed, Stream::Instrument);
  MissionOptions withoutTrouble = options;
  withoutTrouble.trouble.log = {};
  NmeaLog file(path, withoutTrouble);
  for (std::int64_t second = 0; second <= options.duration.count(); ++second) {
    const double metres = random.Uniform(2.0, 2.5);
    file.Write(
        fmt::format("SDDBT,{:.1f},f,{:.2f},M,{:.2f},F", metres * kFeetPerMetre, metres, metres * kFathomsPerMetre));
  }
  file.Close();
}

}  // namespace kv::simulation
