// FileCopy and FileMove asking through the real "Confirm File Replace"
// dialog, pressed by the user thread; the interpreter is driven as a host.
#include "host_harness.h"
#include "resources/dialogs/filewarn_ids.h"

class Replace : public DllTest {
protected:
    TempDir dir{"tslreplace"};
    HostContext host;
    void SetUp() override { host.lock()->sounds = 0; host.unlock(); }  // no sound to wait for at each dialog
    std::string at(const std::string& name) { return dir.at(name); }
    std::string copy(const char* from, const char* to, const char* fn = "FileCopy", int warn = 1) {
        return std::string(fn) + "(\"" + at(from) + "\", \"" + at(to) + "\", " + std::to_string(warn) + ")\r\n";
    }
    // A source "src.txt" ("source") and a target "dst.txt" ("target") `age` days older (-) or newer (+).
    void make_pair(int age) {
        write_file(at("src.txt"), "source");
        write_file(at("dst.txt"), "target");
        set_local_time(at("src.txt"), 2020, 6, 15, 12, 0);
        set_local_time(at("dst.txt"), 2020, 6, 15 + age, 12, 0);
    }
};

// Each of the eight buttons, with an older and with a newer target; times
// equal to the two-second step count as "source newer or the same age".
TEST_F(Replace, EveryButtonWithOlderAndNewerTarget) {
    struct { int line; int button; int age; bool replaced; } rows[] = {
        {__LINE__, FW_OVERWRITE, -1, true},     {__LINE__, FW_OVERWRITE, 1, true},
        {__LINE__, FW_OVERWRITE_ALL, -1, true}, {__LINE__, FW_OVERWRITE_ALL, 1, true},
        {__LINE__, FW_SKIP, -1, false},         {__LINE__, FW_SKIP, 1, false},
        {__LINE__, FW_CANCEL, -1, false},       {__LINE__, FW_CANCEL, 1, false},
        {__LINE__, FW_NEWER, -1, false},  // "Use Newer" replaces only a NEWER target
        {__LINE__, FW_NEWER, 1, true},          {__LINE__, FW_NEWER, 0, false},
        {__LINE__, FW_NEWER_ALL, -1, false},    {__LINE__, FW_NEWER_ALL, 1, true},
        {__LINE__, FW_OLDER, -1, true},   // "Use Older" replaces an older target
        {__LINE__, FW_OLDER, 1, false},         {__LINE__, FW_OLDER, 0, true},
        {__LINE__, FW_OLDER_ALL, -1, true},     {__LINE__, FW_OLDER_ALL, 1, false},
    };
    for (auto& r : rows) {
        make_pair(r.age);
        User user({r.button});
        host.run("r = " + copy("src.txt", "dst.txt"));
        user.finish();
        EXPECT_EQ(0, host.error()) << "row at line " << r.line;
        EXPECT_EQ("1", host.get("r")) << "row at line " << r.line;
        EXPECT_EQ(1u, user.seen().size()) << "row at line " << r.line;
        EXPECT_EQ(r.replaced ? "source" : "target", read_file(at("dst.txt"))) << "row at line " << r.line;
        EXPECT_EQ("source", read_file(at("src.txt"))) << "row at line " << r.line;
    }
}

// The dialog shows both names, an information line for each, and the title and labels loaded by message number.
TEST_F(Replace, DialogShowsNamesInformationAndLabels) {
    write_file(at("src.txt"), "source!");
    write_file(at("dst.txt"), "target");
    set_local_time(at("dst.txt"), 1995, 1, 5, 9, 7);
    set_local_time(at("src.txt"), 1995, 1, 5, 14, 30);
    User user({FW_SKIP});
    host.run(copy("src.txt", "dst.txt"));
    user.finish();
    ASSERT_EQ(1u, user.seen().size());
    SeenBox s = user.seen()[0];
    EXPECT_EQ("Confirm File Replace", s.caption);
    struct { int id; std::string text; } items[] = {
        {102, at("dst.txt")}, {103, " 1/05/95   9:07AM   6 bytes"}, {105, at("src.txt")}, {106, " 1/05/95   2:30PM   7 bytes"},
        {FW_LABEL_REPLACE, "Replace file:"}, {FW_LABEL_WITH, "with file:"}, {FW_OVERWRITE, "O&verwrite"},
        {FW_CANCEL, "&Cancel"}, {FW_OVERWRITE_ALL, "Overwrite &All"}, {FW_SKIP, "&Skip"}, {FW_NEWER, "Use &Newer"},
        {FW_NEWER_ALL, "Use Ne&wer All"}, {FW_OLDER, "Use O&lder"}, {FW_OLDER_ALL, "Use Ol&der All"},
    };
    for (auto& i : items) EXPECT_EQ(i.text, s.items[i.id]) << "control " << i.id;
}

