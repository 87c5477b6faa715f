#pragma once

#include "KVRecords.h"
#include "platform/LocalCalendar.h"

namespace kv {

/// Gives a sample its UTC times. The whole second passes through the local calendar; the fraction is added to the tick.
/// The milliseconds of `SystemTimeUTC` are the fraction rounded, and 1000 from 0.9995 on, on purpose: the seconds stay
/// those of the file time. Times outside the years 1-9999 count from the file time zero.
void SetPosTime(double adjGpsSeconds, LocalCalendar& calendar, tagKVPosEvent& sample);

}  // namespace kv
