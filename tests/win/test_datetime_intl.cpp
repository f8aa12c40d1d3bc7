// DateTime, GetExactTime and FileTimeGet run through the DLL like a host,
// under international settings written into the user profile ([intl] of
// WIN.INI) by the test, and checked against the clock of the same machine.
#include "host_harness.h"

namespace {

const char* const kKeys[] = {"iDate", "iTime", "sDate", "sTime", "s1159", "s2359"};

// The [intl] values as they were, put back when the test ends; set() writes
// the values (iDate, iTime, sDate, sTime, s1159, s2359); a null one removes the key.
struct IntlOverride {
    std::string old[6];
    IntlOverride() {
        for (int i = 0; i < 6; i++) {
            char buf[64];
            GetProfileStringA("intl", kKeys[i], "\x01", buf, sizeof buf);
            old[i] = buf;
        }
    }
    void set(const char* const values[6]) { for (int i = 0; i < 6; i++) WriteProfileStringA("intl", kKeys[i], values[i]); }
    ~IntlOverride() { for (int i = 0; i < 6; i++) WriteProfileStringA("intl", kKeys[i], old[i] == "\x01" ? NULL : old[i].c_str()); }
};

// The text DateTime must give at time t under the settings v.
std::string expected_datetime(const SYSTEMTIME& t, const char* const v[6]) {
    static const char days[] = "SunMonTueWedThuFriSat";
    int idate = atoi(v[0]), yy = t.wYear % 100, hour = t.wHour;
    int f[3] = {t.wMonth, t.wDay, yy};
    if (idate == 1) { f[0] = t.wDay; f[1] = t.wMonth; }
    if (idate == 2) { f[0] = yy; f[1] = t.wMonth; f[2] = t.wDay; }
    std::string suffix = "  ";
    if (atoi(v[1]) == 0) {  // the first two characters, a shorter designator padded to keep the width
        suffix = (std::string(t.wHour < 12 ? v[4] : v[5]) + "  ").substr(0, 2);
        hour = hour == 0 ? 12 : hour > 12 ? hour - 12 : hour;
    }
    char buf[64];
    snprintf(buf, sizeof buf, "%.3s %2d%c%02d%c%02d %2d%c%02d%c%02d %s", days + 3 * t.wDayOfWeek, f[0], v[2][0], f[1],
             v[2][0], f[2], hour, v[3][0], t.wMinute, v[3][0], t.wSecond, suffix.c_str());
    return buf;
}

long hundredths(const SYSTEMTIME& t) { return ((t.wHour * 60L + t.wMinute) * 60 + t.wSecond) * 100 + t.wMilliseconds / 10; }

class DateTimeIntl : public DllTest {
protected:
    IntlOverride intl;
    HostContext host;
    SYSTEMTIME before, after;
    // Runs `script` until the clock's second (or, `day_only`, its day) did not change meanwhile.
    void run_timed(const std::string& script, bool day_only) {
        for (int attempt = 0; attempt < 20; attempt++) {
            GetLocalTime(&before);
            EXPECT_EQ(1, host.run(script));
            GetLocalTime(&after);
            if (before.wDay == after.wDay && (day_only || (before.wSecond == after.wSecond && before.wMinute == after.wMinute)))
                return;
        }
    }
};

TEST_F(DateTimeIntl, DateTimeFollowsTheProfileAtEveryCall) {
    struct { int line; const char* v[6]; } rows[] = {
        {__LINE__, {"0", "0", "/", ":", "AM", "PM"}},   {__LINE__, {"2", "1", "/", ":", "AM", "PM"}},
        {__LINE__, {"1", "0", ".", ".", "vorm", "nachm"}}, {__LINE__, {"2", "0", "-", ":", "a", "p"}},
        {__LINE__, {"0", "1", "/", "h", "AM", "PM"}},
    };
    for (auto& r : rows) {
        intl.set(r.v);
        run_timed("d = DateTime()\r\n", false);
        EXPECT_EQ(joined(0, expected_datetime(before, r.v), 24), joined(host.error(), host.get("d"), host.get("d").size()))
            << "row at line " << r.line;
    }
}

// GetExactTime reads only the time separator: hh:mm:ss:cc on the 24-hour clock, whatever iTime says.
TEST_F(DateTimeIntl, GetExactTimeReadsOnlyTheTimeSeparator) {
    for (const char* sep : {":", "."}) {
        const char* v[6] = {"0", "0", "/", sep, "AM", "PM"};
        intl.set(v);
        run_timed("e = GetExactTime()\r\n", true);
        SYSTEMTIME read = before;
        std::string got = host.get("e");
        unsigned h = 99, m = 99, sec = 99, cs = 99;
        char layout[16];
        sscanf(got.c_str(), "%2u%*c%2u%*c%2u%*c%2u", &h, &m, &sec, &cs);
        snprintf(layout, sizeof layout, "%02u%c%02u%c%02u%c%02u", h, sep[0], m, sep[0], sec, sep[0], cs);
        EXPECT_EQ(layout, got) << sep;
        read.wHour = (WORD)h;
        read.wMinute = (WORD)m;
        read.wSecond = (WORD)sec;
        read.wMilliseconds = (WORD)(cs * 10);
        EXPECT_TRUE(hundredths(before) <= hundredths(read) && hundredths(read) <= hundredths(after)) << got;
    }
}

TEST_F(DateTimeIntl, FileTimeGetLayouts) {
    struct { int line; int y, mo, d, h, mi; const char* v[6]; const char* expected; } rows[] = {
        {__LINE__, 1995, 1, 5, 9, 7, {}, " 1/05/95   9:07AM"},
        {__LINE__, 1995, 1, 5, 0, 5, {}, " 1/05/95  12:05AM"},
        {__LINE__, 1995, 12, 25, 12, 0, {}, "12/25/95  12:00PM"},
        {__LINE__, 1999, 3, 9, 23, 59, {"1", "1", ".", "."}, " 9.03.99  23.59  "},
        {__LINE__, 1988, 7, 4, 13, 1, {"2", "0", "-", nullptr, "vorm", "nachm"}, "88-07-04   1:01na"},
        // from 2000 on the year's tens run past '9': 2005 is DOS year 25, 25 + 80 = 105
        {__LINE__, 2005, 2, 3, 10, 30, {}, " 2/03/:5  10:30AM"},
        {__LINE__, 2026, 11, 21, 17, 40, {}, "11/21/<6   5:40PM"},
    };
    TempDir dir;
    write_file(dir.at("f.txt"), "x");
    for (auto& r : rows) {
        intl.set(r.v);
        set_local_time(dir.at("f.txt"), r.y, r.mo, r.d, r.h, r.mi);
        host.run("t = FileTimeGet(\"" + dir.at("f.txt") + "\")\r\n");
        EXPECT_EQ(joined(0, r.expected), joined(host.error(), host.get("t"))) << "row at line " << r.line;
    }
}

} // namespace
