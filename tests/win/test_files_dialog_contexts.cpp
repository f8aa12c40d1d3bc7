// The window-to-context table of the dialog procedures (src/ui), compiled
// into this test program: 100 pairs, lookups, and the "DlgPointLookup
// Failure" box for a window that is not in the table.
#include "host_harness.h"
#include "../../src/ui/dialog_contexts.cpp"

using namespace tsl;

static PHandle fake_window(uintptr_t n) { return (PHandle)(0x10000 + n * 16); }
static Context* fake_context(uintptr_t n) { return (Context*)(0x20000 + n * 16); }

TEST(DialogContexts, HoldsOneHundredPairs) {
    for (uintptr_t i = 0; i < DIALOG_CONTEXTS_MAX; i++)
        ASSERT_TRUE(dialog_context_add(fake_window(100 + i), fake_context(i))) << "pair " << i;
    EXPECT_FALSE(dialog_context_add(fake_window(999), fake_context(999)));
    EXPECT_EQ(fake_context(99), dialog_context_peek(fake_window(199)));
    EXPECT_EQ(fake_context(7), dialog_context_find(fake_window(107)));
    dialog_context_remove(fake_window(150));
    EXPECT_EQ(nullptr, dialog_context_peek(fake_window(150)));
    EXPECT_EQ(fake_context(51), dialog_context_peek(fake_window(151)));
    EXPECT_TRUE(dialog_context_add(fake_window(999), fake_context(999)));  // the freed place is taken again
    EXPECT_EQ(fake_context(999), dialog_context_peek(fake_window(999)));
    for (uintptr_t i = 0; i < DIALOG_CONTEXTS_MAX; i++) dialog_context_remove(fake_window(100 + i));
    dialog_context_remove(fake_window(999));
    EXPECT_EQ(nullptr, dialog_context_peek(nullptr));
    EXPECT_TRUE(dialog_context_add(fake_window(1), fake_context(1)));
    dialog_context_remove(fake_window(1));
}

// A failed lookup shows "DlgPointLookup Failure" titled "Internal Error"; the user presses OK.
TEST(DialogContexts, FailedLookupShowsTheBox) {
    User user({IDOK});
    EXPECT_EQ(nullptr, dialog_context_find(fake_window(12345)));
    user.finish();
    auto seen = user.seen();
    ASSERT_EQ(1u, seen.size());
    EXPECT_EQ("Internal Error", seen[0].caption);
    EXPECT_EQ("DlgPointLookup Failure", seen[0].text);
}
