// A fixture for calling the value functions directly: a context with a
// string heap of its own, arguments made as the dispatcher hands them over
// (texts in the heap, integers), and a check that every call gives back all
// the heap it took apart from its result.
#pragma once
#include <gtest/gtest.h>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include "core/context.h"
#include "core/heap.h"
#include "core/plat_native_control.h"
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

class ValueTest : public ::testing::Test {
protected:
    std::unique_ptr<Context> ctx_holder{new Context()};
    Context* ctx = ctx_holder.get();
    std::unique_ptr<uint8_t[]> heap{new uint8_t[HEAP_MAX_SIZE]};
    uint32_t heap_size = HEAP_MAX_SIZE;

    void SetUp() override { use_heap(HEAP_MAX_SIZE); plat_native_set_dbcs(false); }
    void TearDown() override { plat_native_set_dbcs(false); plat_native_clear_profiles(); }

    void use_heap(uint32_t size) {
        heap_size = size;
        heap_init(heap.get(), size);
        ctx->heap = heap.get();
        ctx->heap_size = size;
        ctx->error = 0;
    }

    static FunctionImpl find(const FunctionFamily& family, int id) {
        for (unsigned i = 0; i < family.count; i++)
            if (family.entries[i].id == id) return family.entries[i].fn;
        return nullptr;
    }

    // Calls function `id` of the family with the arguments; the result's
    // text is copied out and freed, and the heap must be whole again.
    struct Result {
        uint16_t error;
        int32_t integer;
        bool has_text;
        std::string text;
    };
    Result call(const FunctionFamily& family, int id, std::initializer_list<Arg> list) {
        FunctionImpl fn = find(family, id);
        EXPECT_NE(fn, nullptr) << "function " << id << " is in its family";
        if (!fn) return Result{9999, 0, false, ""};
        uint32_t free_before = heap_free_bytes(heap.get());
        Value args[MAX_ARGS + 1] = {};
        int i = 1;
        for (const Arg& a : list) {
            if (a.is_text) {
                args[i] = value_int(0);
                EXPECT_TRUE(value_set_text(ctx, &args[i], a.text.c_str())) << "argument fits the heap";
            } else {
                args[i] = value_int(a.integer);
            }
            i++;
        }
        Value result = value_int(0);
        ctx->error = 0;
        fn(ctx, &result, args);
        Result r{ctx->error, result.integer, (result.flags & VF_STR) != 0, ""};
        if (result.string) r.text = value_text(ctx, result);
        if (ctx->error) {
            EXPECT_EQ(result.string, 0) << "a failed call leaves no result text";
        }
        value_free(ctx, &result);
        for (int k = 1; k < i; k++) value_free(ctx, &args[k]);
        // Arguments were allocated after free_before was taken: all must be back.
        EXPECT_EQ(heap_free_bytes(heap.get()), free_before) << "function " << id << " leaks heap";
        return r;
    }
};

} // namespace tsl
