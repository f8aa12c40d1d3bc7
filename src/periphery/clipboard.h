// The clipboard, shared by the clipboard functions and SnapShot: text in
// the CF_TEXT and CF_UNICODETEXT formats, and bitmaps.
#pragma once
#include "../core/context.h"

namespace tsl {

const unsigned CLIP_TEXT_MAX = 32000;   // bytes of clipboard text a script sees

// Copies the clipboard's text (at most size - 1 bytes) into buf and returns
// its length; "" when the clipboard holds no text. 1401 when the clipboard
// stays busy.
unsigned clipboard_get_text(Context* ctx, char* buf, unsigned size);
// Replaces the clipboard's contents by the text. 1 or 0 with 1401 or 1402.
int clipboard_put_text(Context* ctx, const char* text);
// Replaces the clipboard's contents by the bitmap (an HBITMAP), which the
// clipboard then owns; on failure (1401 or 1402) the bitmap is deleted.
int clipboard_put_bitmap(Context* ctx, void* bitmap);

} // namespace tsl
