#include "report/Columns.h"

#include <utility>

namespace kv::mission {

void NumberColumn::Add(std::optional<double> value) {
  constexpr double kMost = 9007199254740991;  // 2^53 - 1
  const double scaled = value ? std::round(*value * scale_) : kMost + 1;
  if (!(std::abs(scaled) <= kMost)) {
    steps_.push_back(nullptr);
    return;
  }
  const auto whole = static_cast<std::int64_t>(scaled);
  steps_.push_back(whole - last_);
  last_ = whole;
  ++known_;
}

Json NumberColumn::Take() { return {{"decimals", decimals_}, {"steps", std::move(steps_)}}; }

void WordColumn::Add(const std::optional<std::string>& word) {
  if (!word) return of_.Add(std::nullopt);
  const auto [place, isNew] = places_.try_emplace(*word, places_.size());
  if (isNew) words_.push_back(*word);
  of_.Add(static_cast<double>(place->second));
}

Json WordColumn::Take() { return {{"words", std::move(words_)}, {"of", of_.Take()}}; }

}  // namespace kv::mission
