// FileCopy and FileMove asking through the real "Confirm File Replace"
// dialog, pressed by a user thread; the interpreter is driven as a host.
#include <gtest/gtest.h>
#include "host_harness.h"
#include "files_fixture.h"
#include "resources/dialogs/filewarn_ids.h"

using namespace files_test;

static Dll g_dll;

class Replace : public ::testing::Test {
protected:
    std::string dir;
    static void SetUpTestSuite() {
        ASSERT_TRUE(g_dll.load()) << "TSLPR32I.dll or its entries missing";
        g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    }
    void SetUp() override { dir = make_temp_dir(); }
    void TearDown() override { remove_tree(dir); }
    std::string at(const std::string& name) { return dir + "\\" + name; }
    // No sound to wait for as each dialog opens (this context only; the
    // settings file is shared with tests running beside this one).
    static void quiet(HostContext& host) { host.lock()->sounds = 0; host.unlock(); }

    // A source "src.txt" ("source") and a target "dst.txt" ("target") a day
    // older or newer than the source.
    void make_pair(bool target_newer) {
        write_file(at("src.txt"), "source");
        write_file(at("dst.txt"), "target");
        set_local_time(at("src.txt"), 2020, 6, 15, 12, 0);
        set_local_time(at("dst.txt"), 2020, 6, target_newer ? 16 : 14, 12, 0);
    }
};

// Each of the eight buttons, with an older and with a newer target.
TEST_F(Replace, EveryButtonWithOlderAndNewerTarget) {
    struct Row { int button; bool target_newer; bool replaced; } rows[] = {
        {FW_OVERWRITE, false, true},       // row 0
        {FW_OVERWRITE, true, true},        // row 1
        {FW_OVERWRITE_ALL, false, true},   // row 2
        {FW_OVERWRITE_ALL, true, true},    // row 3
        {FW_SKIP, false, false},           // row 4
        {FW_SKIP, true, false},            // row 5
        {FW_CANCEL, false, false},         // row 6
        {FW_CANCEL, true, false},          // row 7
        {FW_NEWER, false, false},          // row 8: "Use Newer" replaces only a NEWER target
        {FW_NEWER, true, true},            // row 9
        {FW_NEWER_ALL, false, false},      // row 10
        {FW_NEWER_ALL, true, true},        // row 11
        {FW_OLDER, false, true},           // row 12: "Use Older" replaces an older target
        {FW_OLDER, true, false},           // row 13
        {FW_OLDER_ALL, false, true},       // row 14
        {FW_OLDER_ALL, true, false},       // row 15
    };
    HostContext host(&g_dll);
    quiet(host);
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; i++) {
        make_pair(rows[i].target_newer);
        DialogUser user({rows[i].button});
        host.run("r = FileCopy(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 1)\r\n");
        user.finish();
        EXPECT_EQ(0, host.service(TSL_SERVICE_RUN_ERROR)) << "row " << i;
        EXPECT_EQ("1", host.get("r")) << "row " << i;
        EXPECT_EQ(1u, user.seen.size()) << "row " << i;
        EXPECT_EQ(rows[i].replaced ? "source" : "target", read_file(at("dst.txt"))) << "row " << i;
        EXPECT_EQ("source", read_file(at("src.txt"))) << "row " << i;
    }
}

// Times equal to the two-second step count as "source newer or the same age".
TEST_F(Replace, SameAgeCountsAsSourceNewer) {
    HostContext host(&g_dll);
    quiet(host);
    const int buttons[] = {FW_OLDER, FW_NEWER};
    const char* expected[] = {"source", "target"};
    for (int i = 0; i < 2; i++) {
        write_file(at("src.txt"), "source");
        write_file(at("dst.txt"), "target");
        set_local_time(at("src.txt"), 2020, 6, 15, 12, 0);
        set_local_time(at("dst.txt"), 2020, 6, 15, 12, 0);
        DialogUser user({buttons[i]});
        host.run("FileCopy(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 1)\r\n");
        user.finish();
        EXPECT_EQ(expected[i], read_file(at("dst.txt"))) << "button " << buttons[i];
    }
}

// The dialog shows both names, an information line for each, and the
// title and labels loaded by message number.
TEST_F(Replace, DialogShowsNamesInformationAndLabels) {
    write_file(at("src.txt"), "source!");
    write_file(at("dst.txt"), "target");
    set_local_time(at("dst.txt"), 1995, 1, 5, 9, 7);
    set_local_time(at("src.txt"), 1995, 1, 5, 14, 30);
    HostContext host(&g_dll);
    quiet(host);
    DialogUser user({FW_SKIP}, {FW_LABEL_REPLACE, FW_LABEL_WITH, FW_OVERWRITE, FW_CANCEL, FW_OVERWRITE_ALL, FW_SKIP,
                                FW_NEWER, FW_NEWER_ALL, FW_OLDER, FW_OLDER_ALL});
    host.run("FileCopy(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 1)\r\n");
    user.finish();
    ASSERT_EQ(1u, user.seen.size());
    const DialogUser::Seen& s = user.seen[0];
    EXPECT_EQ("Confirm File Replace", s.title);
    EXPECT_EQ(at("dst.txt"), s.target);
    EXPECT_EQ(at("src.txt"), s.source);
    EXPECT_EQ(" 1/05/95   9:07AM   6 bytes", s.target_info);
    EXPECT_EQ(" 1/05/95   2:30PM   7 bytes", s.source_info);
    const char* labels[] = {"Replace file:", "with file:", "O&verwrite", "&Cancel", "Overwrite &All", "&Skip",
                            "Use &Newer", "Use Ne&wer All", "Use O&lder", "Use Ol&der All"};
    ASSERT_EQ(10u, s.labels.size());
    for (int i = 0; i < 10; i++) EXPECT_EQ(labels[i], s.labels[i]) << "label " << i;
}

