#include "mission/inputs/LeftOut.h"

#include <fmt/format.h>

#include "base/Findings.h"

namespace kv::mission {
namespace {

std::string LackingText(const std::map<std::string, std::size_t, std::less<>>& lacking) {
  std::string text;
  for (const auto& [what, count] : lacking)
    text += fmt::format("{}{} without a valid {}", text.empty() ? "" : ", ", count, what);
  return text;
}

std::string TypesText(const std::map<std::string, std::size_t, std::less<>>& types) {
  constexpr std::size_t kTypesNamed = 20;  // a receiver writes fewer; binary junk can look like more
  std::string text;
  std::size_t named = 0;
  for (const auto& [type, count] : types) {
    if (++named > kTypesNamed) return text + ", ...";
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", type, count);
  }
  return text;
}

}  // namespace

std::string LeftOutText(const SentenceCounts& counts) {
  std::string text;
  for (const auto& [kind, words, key] : kLeftOutSentences) {
    if (counts.Of(kind) == 0) continue;
    text += (text.empty() ? "" : ", ") + Counted(counts.Of(kind), words);
    if (kind == SentenceKind::OtherSentence) text += " (" + TypesText(counts.others) + ")";
    if (kind == SentenceKind::Incomplete) text += " (" + LackingText(counts.lacking) + ")";
  }
  return text;
}

std::string LeftOutText(const PosCounts& counts) {
  std::string text;
  for (const auto& [kind, words, key] : kLeftOutPosLines) {
    if (counts.Of(kind) == 0) continue;
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", Counted(counts.Of(kind), "line"), words);
  }
  return text;
}

}  // namespace kv::mission
