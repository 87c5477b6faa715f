#pragma once

#include <array>

/// A line of the table: the ratio of a peer's median figure to ours in one run.
struct Comparison {
  int row;
  const char* what;
  const char* peerName;
  const char* peer;  // benchmark that gives the peer's figure or a limit
  const char* ours;  // benchmark that gives ours
  double goal;       // the smallest ratio that meets the goal
};

/// Figures are seconds per call; a counter "bytes" or "seconds" of a benchmark replaces them.
inline constexpr auto kComparisons = std::to_array<Comparison>({
    {1, "scan 1,000,000 GGA lines", "getline + strtod", "ScanByGetline", "ScanTrajectory", 4},
    {1, "scan 1,000,000 GGA lines", "wide tokens + stod", "ScanByWideTokens", "ScanTrajectory", 8},
    {1, "scan 1,000,000 GGA lines", "gpsbabel", "ScanByGpsbabel", "ScanTrajectory", 80},
    {1, "scan: peak memory", "records + 1 MiB", "ScanMemoryAllowed", "ScanMemory", 1},
    {2, "strict numbers: doubles", "Boost's lexical conversion", "DoublesByBoost", "Doubles", 20},
    {2, "strict numbers: 32-bit integers", "Boost's lexical conversion", "Integers32ByBoost", "Integers32", 2.5},
    {2, "strict numbers: 64-bit integers", "Boost's lexical conversion", "Integers64ByBoost", "Integers64", 3},
    {3, "export 1,000,000 points", "shapelib, size asked per record", "ExportPointsByShapelib", "ExportPoints", 15},
    {3, "export 1,000,000 points", "ogr2ogr", "ExportPointsByOgr", "ExportPoints", 10},
    {3, "export 1,000,000 points", "writing the same bytes", "WriteTheSameBytes", "ExportPoints", 1.0 / 3},
    {4, "20,000 events on 200,000 fixes", "literal scan", "LocateEventsLiterally", "LocateEvents", 300},
    {4, "400 log events off the trajectory", "literal scan", "LocateLogEventsOffLiterally", "LocateLogEventsOff", 1e4},
    {4, "one event on 200,000 fixes", "literal scan", "LocateOneLiterally", "LocateOne", 1},
    {5, "sharpness of 24 MP pixels", "one-shot OpenCV", "SharpnessPixels24InOneShot", "SharpnessPixels24", 10},
    {5, "sharpness of 100 MP pixels", "one-shot OpenCV", "SharpnessPixels100InOneShot", "SharpnessPixels100", 10},
    {5, "sharpness of a 24 MP JPEG", "one-shot OpenCV", "SharpnessFile24InOneShot", "SharpnessFile24", 1.7},
    {5, "sharpness of a 100 MP JPEG", "one-shot OpenCV", "SharpnessFile100InOneShot", "SharpnessFile100", 1.7},
    {5, "its peak memory, 24 MP", "one-shot OpenCV", "SharpnessMemory24InOneShot", "SharpnessMemory24", 1 / 0.3},
    {5, "its peak memory, 100 MP", "one-shot OpenCV", "SharpnessMemory100InOneShot", "SharpnessMemory100", 1 / 0.3},
    {5, "grade 72 photos on two cores", "one core", "GradeOnOneCore", "GradeOnTwoCores", 1.8},
    {6, "1,000,000 lines to UTM 33 + EGM96", "cct", "TransformPosByCct", "TransformPos", 3},
    {6, "1,000,000 lines to UTM 33 + EGM96", "cs2cs", "TransformPosByCs2cs", "TransformPos", 3},
    {7, "pair 5,000 events with 5,000 photos", "literal double loop", "PairByTimeLiterally", "PairByTime", 500},
    {7, "pair 5,000 events with 5,000 photos", "1 us an event", "PairByTimeAllowed", "PairByTime", 1},
    {8, "stations of 20,000 events in order", "literal rule", "StationsInOrderLiterally", "StationsInOrder", 30},
    {8, "stations of 20,000 events shuffled", "literal rule", "StationsShuffledLiterally", "StationsShuffled", 60},
    {9, "run: an hour, two cameras", "decoding photos and writing", "DecodeAndWriteAlone", "RunMission", 0.9},
    {9, "run without grading", "10 % of the run", "TenthOfRun", "RunWithoutGrading", 1},
    {10, "GeoPackage of 1,000,000 fixes", "GDAL's loop in C", "GeoPackageByGdal", "GeoPackageOfRun", 1 / 1.2},
    {11, "report.html of an hour", "5 % of the run", "TwentiethOfRun", "ReportOfRun", 1},
    {12, "geotag 1,000 photos, places known", "exiftool", "GeotagByExiftool", "GeotagPhotos", 20},
});
