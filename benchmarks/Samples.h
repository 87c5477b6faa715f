#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "KVUtilities.h"

/// A trajectory of 10 Hz that climbs and turns, from noon of 2023-12-22 on.
inline std::vector<tagKVTrajectoryObs> SampleTrajectory(std::size_t observations) {
  std::wstring error;
  const SYSTEMTIME noon = KVUtilities::GetSystemTimeFromYYMMDD_HHMMSS(L"231222_120000", error);
  const FILETIME start = KVUtilities::AddSecondsToFileTime(
      {}, KVUtilities::DeltaSecondsBetweenSystemTimes(noon, {1601, 1, 1, 1, 0, 0, 0, 0}));
  const CStringW unit(L"M");
  std::vector<tagKVTrajectoryObs> trajectory(observations);
  for (std::size_t i = 0; i < observations; ++i) {
    const double seconds = static_cast<double>(i) / 10;
    tagKVTrajectoryObs& fix = trajectory[i];
    fix.TimeUTC = KVUtilities::AddSecondsToFileTime(start, seconds);
    fix.AdjGpsSec = 387'281'618 + seconds;
    fix.Latitude = 48.1 + std::sin(seconds / 600) / 100;
    fix.Longitude = 11.5 + std::cos(seconds / 600) / 100;
    fix.Altitude = 600 + seconds / 1000;
    fix.GeoidOffst = 46.9;
    fix.AltUnit = unit;
  }
  return trajectory;
}
