#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "georef/clocks/CameraClock.h"

/// Files of clock cases: events, stamps and, for a judge, the truth.
namespace clock_cases {

struct Case {
  std::string id;
  std::vector<double> events, stamps;
  std::vector<int> truth;  // event per photo, -1 for none
  nlohmann::json clock;    // the true one
  bool mustNotResolve;
};

inline std::vector<Case> Read(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::vector<Case> cases;
  const auto content = nlohmann::json::parse(file);
  for (const auto& item : content.at("cases")) {
    cases.push_back({item.at("id"), item.at("events"), item.at("photo_times"), item.at("truth"), item.at("clock"),
                     item.at("must_not_resolve")});
  }
  return cases;
}

inline kv::ClockEstimate Answer(const Case& item) {
  return kv::EstimateClock(item.events, item.stamps, kv::StampCellOf(item.stamps));
}

}  // namespace clock_cases
