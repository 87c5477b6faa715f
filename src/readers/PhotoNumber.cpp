#include "readers/PhotoNumber.h"

#include <cstddef>
#include <utility>

#include "text/Numbers.h"

namespace kv {
namespace {

constexpr bool IsSeparator(wchar_t c) { return c == L'_' || c == L'-'; }
constexpr bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
constexpr bool IsLetter(wchar_t c) { return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z'); }

// Sensors mark their photos with separators and letters at the end: DJI_100_0067_0012_W gives "DJI_100_0067_0012",
// "_W".
std::pair<std::wstring_view, std::wstring_view> SplitSuffix(std::wstring_view stem) {
  std::size_t end = stem.size();
  for (std::size_t at = end; at > 0;) {
    while (at > 0 && IsLetter(stem[at - 1])) --at;
    if (at == end || at == 0 || !IsSeparator(stem[at - 1])) break;
    end = --at;
  }
  return {stem.substr(0, end), stem.substr(end)};
}

std::optional<std::int64_t> NumberAtEnd(std::wstring_view text) {
  std::size_t begin = text.size();
  while (begin > 0 && IsDigit(text[begin - 1])) --begin;
  if (begin > 0 && !IsSeparator(text[begin - 1])) return {};
  return WholeInteger(text.substr(begin));
}

// The photo without a sensor's mark is best, then the wide or visible-light one.
int RankOf(std::wstring_view suffix, std::wstring_view extension) {
  const auto isMark = [&](wchar_t letter) {
    return suffix.size() == 2 && suffix[0] == L'_' && (suffix[1] == letter || suffix[1] == letter - L'A' + L'a');
  };
  const bool isMain = isMark(L'W') || isMark(L'V') || isMark(L'D');
  const bool isRaw = extension == L".dng" || extension == L".DNG";
  return 2 * (suffix.empty() ? 0 : isMain ? 1 : 2) + (isRaw ? 1 : 0);
}

}  // namespace

std::optional<PhotoNumber> PhotoNumberIn(std::wstring_view name) {
  const std::size_t stemLength = name.rfind(L'.');
  const std::wstring_view extension = stemLength == name.npos ? std::wstring_view() : name.substr(stemLength);
  const auto [numbered, suffix] = SplitSuffix(name.substr(0, stemLength));
  const auto number = NumberAtEnd(numbered);
  if (!number) return {};
  return PhotoNumber{*number, RankOf(suffix, extension)};
}

}  // namespace kv
