// DateTime and GetExactTime: layouts of fixed times, and the clock under several international settings.
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
    LocalTime sun{1995, 1, 5, 0, 9, 7, 3, 456}, fri{2005, 11, 25, 5, 23, 59, 59, 0};
    struct { int line; const LocalTime& t; int idate, itime; const char* expect; } rows[] = {
        {__LINE__, sun, 0, 0, "Sun  1/05/95  9:07:03 AM"},
        {__LINE__, sun, 1, 0, "Sun  5/01/95  9:07:03 AM"},
        {__LINE__, sun, 2, 0, "Sun 95/01/05  9:07:03 AM"},
        {__LINE__, sun, 7, 0, "Sun 95/01/05  9:07:03 AM"},   // any other value is year/month/day
        {__LINE__, fri, 7, 0, "Fri  5/11/25 11:59:59 PM"},   // the year field padded with a space
        {__LINE__, fri, 7, 1, "Fri  5/11/25 23:59:59   "},
        {__LINE__, sun, 7, 1, "Sun 95/01/05  9:07:03   "},
    };
    for (auto& r : rows) {
        IntlClock s = defaults();
        s.idate = r.idate;
        s.itime = r.itime;
        EXPECT_EQ(format(r.t, s), r.expect) << "row at line " << r.line;
    }
    for (int hour : {0, 1, 11, 12, 13, 23}) {   // the twelve-hour clock
        char expect[32];
        snprintf(expect, sizeof expect, "Thu  2/29/24 %2d:30:00 %s", (hour + 11) % 12 + 1, hour < 12 ? "AM" : "PM");
        EXPECT_EQ(format(LocalTime{2024, 2, 29, 4, hour, 30, 0, 0}, defaults()), expect) << "hour " << hour;
    }
    char exact[12];
    exact_time_format(sun, ':', exact);
    EXPECT_STREQ(exact, "09:07:03:45");
    exact_time_format(LocalTime{2000, 1, 1, 6, 0, 0, 0, 999}, '.', exact);
    EXPECT_STREQ(exact, "00.00.00.99");
}

TEST(DateTimeLayout, SettingsFromTheProfile) {
    plat_native_clear_profiles();
    IntlClock s;
    intl_clock_read(&s);
    EXPECT_EQ(format(LocalTime{2024, 2, 29, 4, 14, 5, 9, 0}, s), "Thu  2/29/24  2:05:09 PM");
    const char* const settings[][2] = {{"iDate", "2"}, {"iTime", "1"}, {"sDate", "-."}, {"sTime", "."},
                                       {"s1159", "a.m."}, {"s2359", "p"}};
    for (auto& kv : settings) plat_native_set_profile("", "intl", kv[0], kv[1]);
    intl_clock_read(&s);
    EXPECT_EQ(s.itime, 1);
    EXPECT_STREQ(s.am, "a.");
    s.itime = 0;
    EXPECT_EQ(format(LocalTime{2024, 2, 29, 4, 14, 5, 9, 0}, s), "Thu 24-02-29  2.05.09 p ");
    plat_native_set_profile("", "intl", "sDate", "");   // an empty separator keeps the default
    intl_clock_read(&s);
    EXPECT_EQ(s.sdate, '/');
    plat_native_clear_profiles();
}

struct Clock : ValueTest {
    Clock() : ValueTest(kFamilyDateTime) {}
    // Calls `id` until the clock stands still around the call; returns the
    // text and the local time it was made at.
    std::string at_steady_time(int id, LocalTime* t) {
        for (int attempt = 0; attempt < 50; attempt++) {
            LocalTime a, b;
            plat_local_time(&a);
            std::string text = text_of(id, {});
            plat_local_time(&b);
            bool same = a.second == b.second && a.minute == b.minute && a.hour == b.hour;
            if (id == GETEXACTTIME) same = same && a.millis / 10 == b.millis / 10;
            if (same) { *t = a; return text; }
        }
        ADD_FAILURE() << "the clock never stood still";
        return "";
    }
};

// DateTime under a non-default setting, GetExactTime (always 24-hour).
TEST_F(Clock, BothMatchTheClock) {
    for (auto& kv : {std::make_pair("iDate", "2"), std::make_pair("iTime", "1"), std::make_pair("sTime", ".")})
        plat_native_set_profile("", "intl", kv.first, kv.second);
    LocalTime t;
    std::string got = at_steady_time(DATETIME, &t);
    IntlClock s = defaults();
    s.idate = 2;
    s.itime = 1;
    s.stime = '.';
    EXPECT_EQ(got, format(t, s));
    plat_native_set_profile("", "intl", "iTime", "0");
    got = at_steady_time(GETEXACTTIME, &t);
    char expect[32];
    snprintf(expect, sizeof expect, "%02d.%02d.%02d.%02d", t.hour, t.minute, t.second, t.millis / 10);
    EXPECT_EQ(got, expect);
}

TEST_F(Clock, OutOfHeap) {
    use_heap(120);   // room for one small block only
    Value hog = value_int(0);
    ASSERT_TRUE(value_alloc_text(ctx, &hog, 40));
    EXPECT_EQ(call(DATETIME, {}).error, 3096);
    EXPECT_EQ(call(GETEXACTTIME, {}).error, 3096);
    value_free(ctx, &hog);
    EXPECT_EQ(call(GETEXACTTIME, {}).error, 0);
}

} // namespace
} // namespace tsl
