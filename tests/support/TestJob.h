#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/Job.h"

/// A job that nobody follows, for tests of its findings.
class TestJob : public kv::mission::Job {
 public:
  TestJob() : Job(nobody_) {}

  /// The sentences of warnings and doubts.
  std::vector<std::string> Warnings() const {
    std::vector<std::string> texts;
    for (const auto& finding : Findings()) {
      if (finding.severity != KVMission::Severity::Note) texts.push_back(finding.text);
    }
    return texts;
  }

 private:
  inline static KVMission::Observer nobody_;
};

inline bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// Expects as many sentences as parts, each with its part.
inline void ExpectParts(const std::vector<std::string>& sentences, const std::vector<const char*>& parts,
                        const std::string& row) {
  EXPECT_TRUE(std::equal(sentences.begin(), sentences.end(), parts.begin(), parts.end(), Contains))
      << row << testing::PrintToString(sentences);
}

/// The sentence of the failure that an action ends with, which must be for this reason; empty when it does not fail.
template <typename Action>
std::string FailureOf(Action action, KVMission::Failure::Reason reason) {
  try {
    action();
  } catch (const KVMission::Failure& failure) {
    EXPECT_EQ(failure.Why(), reason) << failure.what();
    return failure.what();
  }
  return "";
}
