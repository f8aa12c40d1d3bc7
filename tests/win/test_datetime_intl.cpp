// DateTime and GetExactTime run through the DLL like a host, under several
// international settings written into the user profile ([intl] of WIN.INI)
// by the test, and checked against the clock of the same machine.
#include <gtest/gtest.h>
#include <cstdio>
#include "host_harness.h"

static Dll g_dll;

namespace {

const char* const kKeys[] = {"iDate", "iTime", "sDate", "sTime", "s1159", "s2359"};

// The [intl] values as they were, put back when the test ends.
struct IntlOverride {
    std::string old[6];
    bool had[6];
    IntlOverride() {
        for (int i = 0; i < 6; i++) {
            char buf[64];
            GetProfileStringA("intl", kKeys[i], "\x01", buf, sizeof buf);
            had[i] = strcmp(buf, "\x01") != 0;
            old[i] = buf;
        }
    }
    void set(const char* key, const char* value) {
        EXPECT_TRUE(WriteProfileStringA("intl", key, value)) << "writing intl " << key;
    }
    ~IntlOverride() {
        for (int i = 0; i < 6; i++) WriteProfileStringA("intl", kKeys[i], had[i] ? old[i].c_str() : NULL);
    }
};

struct Setting {
    int line;
    const char *idate, *itime, *sdate, *stime, *am, *pm;
};

// The text DateTime must give at time t under setting s.
std::string expected_datetime(const SYSTEMTIME& t, const Setting& s) {
    static const char days[] = "SunMonTueWedThuFriSat";
    int idate = atoi(s.idate), itime = atoi(s.itime);
    int yy = t.wYear % 100, f[3];
    if (idate == 0) { f[0] = t.wMonth; f[1] = t.wDay; f[2] = yy; }
    else if (idate == 1) { f[0] = t.wDay; f[1] = t.wMonth; f[2] = yy; }
    else { f[0] = yy; f[1] = t.wMonth; f[2] = t.wDay; }
    int hour = t.wHour;
    std::string suffix = "  ";
    if (itime == 0) {
        // the first two characters, a shorter designator padded to keep the width
        suffix = (std::string(t.wHour < 12 ? s.am : s.pm) + "  ").substr(0, 2);
        if (hour == 0) hour = 12;
        if (hour > 12) hour -= 12;
    }
    char buf[64];
    snprintf(buf, sizeof buf, "%.3s %2d%c%02d%c%02d %2d%c%02d%c%02d %s", days + 3 * t.wDayOfWeek, f[0],
             s.sdate[0], f[1], s.sdate[0], f[2], hour, s.stime[0], t.wMinute, s.stime[0], t.wSecond,
             suffix.c_str());
    return buf;
}

bool same_second(const SYSTEMTIME& a, const SYSTEMTIME& b) {
    return a.wSecond == b.wSecond && a.wMinute == b.wMinute && a.wHour == b.wHour && a.wDay == b.wDay;
}

class DateTimeIntl : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing"; }
};

TEST_F(DateTimeIntl, DateTimeFollowsTheProfileAtEveryCall) {
    Setting rows[] = {
        {__LINE__, "0", "0", "/", ":", "AM", "PM"},
        {__LINE__, "2", "1", "/", ":", "AM", "PM"},
        {__LINE__, "1", "0", ".", ".", "vorm", "nachm"},
        {__LINE__, "2", "0", "-", ":", "a", "p"},
        {__LINE__, "0", "1", "/", "h", "AM", "PM"},
    };
    IntlOverride intl;
    HostContext host(&g_dll);
    for (const Setting& s : rows) {
        intl.set("iDate", s.idate);
        intl.set("iTime", s.itime);
        intl.set("sDate", s.sdate);
        intl.set("sTime", s.stime);
        intl.set("s1159", s.am);
        intl.set("s2359", s.pm);
        std::string got, want;
        for (int attempt = 0; attempt < 20; attempt++) {
            SYSTEMTIME before, after;
            GetLocalTime(&before);
            ASSERT_EQ(1, host.run("d = DateTime()\r\n")) << "row at line " << s.line;
            GetLocalTime(&after);
            if (!same_second(before, after)) continue;
            got = host.get("d");
            want = expected_datetime(before, s);
            break;
        }
        EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR)) << "row at line " << s.line;
        EXPECT_EQ(want, got) << "row at line " << s.line;
        EXPECT_EQ(24u, got.size()) << "row at line " << s.line;
    }
}

// Hundredths of the day of a SYSTEMTIME.
long hundredths(const SYSTEMTIME& t) {
    return ((t.wHour * 60L + t.wMinute) * 60 + t.wSecond) * 100 + t.wMilliseconds / 10;
}

TEST_F(DateTimeIntl, GetExactTimeReadsOnlyTheTimeSeparator) {
    IntlOverride intl;
    HostContext host(&g_dll);
    for (const char* sep : {":", "."}) {
        intl.set("sTime", sep);
        intl.set("iTime", "0");   // not read: the hour is always on the 24-hour clock
        bool checked = false;
        for (int attempt = 0; attempt < 20 && !checked; attempt++) {
            SYSTEMTIME before, after;
            GetLocalTime(&before);
            ASSERT_EQ(1, host.run("e = GetExactTime()\r\n"));
            GetLocalTime(&after);
            if (before.wDay != after.wDay) continue;   // midnight passed
            std::string got = host.get("e");
            ASSERT_EQ(11u, got.size()) << got;
            char layout[32];
            snprintf(layout, sizeof layout, "99%c99%c99%c99", sep[0], sep[0], sep[0]);
            for (int i = 0; i < 11; i++) {
                bool digit = got[(size_t)i] >= '0' && got[(size_t)i] <= '9';
                if (layout[i] == '9') EXPECT_TRUE(digit) << got << " at " << i;
                else EXPECT_EQ(layout[i], got[(size_t)i]) << got << " at " << i;
            }
            SYSTEMTIME read = before;
            read.wHour = (WORD)atoi(got.substr(0, 2).c_str());
            read.wMinute = (WORD)atoi(got.substr(3, 2).c_str());
            read.wSecond = (WORD)atoi(got.substr(6, 2).c_str());
            read.wMilliseconds = (WORD)(atoi(got.substr(9, 2).c_str()) * 10);
            EXPECT_LE(hundredths(before), hundredths(read)) << got;
            EXPECT_LE(hundredths(read), hundredths(after)) << got;
            checked = true;
        }
        EXPECT_TRUE(checked) << "separator " << sep;
    }
}

} // namespace
