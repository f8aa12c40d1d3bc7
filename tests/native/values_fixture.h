// Value functions called as the dispatcher calls them; every call gives back all the heap but its result.
#pragma once
#include <random>
#include "core_fixture.h"
#include "functions/families.h"

namespace tsl {

struct Arg {
    bool is_text;
    std::string text;
    int32_t integer;
    Arg(const char* s) : is_text(true), text(s), integer(0) {}
    Arg(const std::string& s) : is_text(true), text(s), integer(0) {}
    Arg(int32_t n) : is_text(false), integer(n) {}
};

class ValueTest : public CoreTest {
protected:
    explicit ValueTest(const FunctionFamily& f) : family(&f) {}
    const FunctionFamily* family;

    FunctionImpl find(int id) {
        for (unsigned i = 0; i < family->count; i++)
            if (family->entries[i].id == id) return family->entries[i].fn;
        ADD_FAILURE() << "function " << id << " is not in its family";
        return nullptr;
    }
    struct Result { uint16_t error; int32_t integer; bool has_text; std::string text; };
    Result call(int id, const std::vector<Arg>& list) {
        FunctionImpl fn = find(id);
        if (!fn) return Result{9999, 0, false, ""};
        uint32_t free_before = free_bytes();
        Value args[MAX_ARGS + 1] = {};
        int n = 1;
        for (const Arg& a : list) {
            args[n] = value_int(a.is_text ? 0 : a.integer);
            if (a.is_text) { EXPECT_TRUE(value_set_text(ctx, &args[n], a.text.c_str())) << "argument fits"; }
            n++;
        }
        Value result = value_int(0);
        ctx->error = 0;
        fn(ctx, &result, args);
        Result r{ctx->error, result.integer, (result.flags & VF_STR) != 0, ""};
        if (result.string) r.text = value_text(ctx, result);
        if (ctx->error) { EXPECT_EQ(result.string, 0) << "a failed call leaves no result text"; }
        value_free(ctx, &result);
        for (int k = 1; k < n; k++) value_free(ctx, &args[k]);
        EXPECT_EQ(free_bytes(), free_before) << "function " << id << " leaks heap";
        return r;
    }
    std::string text_of(int id, const std::vector<Arg>& a) {
        Result r = call(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_TRUE(r.has_text) << "function " << id << " returns a text";
        return r.text;
    }
    int32_t int_of(int id, const std::vector<Arg>& a) {
        Result r = call(id, a);
        EXPECT_EQ(r.error, 0) << "function " << id;
        EXPECT_FALSE(r.has_text) << "function " << id << " returns an integer";
        return r.integer;
    }
};

} // namespace tsl
