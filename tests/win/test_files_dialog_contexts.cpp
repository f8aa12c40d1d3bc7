// The window-to-context table of the dialog procedures (src/ui), compiled
// into this test program: 100 pairs, lookups, and the "DlgPointLookup
// Failure" box for a window that is not in the table.
#include <gtest/gtest.h>
#include <atomic>
#include "../../src/ui/dialog_contexts.cpp"

using namespace tsl;

static PHandle fake_window(uintptr_t n) { return (PHandle)(0x10000 + n * 16); }
static Context* fake_context(uintptr_t n) { return (Context*)(0x20000 + n * 16); }

TEST(DialogContexts, AddFindRemove) {
    ASSERT_TRUE(dialog_context_add(fake_window(1), fake_context(1)));
    ASSERT_TRUE(dialog_context_add(fake_window(2), fake_context(2)));
    EXPECT_EQ(fake_context(1), dialog_context_peek(fake_window(1)));
    EXPECT_EQ(fake_context(2), dialog_context_find(fake_window(2)));
    dialog_context_remove(fake_window(1));
    EXPECT_EQ(nullptr, dialog_context_peek(fake_window(1)));
    EXPECT_EQ(fake_context(2), dialog_context_peek(fake_window(2)));
    dialog_context_remove(fake_window(2));
    EXPECT_EQ(nullptr, dialog_context_peek(nullptr));
}

TEST(DialogContexts, HoldsOneHundredPairs) {
    for (uintptr_t i = 0; i < DIALOG_CONTEXTS_MAX; i++)
        ASSERT_TRUE(dialog_context_add(fake_window(100 + i), fake_context(i))) << "pair " << i;
    EXPECT_FALSE(dialog_context_add(fake_window(999), fake_context(999)));
    EXPECT_EQ(fake_context(99), dialog_context_peek(fake_window(199)));
    dialog_context_remove(fake_window(150));
    EXPECT_TRUE(dialog_context_add(fake_window(999), fake_context(999)));   // the freed place is taken again
    EXPECT_EQ(fake_context(999), dialog_context_peek(fake_window(999)));
    for (uintptr_t i = 0; i < DIALOG_CONTEXTS_MAX; i++) dialog_context_remove(fake_window(100 + i));
    dialog_context_remove(fake_window(999));
    EXPECT_TRUE(dialog_context_add(fake_window(1), fake_context(1)));
    dialog_context_remove(fake_window(1));
}

// A failed lookup shows "DlgPointLookup Failure" titled "Internal Error";
// the user (a second thread) reads it and presses OK.
static std::atomic<bool> g_box_seen{false};
static char g_box_text[100];
static DWORD WINAPI press_ok(void*) {
    for (int n = 0; n < 500; n++) {
        HWND box = FindWindowA("#32770", "Internal Error");
        if (box && IsWindowVisible(box)) {
            HWND w = NULL;
            while ((w = FindWindowExA(box, w, "Static", NULL)) != NULL) {
                char text[100] = "";
                GetWindowTextA(w, text, sizeof text);
                if (text[0]) strcpy(g_box_text, text);
            }
            g_box_seen = true;
            PostMessageA(box, WM_COMMAND, IDOK, 0);
            return 0;
        }
        Sleep(20);
    }
    return 0;
}

TEST(DialogContexts, FailedLookupShowsTheBox) {
    HANDLE user = CreateThread(NULL, 0, press_ok, NULL, 0, NULL);
    EXPECT_EQ(nullptr, dialog_context_find(fake_window(12345)));
    WaitForSingleObject(user, 15000);
    CloseHandle(user);
    EXPECT_TRUE(g_box_seen);
    EXPECT_STREQ("DlgPointLookup Failure", g_box_text);
}
