// The variable table: registration, find_var's errors, names and keys, free slots, Drop, random operations.
#include <map>
#include <random>
#include <set>
#include "core_fixture.h"

namespace tsl {
namespace {

class Variables : public CoreTest {};

TEST_F(Variables, TheLexerRegistersNamesInLowerCaseOnce) {
    tokens("alpha = Beta + ALPHA");
    EXPECT_STREQ(ctx->tok_text, "ALPHA") << "the token keeps the name as written";
    ASSERT_EQ(ctx->var_count, 2) << "known names are not registered again";
    EXPECT_STREQ(vars[1].name, "beta");
    EXPECT_EQ(vars[1].value.flags, (uint32_t)VF_REGISTERED);
    EXPECT_EQ(vars[1].value.integer, -1);
    EXPECT_EQ(vars[1].value.string, 0);
    // find_var tells a name never seen (3051) from one only registered (3052).
    EXPECT_EQ(find_var(ctx, "nothing"), NO_VARIABLE);
    EXPECT_EQ(ctx->error, 3051);
    ctx->error = 0;
    EXPECT_EQ(find_var(ctx, "beta"), NO_VARIABLE);
    EXPECT_EQ(ctx->error, 3052);
    ctx->error = 0;
    var_set_int(ctx, "BETA", 5);
    EXPECT_EQ(find_var(ctx, "Beta"), 1) << "set by name found the registered slot";
    EXPECT_EQ(ctx->var_count, 2);
    char buf[8] = "x";
    EXPECT_EQ(var_get_text(ctx, "alpha", buf, sizeof buf), 0) << "only registered";
    EXPECT_EQ(var_get_text(ctx, "neverseen", buf, sizeof buf), 0);
    EXPECT_EQ(ctx->error, 0) << "get by name clears its errors";
}

TEST_F(Variables, SetAndGetByName) {
    var_set(ctx, "Num", 42, nullptr, 1);
    var_set(ctx, "Txt", 99, "hello", 2);
    var_set(ctx, "Empty", 0, nullptr, 2);
    var_set(ctx, "Other", 1, "x", 3);
    EXPECT_EQ(var_text("num"), "42");
    EXPECT_EQ(var_text("TXT"), "hello");
    uint16_t s = var_find_slot(ctx, "txt");
    EXPECT_EQ(vars[s].value.flags, 2u) << "a mode-2 variable is text only";
    EXPECT_EQ(vars[s].value.integer, 99);
    EXPECT_TRUE(defined("empty"));
    EXPECT_EQ(var_text("empty"), "");
    EXPECT_EQ(var_find_slot(ctx, "other"), NO_VARIABLE) << "mode 3 does nothing";
    char buf[16];
    var_set_text(ctx, "long", "abcdefgh");
    EXPECT_EQ(var_get_text(ctx, "long", buf, 4), 1);
    EXPECT_STREQ(buf, "abc") << "a text is cut to the buffer";
    uint32_t before = free_bytes();
    var_set_text(ctx, "long", "12345678");
    EXPECT_EQ(free_bytes(), before) << "setting again frees the old text";
    var_set_int(ctx, "long", 1);
    EXPECT_GT(free_bytes(), before) << "an integer holds no text";
}

TEST_F(Variables, KeysOfLongNamesAreFoldedAndMayCollide) {
    char key[32];
    std::string thirty(30, 'A');
    var_fold_key(thirty.c_str(), key);
    EXPECT_EQ(std::string(key), std::string(30, 'a')) << "30 characters map to themselves";
    // The 31st character is added onto position 5, the 32nd onto 6, ...
    var_fold_key((thirty + "B").c_str(), key);
    std::string want(30, 'a');
    want[5] = (char)('a' + 'b');
    EXPECT_EQ(std::string(key), want);
    // ... and after position 29 the 56th character wraps to 5 again.
    var_fold_key((std::string(55, 'a') + "c").c_str(), key);
    want = std::string(30, 'a');
    for (int p = 5; p < 30; ++p) want[p] = (char)('a' + 'a');
    want[5] = (char)('a' + 'a' + 'c');
    EXPECT_EQ(std::string(key), want);
    // Swapping the 6th and the 31st character gives the same key: one slot.
    std::string a = std::string(40, 'x'), b = a;
    a[5] = 'p'; a[30] = 'q';
    b[5] = 'q'; b[30] = 'p';
    var_set_int(ctx, a.c_str(), 1);
    var_set_int(ctx, b.c_str(), 2);
    EXPECT_EQ(ctx->var_count, 1);
    EXPECT_EQ(var_text(a.c_str()), "2");
    // Names that differ only in their last ten characters by case collide too.
    var_set_text(ctx, (std::string(30, 'y') + "abcdefghij").c_str(), "first");
    var_set_text(ctx, (std::string(30, 'y') + "ABCDEFGHIJ").c_str(), "second");
    EXPECT_EQ(var_text((std::string(30, 'y') + "abcdefghij").c_str()), "second");
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
}

TEST_F(Variables, DroppedSlotsLeaveHolesThatAreReused) {
    var_set_text(ctx, "keep", "k");
    var_set_text(ctx, "Mixed", "m");
    var_set_int(ctx, "c", 3);
    Eval r = eval("Drop(keep, mixed)");
    EXPECT_EQ(r.flags, 0u) << "Drop gives no value of its own";
    EXPECT_EQ(r.leaked, 0);
    EXPECT_EQ(vars[0].name[0], 0) << "the dropped slot's name is emptied";
    EXPECT_EQ(vars[0].value.flags + vars[1].value.flags, 0u);
    EXPECT_EQ(ctx->var_count, 3) << "holes below the highest slot stay";
    EXPECT_EQ(free_bytes(), HEAP_MAX_SIZE - 52u) << "the texts were freed";
    eval("Drop(c)");
    EXPECT_EQ(ctx->var_count, 2) << "dropping the highest used slot lowers the count by one only";
    eval("x = 9");
    EXPECT_EQ(var_find_slot(ctx, "x"), 1) << "the last free slot seen in the scan";
    var_set_int(ctx, "y", 8);
    EXPECT_EQ(var_find_slot(ctx, "y"), 0);
}

TEST_F(Variables, SpecialValuesRaise2253WhenAssignedOrDropped) {
    for (const char* stmt : {"Drop(obj)", "obj = 5"}) {
        var_set_text(ctx, "obj", "object");
        uint16_t s = var_find_slot(ctx, "obj");
        vars[s].value.flags = VF_SPECIAL;
        EXPECT_EQ(eval(stmt).error, 2253) << stmt;
        // The statement is carried out all the same.
        EXPECT_EQ(vars[s].value.flags, std::string(stmt) == "obj = 5" ? (uint32_t)VF_INT : 0u) << stmt;
        EXPECT_EQ(vars[s].value.integer, 0) << stmt;
        EXPECT_EQ(vars[s].value.string, 0) << stmt;
    }
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