// "Overwrite All" answers for the rest of its call, and the next call asks again.
TEST_F(Replace, OverwriteAllHoldsForOneCallOnly) {
    CreateDirectoryA(at("out").c_str(), NULL);
    for (const char* n : {"a1.txt", "a2.txt", "a3.txt"}) {
        write_file(at(n), std::string("new ") + n);
        write_file(at(std::string("out\\") + n), "old");
    }
    HostContext host(&g_dll);
    quiet(host);
    {
        DialogUser user({FW_OVERWRITE_ALL});
        host.run("r = FileCopy(\"" + at("a*.txt") + "\", \"" + at("out\\*.*") + "\", 1)\r\n");
        user.finish();
        EXPECT_EQ(1u, user.seen.size());
        EXPECT_EQ("1", host.get("r"));
    }
    for (const char* n : {"a1.txt", "a2.txt", "a3.txt"})
        EXPECT_EQ(std::string("new ") + n, read_file(at(std::string("out\\") + n))) << n;
    for (const char* n : {"a1.txt", "a2.txt", "a3.txt"}) write_file(at(std::string("out\\") + n), "old");
    {
        DialogUser user({FW_SKIP, FW_OVERWRITE, FW_SKIP});
        host.run("r = FileCopy(\"" + at("a*.txt") + "\", \"" + at("out\\*.*") + "\", 1)\r\n");
        user.finish();
        EXPECT_EQ(3u, user.seen.size());
    }
    int replaced = 0;
    for (const char* n : {"a1.txt", "a2.txt", "a3.txt"}) replaced += read_file(at(std::string("out\\") + n)) != "old";
    EXPECT_EQ(1, replaced);
}

// "Cancel" skips every remaining file; "Use Newer All" decides the rest by age.
TEST_F(Replace, AllButtonsDecideTheRestWithoutAsking) {
    CreateDirectoryA(at("out").c_str(), NULL);
    const char* names[] = {"b1.txt", "b2.txt", "b3.txt"};
    HostContext host(&g_dll);
    quiet(host);
    for (int round = 0; round < 2; round++) {
        for (int i = 0; i < 3; i++) {
            write_file(at(names[i]), "new");
            write_file(at(std::string("out\\") + names[i]), "old");
            set_local_time(at(names[i]), 2020, 6, 15, 12, 0);
            set_local_time(at(std::string("out\\") + names[i]), 2020, 6, i == 1 ? 14 : 16, 12, 0);
        }
        DialogUser user({round == 0 ? FW_CANCEL : FW_NEWER_ALL});
        host.run("r = FileMove(\"" + at("b*.txt") + "\", \"" + at("out\\*.*") + "\", 1)\r\n");
        user.finish();
        EXPECT_EQ(1u, user.seen.size()) << "round " << round;
        EXPECT_EQ("1", host.get("r")) << "round " << round;
        for (int i = 0; i < 3; i++) {
            // round 0 skips all; round 1 moves where the target is newer (b1, b3)
            bool moved = round == 1 && i != 1;
            EXPECT_EQ(moved ? "new" : "old", read_file(at(std::string("out\\") + names[i]))) << round << names[i];
            EXPECT_EQ(!moved, exists(at(names[i]))) << round << names[i];
        }
    }
}

// A missing target is never asked about; a warning argument of 0 never asks.
TEST_F(Replace, NoQuestionForMissingTargetOrNoWarning) {
    write_file(at("src.txt"), "source");
    write_file(at("dst.txt"), "target");
    HostContext host(&g_dll);
    quiet(host);
    DialogUser user({FW_SKIP});
    host.run("FileCopy(\"" + at("src.txt") + "\", \"" + at("new.txt") + "\", 1)\r\n"
             "FileCopy(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 0)\r\n");
    user.finish();
    EXPECT_EQ(0u, user.seen.size());
    EXPECT_EQ("source", read_file(at("new.txt")));
    EXPECT_EQ("source", read_file(at("dst.txt")));
}

// A move onto a target held open fails with 1003 and leaves the source in place.
TEST_F(Replace, FailedMoveLeavesSource) {
    write_file(at("src.txt"), "source");
    write_file(at("dst.txt"), "target");
    HANDLE lock = CreateFileA(at("dst.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, lock);
    HostContext host(&g_dll);
    quiet(host);
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    StderrCapture err;
    host.run("ErrorMode(@off)\r\nFileMove(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 0)\r\n"
             "e1 = LastError()\r\nFileCopy(\"" + at("src.txt") + "\", \"" + at("dst.txt") + "\", 0)\r\n"
             "e2 = LastError()\r\n");
    g_dll.services(NULL, TSL_SERVICE_CONSOLE, 0, 0, 0);
    CloseHandle(lock);
    EXPECT_EQ("1003", host.get("e1"));
    EXPECT_EQ("1008", host.get("e2"));
    EXPECT_EQ("source", read_file(at("src.txt")));
    EXPECT_EQ("target", read_file(at("dst.txt")));
}
