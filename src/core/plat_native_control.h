// Controls of the native platform that tests use to stand in for system
// settings: the double-byte code page, the user break, box answers,
// profile values. Native build only.
#pragma once
#include <string>

namespace tsl {
// Double-byte mode with the lead-byte ranges of code page 932 (0x81-0x9F, 0xE0-0xFC).
void plat_native_set_dbcs(bool on);
// Sets Ctrl+Break "down" for the next break test.
void plat_native_press_break();
// Sets Ctrl+Break "down" for the n-th break test from now (0 = never).
void plat_native_break_after(unsigned n);
// The answer the next message boxes give (0 = each box's default button).
void plat_native_set_box_answer(int answer);
// The texts of all boxes shown so far, "caption|text" per box; cleared by the call.
std::string plat_native_take_boxes();
// Profile values that plat_profile_string returns (file "" = the user profile).
void plat_native_set_profile(const char* file, const char* section, const char* key, const char* value);
void plat_native_clear_profiles();
// Makes every sleep return at once (unit tests and the fuzzer: Delay, the pump).
void plat_native_set_no_sleep(bool on);
} // namespace tsl
