#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Comparison.h"

struct Round {
  double peer = 0, ours = 0;  // seconds or bytes
  double coresLeft = 0;       // by other programs
  bool isPeerFirst = false;
};

/// The rounds of a comparison, or why there are none.
struct Result {
  int row;
  Comparison comparison;
  std::vector<Round> rounds;
  std::string skipped, failure;
};

/// Prints a line for each result as it comes, and keeps all rounds for the JSON file.
class Table {
 public:
  Table(const Plan& plan, double idleCores);

  void Add(const Result& result);
  void LeaveOut(int row, const Comparison& comparison);

  /// Prints what the lines come to, and writes the JSON file if one is named.
  /// @return whether nothing failed and no goal was missed
  bool Close(const std::string& jsonFile);

 private:
  nlohmann::json json_;
  std::vector<std::string> leftOut_;
  std::map<std::string, int> counts_;  // by verdict
};
