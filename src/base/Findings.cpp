#include "base/Findings.h"

#include <fmt/format.h>

#include <algorithm>

#include "time/Instants.h"

namespace kv::mission {
namespace {

std::string TextOf(const Value& value) {
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return fmt::format("{}", *whole);
  if (const auto* number = std::get_if<double>(&value)) return fmt::format("{}", *number);
  if (const auto* time = std::get_if<Instant>(&value)) return TimeText(*time);
  return std::get<std::string>(value);
}

/// "{lines:line}"
std::string CountText(std::int64_t count, std::string_view noun) {
  const std::size_t bar = noun.find('|');
  if (bar == noun.npos) return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
  return fmt::format("{} {}", count, count == 1 ? noun.substr(0, bar) : noun.substr(bar + 1));
}

std::string Formatted(const Value& value, std::string_view how) {
  const auto* whole = std::get_if<std::int64_t>(&value);
  if (!how.empty() && how[0] != '.' && whole) return CountText(*whole, how);
  if (const auto* number = std::get_if<double>(&value); number && !how.empty())
    return fmt::format(fmt::runtime(fmt::format("{{:{}}}", how)), *number);
  return TextOf(value);
}

}  // namespace

std::string SentenceOf(std::string_view form, const Values& values) {
  std::string text;
  for (std::size_t open; (open = form.find('{')) != form.npos;) {
    const std::size_t close = form.find('}', open);
    const std::string_view field = form.substr(open + 1, close - open - 1);
    const std::string_view name = field.substr(0, field.find(':'));
    const std::string_view how = name.size() < field.size() ? field.substr(name.size() + 1) : std::string_view();
    const auto found =
        std::find_if(values.begin(), values.end(), [&](const auto& value) { return value.first == name; });
    text += form.substr(0, open);
    text += found == values.end() ? std::string(field) : Formatted(found->second, how);
    form.remove_prefix(close + 1);
  }
  return text += form;
}

Finding MakeFinding(const FindingKind& kind, Values values, Subject subject) {
  std::string text = SentenceOf(kind.sentence, values);
  return {kind.code, kind.severity, std::move(subject), std::move(values), std::move(text)};
}

std::string Named(const LineNumbers& lines) {
  constexpr std::ptrdiff_t kNamed = 5;
  const auto end = lines.begin() + std::min(kNamed, std::ssize(lines));
  return fmt::format("line {}{}", fmt::join(lines.begin(), end, ", "), end == lines.end() ? "" : ", ...");
}

std::string Counted(std::size_t count, const char* noun) { return CountText(Count(count), noun); }

}  // namespace kv::mission

const char* KVMission::WordFor(Severity severity) {
  constexpr const char* kWords[] = {"note", "warning", "doubt", "failure"};
  return kWords[static_cast<std::size_t>(severity)];
}
