// clock_cases CASES.json ANSWERS.json: has the estimator answer a file of cases, for measuring. Prints the time it took.
#include <chrono>
#include <cstdio>
#include <exception>

#include "ClockCases.h"

namespace {

using nlohmann::json;

const char* Name(kv::ClockVerdict verdict) {
  switch (verdict) {
    case kv::ClockVerdict::Resolved:
      return "resolved";
    case kv::ClockVerdict::Partial:
      return "partial";
    case kv::ClockVerdict::Ambiguous:
      return "ambiguous";
    case kv::ClockVerdict::NoMatch:
      break;
  }
  return "nomatch";
}

json ToJson(const kv::ClockSegment& clock) {
  json candidates = json::array();
  for (const auto& rival : clock.rivals) candidates.push_back({rival.offsetSeconds, rival.margin});
  return {{"first", clock.firstPhoto},        {"end", clock.endPhoto},   {"status", Name(clock.verdict)},
          {"offset", clock.offsetSeconds},    {"drift", clock.drift},    {"offset_sd", clock.offsetSigma},
          {"reference", clock.referenceTime}, {"candidates", candidates}};
}

// Only what is certain.
json ToJson(const kv::ClockEstimate& estimate) {
  json answer{{"status", Name(estimate.verdict)},
              {"pairs", json::array()},
              {"no_event", json::array()},
              {"clocks", json::array()}};
  for (std::size_t photo = 0; photo < estimate.photos.size(); ++photo) {
    const kv::PhotoMatch& match = estimate.photos[photo];
    if (match.certain) answer["pairs"].push_back({photo, *match.event});
    if (estimate.withoutEvent[photo]) answer["no_event"].push_back(photo);
  }
  for (const auto& clock : estimate.clocks) answer["clocks"].push_back(ToJson(clock));
  return answer;
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fputs("usage: clock_cases CASES.json ANSWERS.json\n", stderr);
    return 2;
  }
  const auto cases = clock_cases::Read(argv[1]);
  json answers = json::object();
  std::chrono::duration<double, std::milli> spent{};
  for (const auto& item : cases) {
    const auto start = std::chrono::steady_clock::now();
    const kv::ClockEstimate estimate = clock_cases::Answer(item);
    spent += std::chrono::steady_clock::now() - start;
    answers[item.id] = ToJson(estimate);
  }
  std::ofstream file(argv[2]);
  file << answers << '\n';
  file.close();
  if (!file) {
    std::fprintf(stderr, "%s cannot be written\n", argv[2]);
    return 1;
  }
  std::printf("%zu cases, %.1f ms each\n", cases.size(),
              spent.count() / static_cast<double>(std::max<std::size_t>(1, cases.size())));
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