// "Overwrite All" answers for the rest of its call, and the next call asks again.
TEST_F(Replace, OverwriteAllHoldsForOneCallOnly) {
    CreateDirectoryA(at("out").c_str(), NULL);
    const char* names[] = {"a1.txt", "a2.txt", "a3.txt"};
    for (const char* n : names) write_file(at(n), std::string("new ") + n);
    for (int round = 0; round < 2; round++) {
        for (const char* n : names) write_file(at(std::string("out\\") + n), "old");
        User user(round == 0 ? std::vector<int>{FW_OVERWRITE_ALL} : std::vector<int>{FW_SKIP, FW_OVERWRITE, FW_SKIP});
        host.run(copy("a*.txt", "out\\*.*"));
        user.finish();
        EXPECT_EQ(round == 0 ? 1u : 3u, user.seen().size()) << "round " << round;
        int replaced = 0;
        for (const char* n : names) replaced += read_file(at(std::string("out\\") + n)) == std::string("new ") + n;
        EXPECT_EQ(round == 0 ? 3 : 1, replaced) << "round " << round;
    }
}

// "Cancel" skips every remaining file; "Use Newer All" decides the rest by age.
TEST_F(Replace, AllButtonsDecideTheRestWithoutAsking) {
    CreateDirectoryA(at("out").c_str(), NULL);
    const char* names[] = {"b1.txt", "b2.txt", "b3.txt"};
    for (int round = 0; round < 2; round++) {
        for (int i = 0; i < 3; i++) {
            write_file(at(names[i]), "new");
            write_file(at(std::string("out\\") + names[i]), "old");
            set_local_time(at(names[i]), 2020, 6, 15, 12, 0);
            set_local_time(at(std::string("out\\") + names[i]), 2020, 6, i == 1 ? 14 : 16, 12, 0);
        }
        User user({round == 0 ? FW_CANCEL : FW_NEWER_ALL});
        host.run(copy("b*.txt", "out\\*.*", "FileMove"));
        user.finish();
        EXPECT_EQ(1u, user.seen().size()) << "round " << round;
        EXPECT_EQ(0, host.error()) << "round " << round;
        for (int i = 0; i < 3; i++) {
            bool moved = round == 1 && i != 1;  // round 0 skips all; round 1 moves where the target is newer
            EXPECT_EQ(moved ? "new" : "old", read_file(at(std::string("out\\") + names[i]))) << round << names[i];
            EXPECT_EQ(moved ? "<missing>" : "new", read_file(at(names[i]))) << round << names[i];
        }
    }
}

// A missing target is never asked about; a warning argument of 0 never asks.
// A move onto a target held open fails with 1003 (a copy with 1008) and leaves the source in place.
TEST_F(Replace, NoQuestionForMissingTargetOrNoWarningAndALockedTargetKeepsTheSource) {
    make_pair(1);
    User user({FW_SKIP});
    host.run(copy("src.txt", "new.txt") + copy("src.txt", "dst.txt", "FileCopy", 0));
    EXPECT_EQ("source", read_file(at("new.txt")));
    EXPECT_EQ("source", read_file(at("dst.txt")));
    write_file(at("dst.txt"), "target");
    HANDLE lock = CreateFileA(at("dst.txt").c_str(), GENERIC_READ, 0, NULL, OPEN_EXISTING, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, lock);
    g_dll.console(1);  // the reports go to standard error
    StderrCapture err;
    host.run("ErrorMode(@off)\r\n" + copy("src.txt", "dst.txt", "FileMove", 0) + "Echo(LastError())\r\n" +
             copy("src.txt", "dst.txt", "FileCopy", 0) + "Echo(LastError())\r\n");
    g_dll.console(0);
    CloseHandle(lock);
    user.finish();
    EXPECT_EQ(0u, user.seen().size());
    EXPECT_EQ("1003\n1008\n", host.out);
    EXPECT_EQ("source", read_file(at("src.txt")));
    EXPECT_EQ("target", read_file(at("dst.txt")));
}
