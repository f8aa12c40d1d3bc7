// The lexer: token edges, every record by its name, unget, the word reader, double-byte text, extender records.
#include "core_fixture.h"

namespace tsl {
namespace {

class Lexer : public CoreTest {
protected:
    // "kind:id:text" of every token, or "error N" at the end.
    std::string dump(const std::string& text) {
        std::string s;
        for (const Token& t : tokens(text)) {
            if (!s.empty()) s += " ";
            s += std::to_string(t.kind) + ":";
            if (t.kind == T_KEYWORD) s += std::to_string(t.id) + ":";
            s += t.text;
        }
        if (ctx->error) s += (s.empty() ? "" : " ") + std::string("error ") + std::to_string(ctx->error);
        return s;
    }
};

TEST_F(Lexer, EdgeCases) {
    const std::string n30(30, 'v'), n31(31, 'w'), a256(256, 'a');
    struct { int line; std::string text, want; } rows[] = {
        {__LINE__, "<=>=", "1:13:<= 1:18:>="},
        {__LINE__, "a==b!=c", "2:a 1:16:== 2:b 1:1:!= 2:c"},
        {__LINE__, "&&&", "1:3:&& 1:2:&"},
        {__LINE__, "|||", "1:270:|| 1:269:|"},
        {__LINE__, "~-!+", "1:271:~ 1:9:- 1:0:! 1:7:+"},
        {__LINE__, "mod(", "1:172:mod 1:4:("},
        {__LINE__, "a.b", "1:21:a.b"},
        {__LINE__, "@a.b.c(", "1:21:@a.b.c 1:4:("},
        {__LINE__, "?deserver(", "1:20:?deserver 1:4:("},
        {__LINE__, "@True1", "2:@True1"},
        {__LINE__, ";", ""},
        {__LINE__, "   \t ", ""},
        {__LINE__, "'abc''d'", "4:abc'd"},
        {__LINE__, "'abcd''e'", "4:abcd 4:e"},      // a doubled quote after four characters ends it
        {__LINE__, "''", "4:"},
        {__LINE__, "0042", "3:0042"},
        {__LINE__, "1.5", "3:1 error 3054"},
        {__LINE__, "x $", "2:x error 3054"},
        {__LINE__, "\xe9t\xe9", "error 3054"},   // no built-in keyword from code 128 up
        {__LINE__, "a_b", "2:a error 3054"},
        {__LINE__, "echo(", "1:900:echo 1:4:("},
        {__LINE__, n30, "2:" + n30},
        {__LINE__, n31, "error 3055"},
        {__LINE__, n31 + ".b", "error 3055"},     // 31 characters and a dot: not a dotted reference
        {__LINE__, n30 + ".b", "1:21:" + n30 + ".b"},
        {__LINE__, std::string(300, '7') + " x", "3:" + std::string(TOKEN_BUF - 1, '7') + " 2:x"},   // read whole, kept as the buffer holds
        {__LINE__, "'" + std::string(300, 'L') + "'", "4:" + std::string(256, 'L') + " error 3055"},
        // The next token starts after the 256th character; the closing quote
        // opens a literal that the end of the line closes.
        {__LINE__, "'" + a256 + "+1'", "4:" + a256 + " 1:7:+ 3:1 4:"},
    };
    for (auto& r : rows) EXPECT_EQ(dump(r.text), r.want) << AT_ROW(r);
    EXPECT_EQ(var_find_slot(ctx, n31.c_str()), NO_VARIABLE) << "a name that is too long is not registered";
}

TEST_F(Lexer, EveryRecordIsFoundByItsName) {
    for (unsigned i = 0; i < KEYWORD_BUILTIN_COUNT; ++i) {
        const KeywordRecord& r = g_keywords[i];
        ASSERT_EQ(r.id, i) << "ids run in table order";
        ASSERT_EQ(r.name_len, strlen(r.name)) << r.name;
        if (i) { EXPECT_LE((unsigned char)g_keywords[i - 1].name[0], (unsigned char)r.name[0]) << r.name; }
        std::string upper = r.name;
        for (auto& c : upper) c = (char)toupper((unsigned char)c);
        for (const std::string& written : {std::string(r.name), upper}) {
            start(written + " ");
            EXPECT_EQ(ctx->error, 0) << written;
            EXPECT_EQ(ctx->tok_kind, T_KEYWORD) << written;
            if (i == K_DOTTED) continue;   // "?oleobject" is read by operator mode too
            EXPECT_EQ(ctx->tok_id, (int)i) << written;
            EXPECT_EQ(ctx->tok_text, written) << written;
        }
    }
    EXPECT_EQ(plat_native_take_boxes().find("FSOP782"), std::string::npos) << "the table checks itself quietly";
}

TEST_F(Lexer, UngetStepsBackOverTheToken) {
    struct { int line; const char* text; int back; } rows[] = {
        {__LINE__, "  <= x", 2},          // keyword: its name length
        {__LINE__, "  abc x", 3},         // name: its text
        {__LINE__, "  12345 x", 5},       // number
        {__LINE__, "  'abc' x", 3},       // literal: short by the two quotes
        {__LINE__, "  'a''b' x", 3},      // ... and by the collapsed doubled quote
        {__LINE__, "  a.b.c x", 5},       // dotted reference: its text
        {__LINE__, "  echo x", 4},        // host command: its record's name
        {__LINE__, "   ", 0},             // kind 0 does not step back
    };
    for (auto& r : rows) {
        start(r.text);
        const char* after = ctx->cursor;
        unget_token(ctx);
        EXPECT_EQ(after - ctx->cursor, r.back) << AT_ROW(r);
    }
}

TEST_F(Lexer, WordReader) {
    struct { int line; std::string text; uint16_t kind; std::string word; uint16_t error; } rows[] = {
        {__LINE__, "  Loop2@x rest", T_STRING, "Loop2@x", 0},
        {__LINE__, "9lives", T_STRING, "9lives", 0},
        {__LINE__, "  ; nothing", T_END, "", 0},
        {__LINE__, "", T_END, "", 0},
        {__LINE__, "+x", T_END, "", 3054},
        {__LINE__, "a.b", T_STRING, "a", 0},
        {__LINE__, std::string(257, 'w'), T_STRING, std::string(257, 'w'), 0},
        {__LINE__, std::string(258, 'w'), T_END, "", 3053},
    };
    for (auto& r : rows) {
        line = r.text;
        ctx->cursor = line.c_str();
        ctx->error = 0;
        read_word(ctx);
        EXPECT_EQ(ctx->error, r.error) << AT_ROW(r);
        if (r.error) continue;
        EXPECT_EQ(ctx->tok_kind, r.kind) << AT_ROW(r);
        if (r.kind != T_STRING) continue;
        EXPECT_EQ(ctx->tok_text, r.word) << AT_ROW(r);
        EXPECT_EQ(ctx->tok_id, -1) << AT_ROW(r);
    }
    EXPECT_EQ(ctx->var_count, 0) << "the word reader registers nothing";
    // Double-byte words: one or two letters, then pairs, so the count steps
    // past 257 without standing on it; the token buffer must not overflow.
    plat_native_set_dbcs(true);
    for (const char* head : {"a", "ab"}) {
        line = head;
        for (int i = 0; i < 200; ++i) line += "\x88\x9f";
        memset(ctx->scratch, 'S', sizeof ctx->scratch);
        ctx->cursor = line.c_str();
        ctx->error = 0;
        read_word(ctx);
        EXPECT_EQ(ctx->error, 3053) << "head " << head;
        EXPECT_EQ(ctx->scratch[0], 'S') << "head " << head << ": the token buffer did not overflow";
    }
}

TEST_F(Lexer, DoubleByteLiteralsKeepTheirPairs) {
    plat_native_set_dbcs(true);
    // The trail byte of 0x95 is a quote here: it does not close the literal.
    EXPECT_EQ(dump("'\x95'x' y"), "4:\x95'x 2:y");
    // A 256-character literal that ends on a lead byte keeps its trail byte.
    std::string body = std::string(255, 'k') + "\x88\x9f";
    EXPECT_EQ(dump("'" + body + "tail'"), "4:" + body + " 2:tail 4:");
    plat_native_set_dbcs(false);
    EXPECT_EQ(tokens("'\x95'x' y")[0].text, "\x95") << "without double-byte mode the quote closes";
}

TEST_F(Lexer, ExtenderRecordsFollowTheBuiltInOnes) {
    // A command extender's record at id 272, as the extender start-up adds it.
    uint16_t saved = g_keyword_count;
    g_keywords[272] = KeywordRecord{272, KW_FUNCTION, 1, 0, 6, "zzext9"};
    g_keyword_count = 273;
    keyword_cache_new_generation(ctx);
    std::string got = dump("ZZext9(zzext9x) zzext");
    g_keywords[272] = KeywordRecord{};
    g_keyword_count = saved;
    keyword_cache_new_generation(ctx);
    EXPECT_EQ(got, "1:272:ZZext9 1:4:( 2:zzext9x 1:5:) 2:zzext") << "whole words, case-insensitive";
    EXPECT_EQ(dump("zzext9"), "2:zzext9") << "gone with its record";
    // A host may rewrite its table in place between runs: the next generation sees it.
    EXPECT_EQ(dump("sox"), "2:sox");
    table[2] = function_record(2, "sox", 6, 0);
    keyword_cache_new_generation(ctx);
    EXPECT_EQ(dump("sox"), "1:902:sox");
}

} // namespace
} // namespace tsl
