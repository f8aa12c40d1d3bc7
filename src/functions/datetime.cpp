// The clock functions DateTime and GetExactTime: the local time as fixed-width
// text in the user's international settings, read from the profile section
// "intl" at every call so that a change shows at once.
#include <cstdio>
#include <cstring>
#include "families.h"
#include "../core/messages.h"
#include "datetime.h"

namespace tsl {

enum : int16_t { ID_DATETIME = 76, ID_GETEXACTTIME = 138 };   // ORDER KEYWORDS

static const char kDayNames[] = "SunMonTueWedThuFriSat";   // message 207

static void intl_text(const char* key, const char* def, char* buf, unsigned size) {
    plat_profile_string(nullptr, "intl", key, def, buf, size);
}

static int intl_int(const char* key) {
    char buf[16];
    intl_text(key, "0", buf, sizeof buf);
    return text_to_integer(buf);
}

// A one-character separator; an empty setting keeps the default.
static char intl_sep(const char* key, char def) {
    char buf[8];
    char d[2] = {def, 0};
    intl_text(key, d, buf, sizeof buf);
    return buf[0] ? buf[0] : def;
}

// The first two bytes of an AM/PM designator, padded with spaces; a lone
// lead byte at the cut becomes a space so the text never ends in half a
// double-byte character.
static void designator(const char* key, const char* def, char out[3]) {
    char buf[32];
    intl_text(key, def, buf, sizeof buf);
    out[0] = buf[0] ? buf[0] : ' ';
    out[1] = buf[0] && buf[1] ? buf[1] : ' ';
    out[2] = 0;
    if (plat_is_lead_byte((unsigned char)out[1]) && !plat_is_lead_byte((unsigned char)out[0])) out[1] = ' ';
}

// A two-digit field (the clock's fields are never negative).
static unsigned two(int n) { return (unsigned)n % 100u; }

void intl_clock_read(IntlClock* s) {
    s->idate = intl_int("iDate");
    s->itime = intl_int("iTime");
    s->sdate = intl_sep("sDate", '/');
    s->stime = intl_sep("sTime", ':');
    designator("s1159", "AM", s->am);
    designator("s2359", "PM", s->pm);
}

void datetime_format(const LocalTime& t, const IntlClock& s, const char* day_names, char out[25]) {
    int wd = t.weekday >= 0 && t.weekday <= 6 ? t.weekday : 0;
    int yy = t.year % 100, f1, f2, f3;
    if (s.idate == 0) { f1 = t.month; f2 = t.day; f3 = yy; }
    else if (s.idate == 1) { f1 = t.day; f2 = t.month; f3 = yy; }
    else { f1 = yy; f2 = t.month; f3 = t.day; }
    int hour = t.hour;
    if (s.itime == 0) {   // 12-hour clock: 0, 12 and 24 show as 12, 13 and later lose 12
        if (hour == 0 || hour == 24) hour = 12;
        else if (hour > 12) hour -= 12;
    }
    const char* suffix = s.itime != 0 ? "  " : (t.hour < 12 ? s.am : s.pm);
    // The first date field and the hour are padded with a space, the others with zeros.
    snprintf(out, 25, "%.3s %2u%c%02u%c%02u %2u%c%02u%c%02u %.2s", day_names + 3 * wd, two(f1),
             s.sdate, two(f2), s.sdate, two(f3), two(hour), s.stime, two(t.minute), s.stime,
             two(t.second), suffix);
}

// The hundredths follow the time separator too, deliberately, not a decimal point.
void exact_time_format(const LocalTime& t, char stime, char out[12]) {
    snprintf(out, 12, "%02u%c%02u%c%02u%c%02u", two(t.hour), stime, two(t.minute), stime,
             two(t.second), stime, two(t.millis / 10));
}

// DateTime(): the local time in the layout of datetime_format.
static void fn_datetime(Context* ctx, Value* result, Value*) {
    LocalTime t;
    plat_local_time(&t);
    IntlClock s;
    intl_clock_read(&s);
    // Day names from message 207, which a language module may replace; a
    // text too short for seven names falls back to the built-in one.
    char names[64];
    unsigned n = load_message(ctx, 207, names, sizeof names);
    if (ctx->error) return;
    if (n < 21 || strlen(names) < 21) memcpy(names, kDayNames, sizeof kDayNames);
    char buf[25];
    datetime_format(t, s, names, buf);
    value_set_text(ctx, result, buf);
}

// GetExactTime(): "09:07:03:45"; only the time separator is read.
static void fn_get_exact_time(Context* ctx, Value* result, Value*) {
    LocalTime t;
    plat_local_time(&t);
    char buf[12];
    exact_time_format(t, intl_sep("sTime", ':'), buf);
    value_set_text(ctx, result, buf);
}

static const FunctionEntry kTable[] = {
    {ID_DATETIME, fn_datetime}, {ID_GETEXACTTIME, fn_get_exact_time},
};
TSL_FAMILY_DEFINE(kFamilyDateTime, kTable)

} // namespace tsl
