// Virtual screen coordinates: both axes run from 0 to 1000 whatever the
// screen's size. Integer division both ways, so a pixel read back from a
// virtual number need not be the pixel it came from.
#pragma once
#include <windows.h>

namespace tsl {

inline int screen_width() { return GetSystemMetrics(SM_CXSCREEN); }
inline int screen_height() { return GetSystemMetrics(SM_CYSCREEN); }

// Virtual v on an axis of `size` pixels -> pixel, and back.
inline int virtual_to_pixel(int v, int size) { return (int)((long long)v * size / 1000); }
inline int pixel_to_virtual(int p, int size) { return size ? (int)((long long)p * 1000 / size) : 0; }

} // namespace tsl
