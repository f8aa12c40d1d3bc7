// The variable table: registration by the lexer, find_var's two errors,
// get and set by name with key folding, the slot kept free, Drop's
// case-sensitive match, IsDefined, the assignment rule.
#include <map>
#include <random>
#include <set>
#include "core_fixture.h"

namespace tsl {
namespace {

class Variables : public CoreTest {};

TEST_F(Variables, TheLexerRegistersNamesInLowerCase) {
    start("MyVar");
    ASSERT_EQ(ctx->error, 0);
    EXPECT_EQ(ctx->tok_kind, T_NAME);
    EXPECT_STREQ(ctx->tok_text, "MyVar") << "the token keeps the name as written";
    ASSERT_EQ(ctx->var_count, 1);
    EXPECT_STREQ(vars[0].name, "myvar");
    EXPECT_EQ(vars[0].value.flags, (uint32_t)VF_REGISTERED);
    EXPECT_EQ(vars[0].value.integer, -1);
    EXPECT_EQ(vars[0].value.string, 0);
    start("MYVAR myvar mYvAr");
    EXPECT_EQ(ctx->var_count, 1) << "known names are not registered again";
}

TEST_F(Variables, FindVarTellsUnknownFromUnassigned) {
    EXPECT_EQ(find_var(ctx, "nothing"), NO_VARIABLE);
    EXPECT_EQ(ctx->error, 3051);
    ctx->error = 0;
    start("mentioned");
    EXPECT_EQ(find_var(ctx, "mentioned"), NO_VARIABLE);
    EXPECT_EQ(ctx->error, 3052);
    ctx->error = 0;
    var_set_int(ctx, "mentioned", 5);
    EXPECT_EQ(find_var(ctx, "MENTIONED"), 0);
    EXPECT_EQ(ctx->error, 0);
    EXPECT_EQ(ctx->var_count, 1) << "set by name found the registered slot";
}

TEST_F(Variables, SetAndGetByName) {
    var_set(ctx, "Num", 42, nullptr, 1);
    var_set(ctx, "Txt", 99, "hello", 2);
    var_set(ctx, "Empty", 0, nullptr, 2);
    var_set(ctx, "Other", 1, "x", 3);
    char buf[16];
    EXPECT_EQ(var_get_text(ctx, "num", buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "42");
    EXPECT_EQ(var_get_text(ctx, "TXT", buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "hello");
    uint16_t s = var_find_slot(ctx, "txt");
    EXPECT_EQ(vars[s].value.flags, 2u) << "a mode-2 variable is text only";
    EXPECT_EQ(vars[s].value.integer, 99);
    EXPECT_EQ(var_get_text(ctx, "empty", buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(var_find_slot(ctx, "other"), NO_VARIABLE) << "mode 3 does nothing";
    EXPECT_EQ(var_get_text(ctx, "small", buf, 3), 0);
    var_set_text(ctx, "long", "abcdefgh");
    EXPECT_EQ(var_get_text(ctx, "long", buf, 4), 1);
    EXPECT_STREQ(buf, "abc") << "cut to the buffer";
    // Setting again frees the old text.
    uint32_t before = free_bytes();
    var_set_text(ctx, "long", "12345678");
    EXPECT_EQ(free_bytes(), before);
    var_set_int(ctx, "long", 1);
    EXPECT_GT(free_bytes(), before) << "an integer holds no text";
}

TEST_F(Variables, GetOfAnUnassignedNameFailsWithoutAnError) {
    start("onlyseen");
    char buf[8] = "x";
    ctx->error = 0;
    EXPECT_EQ(var_get_text(ctx, "onlyseen", buf, sizeof buf), 0);
    EXPECT_EQ(ctx->error, 0) << "errors are cleared, not reported";
    EXPECT_EQ(var_get_text(ctx, "neverseen", buf, sizeof buf), 0);
    EXPECT_EQ(ctx->error, 0);
}

TEST_F(Variables, KeysOfLongNamesAreFolded) {
    char key[32];
    var_fold_key("ShortName", key);
    EXPECT_STREQ(key, "shortname");
    std::string thirty(30, 'A');
    var_fold_key(thirty.c_str(), key);
    EXPECT_EQ(std::string(key), std::string(30, 'a')) << "30 characters map to themselves";
    // The 31st character is added onto position 5, the 32nd onto 6, ...
    var_fold_key((thirty + "B").c_str(), key);
    std::string want(30, 'a');
    want[5] = (char)('a' + 'b');
    EXPECT_EQ(std::string(key), want);
    // ... and after position 29 the 56th character wraps to 5 again.
    std::string n56 = std::string(55, 'a') + "c";
    var_fold_key(n56.c_str(), key);
    want = std::string(30, 'a');
    for (int p = 5; p < 30; ++p) want[p] = (char)('a' + 'a');
    want[5] = (char)('a' + 'a' + 'c');
    EXPECT_EQ(std::string(key), want);
}

TEST_F(Variables, TwoFortyCharacterNamesShareAKey) {
    // Position 5 holds the 6th plus the 31st character: swapping them between
    // two names gives one key, and the names collide in get and set by name.
    std::string a = std::string(40, 'x'), b = a;
    a[5] = 'p'; a[30] = 'q';
    b[5] = 'q'; b[30] = 'p';
    var_set_int(ctx, a.c_str(), 1);
    var_set_int(ctx, b.c_str(), 2);
    EXPECT_EQ(ctx->var_count, 1) << "one slot for both";
    char buf[8];
    EXPECT_EQ(var_get_text(ctx, a.c_str(), buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "2");
    // Names that differ only in their last ten characters by case collide too.
    std::string c = std::string(30, 'y') + "abcdefghij", d = std::string(30, 'y') + "ABCDEFGHIJ";
    var_set_text(ctx, c.c_str(), "first");
    var_set_text(ctx, d.c_str(), "second");
    EXPECT_EQ(var_get_text(ctx, c.c_str(), buf, sizeof buf), 1);
    EXPECT_STREQ(buf, "second");
    EXPECT_EQ(ctx->var_count, 2);
}

TEST_F(Variables, OneSlotAlwaysStaysFree) {
    use_vars(4);
    var_set_int(ctx, "a", 1);
    var_set_int(ctx, "b", 2);
    var_set_int(ctx, "c", 3);
    EXPECT_EQ(ctx->error, 0);
    uint32_t before = free_bytes();
    var_set_text(ctx, "d", "lost");
    EXPECT_EQ(ctx->error, 3097);
    EXPECT_EQ(ctx->var_count, 4) << "the count has grown all the same";
    EXPECT_EQ(vars[3].value.flags, 0u) << "the fourth slot stays unused";
    EXPECT_LT(free_bytes(), before) << "the text allocated first is not freed (kept as it is)";
    // The lexer hits the same limit.
    use_vars(3);
    tokens("a b");
    EXPECT_EQ(ctx->error, 0);
    tokens("c");
    EXPECT_EQ(ctx->error, 3097);
}

TEST_F(Variables, DropMatchesTheStoredNameCaseSensitively) {
    var_set_text(ctx, "keep", "k");
    var_set_text(ctx, "Mixed", "m");
    Eval r = eval("Drop(KEEP)");
    EXPECT_EQ(r.error, 0);
    EXPECT_TRUE(defined("keep")) << "a name written with capitals is not found by Drop";
    r = eval("Drop(keep)");
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(r.flags, 0u) << "Drop gives no value of its own";
    EXPECT_FALSE(defined("keep"));
    EXPECT_EQ(vars[0].name[0], 0) << "the dropped slot's name is emptied";
    EXPECT_EQ(vars[0].value.flags, 0u);
    EXPECT_EQ(ctx->var_count, 2) << "a hole below the highest slot stays";
    r = eval("Drop(mixed)");
    EXPECT_FALSE(defined("mixed"));
    EXPECT_EQ(ctx->var_count, 1) << "dropping the highest used slot lowers the count by one only";
    EXPECT_EQ(r.leaked, 0);
    EXPECT_EQ(free_bytes(), HEAP_MAX_SIZE - 52u) << "the texts were freed";
    EXPECT_EQ(eval("Drop(unknownname)").error, 0) << "dropping an unknown name is no error";
}

TEST_F(Variables, DroppedSlotsAreReused) {
    var_set_int(ctx, "a", 1);
    var_set_int(ctx, "b", 2);
    var_set_int(ctx, "c", 3);
    eval("Drop(a, b)");
    EXPECT_EQ(ctx->var_count, 3);
    eval("x = 9");
    EXPECT_EQ(var_find_slot(ctx, "x"), 1) << "the last free slot seen in the scan";
    EXPECT_EQ(var_int("x"), 9);
    var_set_int(ctx, "y", 8);
    EXPECT_EQ(var_find_slot(ctx, "y"), 0);
    EXPECT_EQ(ctx->var_count, 3);
}

TEST_F(Variables, SpecialValuesRaise2253WhenAssignedOrDropped) {
    var_set_text(ctx, "obj", "object");
    uint16_t s = var_find_slot(ctx, "obj");
    vars[s].value.flags = VF_SPECIAL;
    Eval r = eval("Drop(obj)");
    EXPECT_EQ(r.error, 2253);
    EXPECT_EQ(vars[s].value.flags, 0u) << "the slot is dropped all the same, as an assignment is made";
    EXPECT_EQ(var_find_slot(ctx, "obj"), NO_VARIABLE);
    var_set_text(ctx, "obj", "object");
    s = var_find_slot(ctx, "obj");
    vars[s].value.flags = VF_SPECIAL;
    r = eval("obj = 5");
    EXPECT_EQ(r.error, 2253);
    EXPECT_EQ(vars[s].value.flags, (uint32_t)VF_INT) << "the slot is cleared all the same";
    EXPECT_EQ(vars[s].value.integer, 0);
    EXPECT_EQ(vars[s].value.string, 0);
}

TEST_F(Variables, AFailedAssignmentLeavesZero) {
    var_set_text(ctx, "x", "old text");
    Eval r = eval("x = y");
    EXPECT_EQ(r.error, 3052) << "y was just registered by the lexer";
    EXPECT_TRUE(defined("x"));
    EXPECT_EQ(var_int("x"), 0);
    EXPECT_EQ(vars[var_find_slot(ctx, "x")].value.flags, (uint32_t)VF_INT);
    EXPECT_EQ(r.leaked, 0) << "the old text was freed";
    r = eval("x = 1 / 0");
    EXPECT_EQ(r.error, 3062);
    EXPECT_EQ(var_int("x"), 0);
}

TEST_F(Variables, AssignmentCopiesTheText) {
    Eval r = eval("s = 'abc'");
    EXPECT_EQ(r.error, 0);
    EXPECT_EQ(r.text, "abc") << "the value keeps its own text";
    EXPECT_EQ(r.flags, (uint32_t)VF_STR);
    EXPECT_EQ(r.integer, STRING_LITERAL_MARK);
    EXPECT_EQ(var_text("s"), "abc");
    EXPECT_EQ(r.leaked, 0);
    r = eval("t = s");
    EXPECT_EQ(r.source, var_find_slot(ctx, "s")) << "a variable's value names its slot";
    EXPECT_NE(vars[var_find_slot(ctx, "t")].value.string, vars[var_find_slot(ctx, "s")].value.string);
    EXPECT_EQ(var_text("t"), "abc");
}

TEST_F(Variables, IsDefined) {
    var_set_int(ctx, "yes", 1);
    start("no");
    EXPECT_EQ(eval("IsDefined(yes)").integer, 1);
    Eval r = eval("IsDefined(no)");
    EXPECT_EQ(r.error, 0) << "the error of find_var is cleared";
    EXPECT_EQ(r.integer, 0);
    EXPECT_EQ(r.flags, (uint32_t)VF_INT);
    EXPECT_EQ(eval("IsDefined(brandnew)").integer, 0);
    EXPECT_EQ(eval("x = brandnew").error, 3052) << "a name only mentioned reads as 3052, not 3051";
}

// Random set, get, register and drop against a map of names to values: every
// read agrees, no two used slots share a name, the count stays the high-water
// mark of used slots, and the heap holds exactly the variables' texts.
TEST_F(Variables, RandomOperationsAgreeWithAMap) {
    std::mt19937 rng(77);
    const char* pool[] = {"a", "b", "c", "counter", "x1", "y2", "@z", "longername", "q", "r", "s", "t"};
    std::map<std::string, std::string> model;   // defined variables: name -> text
    for (int step = 0; step < 5000; ++step) {
        std::string name = pool[rng() % 12];
        std::string written = name;
        if (rng() % 2) for (auto& ch : written) ch = (char)toupper((unsigned char)ch);
        switch (rng() % 5) {
        case 0: {
            int32_t n = (int32_t)(rng() % 2000) - 1000;
            var_set_int(ctx, written.c_str(), n);
            model[name] = std::to_string(n);
            break;
        }
        case 1: {
            std::string t(rng() % 40, (char)('a' + rng() % 26));
            var_set_text(ctx, written.c_str(), t.c_str());
            model[name] = t;
            break;
        }
        case 2:
            var_register(ctx, written.c_str());
            break;
        case 3:
            var_drop(ctx, name.c_str());   // stored names are lower case
            model.erase(name);
            break;
        default: {
            char buf[64];
            int got = var_get_text(ctx, written.c_str(), buf, sizeof buf);
            auto it = model.find(name);
            ASSERT_EQ(got, it != model.end() ? 1 : 0) << "step " << step << " " << written;
            if (got) { ASSERT_EQ(std::string(buf), it->second) << "step " << step << " " << written; }
        }
        }
        ASSERT_EQ(ctx->error, 0) << "step " << step;
        unsigned high = 0;
        std::set<std::string> seen;
        for (unsigned i = 0; i < ctx->var_capacity; ++i) {
            if (!vars[i].value.flags) continue;
            high = i + 1;
            ASSERT_TRUE(seen.insert(vars[i].name).second) << "step " << step << ": two slots for " << vars[i].name;
        }
        ASSERT_LE(high, ctx->var_count) << "step " << step;
        ASSERT_EQ(free_bytes() + var_text_bytes(), HEAP_MAX_SIZE - 52u) << "step " << step;
    }
    EXPECT_LE(ctx->var_count, 12) << "dropped slots are reused";
}

} // namespace
} // namespace tsl
