// Time values of the service (seconds since 1970/1/1, UTC) and their local wall-clock forms.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kv::base {

/// A calendar date and time of day, without zone.
struct CivilTime {
    int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
    bool operator==(const CivilTime&) const = default;
};

/// Seconds since 1970/1/1 00:00:00 of a calendar time (no zone: the count is in the time's own frame).
int64_t SecondsSince1970(const CivilTime& t);
/// The calendar time of a count of seconds since 1970/1/1.
CivilTime CivilFromSeconds(int64_t seconds);

/// The local wall-clock time (as seconds since 1970/1/1) of a UTC time, with the offset in force
/// on that date in the system's time zone (TZ honoured).
int64_t UTCtoLocal(int64_t utcSeconds);

/// Every UTC time whose local wall-clock time is `localSeconds`, in ascending order: one value in
/// general, two in the hour that a change of daylight saving passes twice, none in a skipped hour.
std::vector<int64_t> LocalToUTCList(int64_t localSeconds);

}  // namespace kv::base
