#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Verdict.h"

/// What a figure counts: processor seconds (user and system, children included), seconds of the clock, or bytes.
enum class By { Processor, Wall, Memory };

/// The peer or ours.
struct Side {
  By by;
  std::function<double()> measure;  ///< once; throws when it fails
};

/// A line of the table.
struct Comparison {
  std::string what, peerName;
  Goal goal;
  Side peer, ours;
  std::string program{};  ///< that the peer needs
  double idleCores = 0;   ///< that the case needs; its time is meaningless if other programs use them
  bool isSlow = false;    ///< left out by --quick
};

/// Several lines about one thing.
using Row = std::vector<Comparison>;

struct Plan {
  bool isQuick = false;  ///< smaller inputs
};

Row Scanning(const Plan& plan);
Row StrictNumbers(const Plan& plan);
Row Exporting(const Plan& plan);
Row Locating(const Plan& plan);
Row Grading(const Plan& plan);
Row Transforming(const Plan& plan);
Row Pairing(const Plan& plan);
Row FormingStations(const Plan& plan);
Row WholeMission(const Plan& plan);
Row Growing(const Plan& plan);
Row GeotaggingByTrack(const Plan& plan);
Row WritingGeoPackage(const Plan& plan);
Row WritingReport(const Plan& plan);
Row Geotagging(const Plan& plan);
