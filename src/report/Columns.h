#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "report/Json.h"

/// Columns of values for the page of the report, small as text.
namespace kv::mission {

/// Numbers as whole numbers of 10^-decimals, each as the difference to the known one before; null for an unknown one.
class NumberColumn {
 public:
  explicit NumberColumn(int decimals) : decimals_(decimals), scale_(std::pow(10.0, decimals)) {}

  /// A number that is not finite, or beyond what a browser holds exactly, is unknown.
  void Add(std::optional<double> value);

  bool IsEmpty() const { return known_ == 0; }  ///< nothing in it is known
  Json Take();

 private:
  int decimals_;
  double scale_;
  std::int64_t last_ = 0;
  std::size_t known_ = 0;
  Json steps_ = Json::array();
};

/// Words, each once in a list; null for an unknown one.
class WordColumn {
 public:
  void Add(const std::optional<std::string>& word);
  bool IsEmpty() const { return words_.empty(); }
  Json Take();

 private:
  std::map<std::string, std::size_t> places_;
  Json words_ = Json::array();
  NumberColumn of_{0};
};

}  // namespace kv::mission
