#pragma once

#include <KVMission.h>

#include <array>
#include <string>

/// The kinds of lines that readers leave out, with words for people and a key for programs.
namespace kv::mission {

using namespace KVMission;

template <typename Kind>
struct LeftOut {
  Kind kind;
  const char* words;
  const char* key;
};

/// The words are a noun, with its plural where that does not end in "s".
inline constexpr auto kLeftOutSentences = std::to_array<LeftOut<SentenceKind>>({
    {SentenceKind::NoFix, "sentence without a fix|sentences without a fix", "noFix"},
    {SentenceKind::Incomplete, "incomplete position sentence", "incomplete"},
    {SentenceKind::RepeatedTime, "fix with the time of the fix before|fixes with the time of the fix before",
     "repeatedTime"},
    {SentenceKind::BadChecksum, "sentence with a wrong checksum|sentences with a wrong checksum", "badChecksum"},
    {SentenceKind::OtherSentence, "other sentence", "otherSentences"},
    {SentenceKind::NotASentence, "line that is not an NMEA sentence|lines that are not NMEA sentences", "notASentence"},
    {SentenceKind::Blank, "blank line", "blank"},
});

/// The words go on after "1 line" or "2 lines".
inline constexpr auto kLeftOutPosLines = std::to_array<LeftOut<PosLineKind>>({
    {PosLineKind::Baseline, "with a baseline from a reference position that the header does not give", "baseline"},
    {PosLineKind::OutOfRange, "with a time, latitude or longitude out of range", "outOfRange"},
    {PosLineKind::NotANumber, "where a number of time or place is not one", "notANumber"},
    {PosLineKind::Short, "with fewer columns than the header names, or than 15", "short"},
    {PosLineKind::Comment, "with a comment or header", "comments"},
    {PosLineKind::Blank, "without text", "blank"},
});

/// "1204 other sentences (GSA 301, RMC 903), 3 sentences without a fix"; empty when nothing was left out.
std::string LeftOutText(const SentenceCounts& counts);
/// "301 lines with a latitude or longitude out of range, 25 lines with a comment or header"; empty likewise.
std::string LeftOutText(const PosCounts& counts);

}  // namespace kv::mission
