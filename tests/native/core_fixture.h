// The core fixture: a context with its own heap, variables and host commands; tokenize, evaluate, run, check.
#pragma once
#include <gtest/gtest.h>
#include <dirent.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>
#include "core/context.h"
#include "core/eval.h"
#include "core/heap.h"
#include "core/lexer.h"
#include "core/plat_native_control.h"
#include "core/runloop.h"
#include "core/vars.h"
#include "../heap_walk.h"

// The failure note of a table row that records its source line.
#define AT_ROW(r) "row at line " << (r).line << " "

namespace tsl {

inline std::string source_dir() {
    std::string here = __FILE__;
    return here.substr(0, here.rfind('/')) + "/../..";
}
inline std::string read_file(const std::string& path) {
    std::stringstream ss;
    ss << std::ifstream(path, std::ios::binary).rdbuf();
    return ss.str();
}
// The paths of a directory's entries whose names end in `suffix`, sorted.
inline std::vector<std::string> files_in(const std::string& dir, const std::string& suffix) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            std::string n = e->d_name;
            if (n[0] != '.' && n.size() >= suffix.size() && n.compare(n.size() - suffix.size(), n.npos, suffix) == 0)
                names.push_back(dir + "/" + n);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Host commands: 0 echo(text) appends text and a line feed to the output;
// 1 hfail(code) answers with the negative code; 2 six(a,b,c,d,e,f) declares
// six arguments.
inline int32_t core_host(PHandle, intptr_t host_value, int32_t, int32_t command, AnswerFn answer, void* record,
                         const char* t1, const char*, const char*, const char*, const char*) {
    std::string* out = reinterpret_cast<std::string*>(host_value);
    switch (command) {
    case 0: *out += t1; *out += "\n"; return 0;
    case 1: return -atoi(t1);
    default: return answer(0, 0, record, 0, 0, nullptr);
    }
}

struct Token {
    uint16_t kind;
    int16_t id;
    std::string text;
};

class CoreTest : public ::testing::Test {
protected:
    std::unique_ptr<Context> holder{new Context()};
    Context* ctx = holder.get();
    std::vector<uint8_t> heap;
    std::vector<VarSlot> vars;
    std::vector<char> script;     // the buffer of the last run (goto writes into it)
    std::string out;              // what echo wrote
    std::string line;             // the buffer get_token reads
    std::string dir;              // a directory of the test's own, made by file()
    KeywordRecord table[4] = {function_record(0, "echo", 1, 1), function_record(1, "hfail", 1, 1),
                              function_record(2, "six", 6, 0), KeywordRecord{}};

    void SetUp() override {
        use_heap(HEAP_MAX_SIZE);
        use_vars(200);
        ctx->host_table = table;
        ctx->host_proc = core_host;
        ctx->host_value = (intptr_t)&out;
        ctx->exclusive = 1;
        plat_native_set_no_sleep(true);
        TearDown();
        plat_set_console_mode(false);
    }
    void TearDown() override {
        if (!dir.empty()) { EXPECT_EQ(system(("rm -rf '" + dir + "'").c_str()), 0); }
        plat_set_console_mode(true);
        plat_native_set_box_answer(0);
        plat_native_set_dbcs(false);
        plat_native_break_after(0);
        plat_native_take_boxes();
        plat_native_clear_profiles();
    }

    void use_heap(uint32_t size) {
        heap.assign(size, 0);
        heap_init(heap.data(), size);
        ctx->heap = heap.data();
        ctx->heap_size = size;
        ctx->error = 0;
    }
    void use_vars(uint16_t capacity) {
        vars.assign(capacity, VarSlot{});
        ctx->vars = vars.data();
        ctx->var_capacity = capacity;
        ctx->var_count = 0;
    }
    uint32_t free_bytes() { return heap_free_bytes(heap.data()); }
    std::string check() { return heap_check(heap.data(), (uint32_t)heap.size()); }

    // Points the lexer at a copy of `text` and reads the first token.
    void start(const std::string& text) {
        line = text;
        ctx->cursor = line.c_str();
        ctx->error = 0;
        get_token(ctx);
    }
    // All tokens of a text up to the end of the statement or an error.
    std::vector<Token> tokens(const std::string& text) {
        std::vector<Token> v;
        start(text);
        while (!ctx->error && ctx->tok_kind != T_END) {
            v.push_back(Token{ctx->tok_kind, ctx->tok_id, ctx->tok_text});
            get_token(ctx);
        }
        return v;
    }

    struct Eval {
        uint16_t error;
        int32_t integer;
        uint32_t flags;
        std::string text;
        uint16_t source;
        int32_t leaked;   // heap bytes not given back (variable texts count as given back)
    };
    // Evaluates an expression as a statement does; the value's text is
    // copied out and freed, and the heap must have all its bytes back.
    Eval eval(const std::string& expr) {
        uint32_t before = free_bytes() + var_text_bytes();
        start(expr);
        Value v{0, 0, NO_VARIABLE, 0};
        if (!ctx->error) eval_expression(ctx, &v);
        Eval r{ctx->error, v.integer, v.flags, v.string ? value_text(ctx, v) : "", v.source, 0};
        if (v.string) heap_free(ctx->heap, v.string);
        r.leaked = (int32_t)before - (int32_t)(free_bytes() + var_text_bytes());
        return r;
    }
    // Heap bytes held by the variables' texts.
    uint32_t var_text_bytes() {
        uint32_t kept = 0;
        for (unsigned i = 0; i < ctx->var_count; ++i)
            if (vars[i].value.string) kept += heap_word(heap.data(), vars[i].value.string - 4u);
        return kept;
    }
    uint32_t heap_in_use() { return (uint32_t)heap.size() - 52 - free_bytes() - var_text_bytes(); }

    // Writes a file into the test's own directory and returns its path.
    std::string file(const std::string& name, const std::string& bytes) {
        if (dir.empty()) {
            char tmpl[] = "/tmp/tslcoreXXXXXX";
            EXPECT_NE(mkdtemp(tmpl), nullptr);
            dir = tmpl;
        }
        std::ofstream(dir + "/" + name, std::ios::binary) << bytes;
        return dir + "/" + name;
    }
    // Runs a script through run_script in a writable buffer of our own.
    void run(const std::string& text) {
        script.assign(text.begin(), text.end());
        script.push_back(0);
        rerun();
    }
    void rerun() {
        out.clear();
        run_script(ctx, script.data());
    }

    int32_t var_int(const char* name) {
        uint16_t s = var_find_slot(ctx, name);
        EXPECT_NE(s, NO_VARIABLE) << name << " exists";
        return s == NO_VARIABLE ? 0 : vars[s].value.integer;
    }
    std::string var_text(const char* name) {
        char buf[LINE_BUF];
        uint16_t saved = ctx->error;
        if (!var_get_text(ctx, name, buf, sizeof buf)) buf[0] = 0;
        ctx->error = saved;
        return buf;
    }
    bool defined(const char* name) {
        uint16_t s = var_find_slot(ctx, name);
        return s != NO_VARIABLE && (vars[s].value.flags & 3);
    }
};

} // namespace tsl
