// Conversions between UTC and local wall-clock seconds on the system's time zone database.
#include "base/timeconv.h"

#include <algorithm>
#include <ctime>

namespace kv::base {
namespace {

// Days since 1970-01-01 of a proleptic Gregorian date.
int64_t daysFromCivil(int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// The zone's offset from UTC, in seconds, at a UTC instant.
long offsetAt(int64_t utcSeconds) {
    const std::time_t t = static_cast<std::time_t>(utcSeconds);
    std::tm tm{};
    if (!localtime_r(&t, &tm)) return 0;
    return tm.tm_gmtoff;
}

}  // namespace

int64_t SecondsSince1970(const CivilTime& t) {
    return daysFromCivil(t.year, static_cast<unsigned>(t.month), static_cast<unsigned>(t.day)) * 86400 +
           t.hour * 3600 + t.minute * 60 + t.second;
}

CivilTime CivilFromSeconds(int64_t seconds) {
    int64_t z = floorDiv(seconds, 86400);
    const int64_t secs = seconds - z * 86400;
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t y = static_cast<int64_t>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    CivilTime c;
    c.year = static_cast<int>(y + (m <= 2));
    c.month = static_cast<int>(m);
    c.day = static_cast<int>(d);
    c.hour = static_cast<int>(secs / 3600);
    c.minute = static_cast<int>(secs / 60 % 60);
    c.second = static_cast<int>(secs % 60);
    return c;
}

int64_t UTCtoLocal(int64_t utcSeconds) {
    tzset();  // pick up a TZ changed since the last call
    return utcSeconds + offsetAt(utcSeconds);
}

std::vector<int64_t> LocalToUTCList(int64_t localSeconds) {
    tzset();
    // Every offset the zone uses within two days of the date is a candidate; a candidate holds
    // when converting it back gives the same wall-clock time.
    std::vector<long> offsets;
    for (int64_t h = -48; h <= 48; ++h) {
        const long off = offsetAt(localSeconds + h * 3600);
        if (std::find(offsets.begin(), offsets.end(), off) == offsets.end()) offsets.push_back(off);
    }
    std::vector<int64_t> out;
    for (long off : offsets) {
        const int64_t utc = localSeconds - off;
        if (utc + offsetAt(utc) == localSeconds && std::find(out.begin(), out.end(), utc) == out.end())
            out.push_back(utc);
    }
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace kv::base
