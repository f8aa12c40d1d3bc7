// The clock texts of DateTime and GetExactTime, formatted from a given time
// and given international settings (the functions read both afresh per call).
#pragma once
#include "../core/plat.h"

namespace tsl {

struct IntlClock {
    int idate;          // 0 month/day/year, 1 day/month/year, other year/month/day
    int itime;          // 0 12-hour clock with a designator, other 24-hour
    char sdate, stime;  // one-character separators
    char am[3], pm[3];  // the first two bytes of the designators, space-padded
};

// Reads the settings from the profile section "intl".
void intl_clock_read(IntlClock* s);
// "Sun  1/05/95  9:07:03 AM": 24 characters and the NUL.
void datetime_format(const LocalTime& t, const IntlClock& s, const char* day_names, char out[25]);
// "09:07:03:45": 11 characters and the NUL.
void exact_time_format(const LocalTime& t, char stime, char out[12]);

} // namespace tsl
