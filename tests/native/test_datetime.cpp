// DateTime and GetExactTime: the layouts from fixed times, and the functions
// against the clock under several international settings.
#include "values_fixture.h"
#include "functions/datetime.h"

namespace tsl {
namespace {

enum { DATETIME = 76, GETEXACTTIME = 138 };
const char* const DAYS = "SunMonTueWedThuFriSat";

IntlClock defaults() { return IntlClock{0, 0, '/', ':', {'A', 'M', 0}, {'P', 'M', 0}}; }

std::string format(const LocalTime& t, const IntlClock& s) {
    char out[25];
    datetime_format(t, s, DAYS, out);
    return out;
}

TEST(DateTimeLayout, FixedTimes) {
    LocalTime t{1995, 1, 5, 0, 9, 7, 3, 456};   // Sunday 5 January 1995, 09:07:03.456
    IntlClock s = defaults();
    EXPECT_EQ(format(t, s), "Sun  1/05/95  9:07:03 AM");
    s.idate = 1;
    EXPECT_EQ(format(t, s), "Sun  5/01/95  9:07:03 AM");
    s.idate = 2;
    EXPECT_EQ(format(t, s), "Sun 95/01/05  9:07:03 AM");
    s.idate = 7;   // any other value is year/month/day
    EXPECT_EQ(format(t, s), "Sun 95/01/05  9:07:03 AM");
    LocalTime y2005{2005, 11, 25, 5, 23, 59, 59, 0};
    EXPECT_EQ(format(y2005, s), "Fri  5/11/25 11:59:59 PM");   // the year field padded with a space
    s.itime = 1;
    EXPECT_EQ(format(y2005, s), "Fri  5/11/25 23:59:59   ");
    EXPECT_EQ(format(t, s), "Sun 95/01/05  9:07:03   ");

    char exact[12];
    exact_time_format(t, ':', exact);
    EXPECT_STREQ(exact, "09:07:03:45");
    exact_time_format(LocalTime{2000, 1, 1, 6, 0, 0, 0, 999}, '.', exact);
    EXPECT_STREQ(exact, "00.00.00.99");
}

TEST(DateTimeLayout, TwelveHourClock) {
    struct { int line; int hour; const char* clock; } rows[] = {
        {__LINE__, 0, "12:30:00 AM"},  {__LINE__, 1, " 1:30:00 AM"},  {__LINE__, 11, "11:30:00 AM"},
        {__LINE__, 12, "12:30:00 PM"}, {__LINE__, 13, " 1:30:00 PM"}, {__LINE__, 23, "11:30:00 PM"},
    };
    for (auto& r : rows) {
        LocalTime t{2024, 2, 29, 4, r.hour, 30, 0, 0};
        std::string got = format(t, defaults());
        EXPECT_EQ(got.size(), 24u) << "row at line " << r.line;
        EXPECT_EQ(got.substr(13), r.clock) << "row at line " << r.line;
        EXPECT_EQ(got.substr(0, 13), "Thu  2/29/24 ") << "row at line " << r.line;
    }
}

TEST(DateTimeLayout, SettingsFromTheProfile) {
    plat_native_clear_profiles();
    IntlClock s;
    intl_clock_read(&s);
    EXPECT_EQ(s.idate, 0);
    EXPECT_EQ(s.itime, 0);
    EXPECT_EQ(s.sdate, '/');
    EXPECT_EQ(s.stime, ':');
    EXPECT_STREQ(s.am, "AM");
    EXPECT_STREQ(s.pm, "PM");
    plat_native_set_profile("", "intl", "iDate", "2");
    plat_native_set_profile("", "intl", "iTime", "1");
    plat_native_set_profile("", "intl", "sDate", "-.");
    plat_native_set_profile("", "intl", "sTime", ".");
    plat_native_set_profile("", "intl", "s1159", "a.m.");
    plat_native_set_profile("", "intl", "s2359", "p");
    intl_clock_read(&s);
    EXPECT_EQ(s.idate, 2);
    EXPECT_EQ(s.itime, 1);
    EXPECT_EQ(s.sdate, '-');
    EXPECT_EQ(s.stime, '.');
    EXPECT_STREQ(s.am, "a.");
    EXPECT_STREQ(s.pm, "p ");
    LocalTime t{2024, 2, 29, 4, 14, 5, 9, 0};
    s.itime = 0;
    EXPECT_EQ(format(t, s), "Thu 24-02-29  2.05.09 p ");
    plat_native_set_profile("", "intl", "sDate", "");   // an empty separator keeps the default
    intl_clock_read(&s);
    EXPECT_EQ(s.sdate, '/');
    plat_native_clear_profiles();
}

class Clock : public ValueTest {
protected:
    // Calls `id` until the clock stands still around the call, and returns
    // the text with the local time it was made at.
    std::string at_steady_time(int id, LocalTime* t) {
        for (int attempt = 0; attempt < 50; attempt++) {
            LocalTime a, b;
            plat_local_time(&a);
            Result r = call(kFamilyDateTime, id, {});
            plat_local_time(&b);
            EXPECT_EQ(r.error, 0);
            bool same = a.second == b.second && a.minute == b.minute && a.hour == b.hour;
            if (id == GETEXACTTIME) same = same && a.millis / 10 == b.millis / 10;
            if (same) { *t = a; return r.text; }
        }
        ADD_FAILURE() << "the clock never stood still";
        return "";
    }
};

TEST_F(Clock, DateTimeMatchesTheClockUnderEachSetting) {
    struct { int line; const char* idate; const char* itime; } rows[] = {
        {__LINE__, "0", "0"}, {__LINE__, "2", "1"}, {__LINE__, "1", "0"}, {__LINE__, "2", "0"},
    };
    for (auto& r : rows) {
        plat_native_set_profile("", "intl", "iDate", r.idate);
        plat_native_set_profile("", "intl", "iTime", r.itime);
        LocalTime t;
        std::string got = at_steady_time(DATETIME, &t);
        IntlClock s = defaults();
        s.idate = atoi(r.idate);
        s.itime = atoi(r.itime);
        EXPECT_EQ(got, format(t, s)) << "row at line " << r.line;
        EXPECT_EQ(got.size(), 24u) << "row at line " << r.line;
        EXPECT_EQ(got.substr(0, 3), std::string(DAYS + 3 * t.weekday, 3)) << "row at line " << r.line;
    }
}

TEST_F(Clock, GetExactTimeMatchesTheClock) {
    plat_native_set_profile("", "intl", "sTime", ".");
    plat_native_set_profile("", "intl", "iTime", "0");   // not read: always 24-hour
    LocalTime t;
    std::string got = at_steady_time(GETEXACTTIME, &t);
    char expect[32];
    snprintf(expect, sizeof expect, "%02d.%02d.%02d.%02d", t.hour, t.minute, t.second, t.millis / 10);
    EXPECT_EQ(got, expect);
}

TEST_F(Clock, OutOfHeap) {
    use_heap(120);   // room for one small block only
    Value hog = value_int(0);
    ASSERT_TRUE(value_alloc_text(ctx, &hog, 40));
    EXPECT_EQ(call(kFamilyDateTime, DATETIME, {}).error, 3096);
    EXPECT_EQ(call(kFamilyDateTime, GETEXACTTIME, {}).error, 3096);
    value_free(ctx, &hog);
    EXPECT_EQ(call(kFamilyDateTime, GETEXACTTIME, {}).error, 0);
}

} // namespace
} // namespace tsl
