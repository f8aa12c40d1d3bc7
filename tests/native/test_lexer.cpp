// The lexer: operators by longest match, keywords by whole words, names
// and their limits, numbers, literals with their quote rules, the dotted
// reference, the first-character index over all 272 records, unget, the
// word reader, and double-byte characters.
#include <random>
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
    struct { int line; const char* text; const char* want; } rows[] = {
        {__LINE__, "<<", "1:12:<<"},
        {__LINE__, "<>", "1:14:<>"},
        {__LINE__, "< >", "1:11:< 1:17:>"},
        {__LINE__, "<=>=", "1:13:<= 1:18:>="},
        {__LINE__, "a==b!=c", "2:a 1:16:== 2:b 1:1:!= 2:c"},
        {__LINE__, "&&&", "1:3:&& 1:2:&"},
        {__LINE__, "|||", "1:270:|| 1:269:|"},
        {__LINE__, "IF If if", "1:143:IF 1:143:If 1:143:if"},
        {__LINE__, "ifx", "2:ifx"},
        {__LINE__, "model", "2:model"},
        {__LINE__, "5 MOD 2", "3:5 1:172:MOD 3:2"},
        {__LINE__, "mod(", "1:172:mod 1:4:("},
        {__LINE__, "a.b", "1:21:a.b"},
        {__LINE__, "@a.b.c(", "1:21:@a.b.c 1:4:("},
        {__LINE__, "@TRUE", "1:53:@TRUE"},
        {__LINE__, "@truex", "2:@truex"},
        {__LINE__, "@True1", "2:@True1"},
        {__LINE__, "x ; comment", "2:x"},
        {__LINE__, ";", ""},
        {__LINE__, "   \t ", ""},
        {__LINE__, "'it''s'", "4:it's"},
        {__LINE__, "'abcdef''g'", "4:abcdef 4:g"},
        {__LINE__, "'abc''d'", "4:abc'd"},
        {__LINE__, "\"a'b\" `c\"d` 'e`f'", "4:a'b 4:c\"d 4:e`f"},
        {__LINE__, "'unclosed", "4:unclosed"},
        {__LINE__, "''", "4:"},
        {__LINE__, "123abc", "3:123 2:abc"},
        {__LINE__, "0042", "3:0042"},
        {__LINE__, "1.5", "3:1 error 3054"},
        {__LINE__, "#", "error 3054"},
        {__LINE__, "x $", "2:x error 3054"},
        {__LINE__, "\xe9t\xe9", "error 3054"},   // no built-in keyword from code 128 up
        {__LINE__, "a_b", "2:a error 3054"},
        {__LINE__, "echo(", "1:900:echo 1:4:("},
        {__LINE__, "echoes", "1:900:echo 2:es"},  // host names match without the whole-word test
        {__LINE__, "?deserver(", "1:20:?deserver 1:4:("},
        {__LINE__, "~-!+", "1:271:~ 1:9:- 1:0:! 1:7:+"},
        {__LINE__, "then", "1:235:then"},
        {__LINE__, "Drop IsDefined", "1:102:Drop 1:154:IsDefined"},
    };
    for (auto& r : rows) EXPECT_EQ(dump(r.text), r.want) << "row at line " << r.line;
}

TEST_F(Lexer, NamesUpTo30Characters) {
    std::string n30(30, 'v'), n31(31, 'w');
    EXPECT_EQ(dump(n30), "2:" + n30);
    EXPECT_EQ(dump(n31), "error 3055");
    EXPECT_EQ(dump(n31 + ".b"), "error 3055") << "31 characters and a dot: not a dotted reference";
    EXPECT_EQ(dump(n30 + ".b"), "1:21:" + n30 + ".b");
    EXPECT_EQ(var_find_slot(ctx, n31.c_str()), NO_VARIABLE) << "a name that is too long is not registered";
}

TEST_F(Lexer, NumbersHaveNoLengthLimit) {
    std::string digits(300, '7');
    start(digits + " x");
    EXPECT_EQ(ctx->tok_kind, T_NUMBER);
    EXPECT_EQ(ctx->cursor, line.c_str() + 300);
    get_token(ctx);
    EXPECT_STREQ(ctx->tok_text, "x");
}

TEST_F(Lexer, LongLiteralsEndAfter256Characters) {
    std::string body(300, 'L');
    std::vector<Token> t = tokens("'" + body + "'");
    ASSERT_GE(t.size(), 1u);
    EXPECT_EQ(t[0].text, std::string(256, 'L'));
    // The next token starts at the character after the 256th.
    t = tokens("'" + std::string(256, 'a') + "+1'");
    ASSERT_EQ(t.size(), 4u);
    EXPECT_EQ(t[1].id, K_PLUS);
    EXPECT_EQ(t[2].text, "1");
    EXPECT_EQ(t[3].kind, T_STRING) << "the closing quote opens a literal that the end of line closes";
    EXPECT_EQ(t[3].text, "");
    EXPECT_EQ(ctx->error, 0);
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

TEST_F(Lexer, ConstantsCarryTheirValues) {
    struct { const char* name; int32_t value; } rows[] = {
        {"@hidden", -1}, {"@wholesection", 692837}, {"@scrolllock", 145}, {"@true", 1}, {"@false", 0},
    };
    for (auto& r : rows) {
        Eval e = eval(r.name);
        EXPECT_EQ(e.error, 0) << r.name;
        EXPECT_EQ(e.integer, r.value) << r.name;
        EXPECT_EQ(e.flags, (uint32_t)VF_INT) << r.name;
        EXPECT_EQ(e.source, NO_VARIABLE) << r.name;
    }
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
    };
    for (auto& r : rows) {
        start(r.text);
        const char* after = ctx->cursor;
        unget_token(ctx);
        EXPECT_EQ(after - ctx->cursor, r.back) << "row at line " << r.line;
    }
    start("   ");
    const char* end = ctx->cursor;
    unget_token(ctx);
    EXPECT_EQ(ctx->cursor, end) << "kind 0 does not step back";
}

TEST_F(Lexer, WordReader) {
    struct { int line; const char* text; uint16_t kind; const char* word; uint16_t error; } rows[] = {
        {__LINE__, "  Loop2@x rest", T_STRING, "Loop2@x", 0},
        {__LINE__, "9lives", T_STRING, "9lives", 0},
        {__LINE__, "  ; nothing", T_END, "", 0},
        {__LINE__, "", T_END, "", 0},
        {__LINE__, "+x", T_END, "", 3054},
        {__LINE__, "a.b", T_STRING, "a", 0},
    };
    for (auto& r : rows) {
        line = r.text;
        ctx->cursor = line.c_str();
        ctx->error = 0;
        read_word(ctx);
        EXPECT_EQ(ctx->error, r.error) << "row at line " << r.line;
        if (r.error) continue;
        EXPECT_EQ(ctx->tok_kind, r.kind) << "row at line " << r.line;
        if (r.kind == T_STRING) {
            EXPECT_STREQ(ctx->tok_text, r.word) << "row at line " << r.line;
            EXPECT_EQ(ctx->tok_id, -1) << "row at line " << r.line;
        }
    }
    EXPECT_EQ(ctx->var_count, 0) << "the word reader registers nothing";
}

TEST_F(Lexer, WordReaderLimits) {
    for (unsigned n : {256u, 257u, 258u, 300u}) {
        line = std::string(n, 'w');
        ctx->cursor = line.c_str();
        ctx->error = 0;
        read_word(ctx);
        EXPECT_EQ(ctx->error, n <= 257 ? 0 : 3053) << n << " characters";
        if (n <= 257) { EXPECT_EQ(strlen(ctx->tok_text), n); }
    }
}

TEST_F(Lexer, WordReaderLimitHoldsForDoubleByteWords) {
    plat_native_set_dbcs(true);
    // Two letters, then pairs: the count steps 2, 4, .. 256, 258 and never
    // stands at 257, yet the word is longer than 257 bytes.
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
    std::vector<Token> t = tokens("'\x95'x' y");
    ASSERT_EQ(t.size(), 2u);
    EXPECT_EQ(t[0].text, "\x95'x");
    EXPECT_EQ(t[1].text, "y");
    // A 256-character literal that ends on a lead byte keeps its trail byte.
    std::string body = std::string(255, 'k') + "\x88\x9f" + "tail";
    t = tokens("'" + body + "'");
    ASSERT_GE(t.size(), 1u);
    EXPECT_EQ(t[0].text, std::string(255, 'k') + "\x88\x9f");
    plat_native_set_dbcs(false);
    t = tokens("'\x95'x' y");
    EXPECT_EQ(t[0].text, "\x95") << "without double-byte mode the quote closes";
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
}

TEST_F(Lexer, NamesAreRegisteredWithFlags8) {
    tokens("alpha = beta + Gamma");
    for (const char* n : {"alpha", "beta", "gamma"}) {
        uint16_t s = var_find_slot(ctx, n);
        ASSERT_NE(s, NO_VARIABLE) << n;
        EXPECT_EQ(vars[s].value.flags, (uint32_t)VF_REGISTERED) << n;
        EXPECT_STREQ(vars[s].name, n);
    }
    EXPECT_EQ(ctx->var_count, 3);
}

// Random lines from an alphabet of token starts, in both code-page modes:
// every token moves the cursor forward and stays inside the line, its text
// fits the buffer, and unget then get reads the same token again (for all
// but literals, whose step back is short by their quotes).
TEST_F(Lexer, RandomLinesTokenizeWithinTheLine) {
    std::mt19937 rng(99);
    const char* pieces[] = {"a", "Z", "@", "1", "0", " ", "\t", "<", ">", "=", "!", "&", "|", "^", "~", "+",
                            "-", "*", "/", "(", ")", ",", "'", "\"", "`", "mod", "if", "then", "echo",
                            "@true", "strlen", "\x88\x9f", "\x95'", "a.b", "x1.y"};
    const char* rare[] = {".", "?", "#", "%", "\xe9", ";"};   // errors and comments end the line
    use_vars(400);
    unsigned checked = 0;
    for (int round = 0; round < 20000; ++round) {
        plat_native_set_dbcs(round % 2);
        std::string text;
        unsigned n = 1 + rng() % 60;
        for (unsigned i = 0; i < n && text.size() < 250; ++i)
            text += rng() % 50 ? pieces[rng() % (sizeof pieces / sizeof *pieces)] : rare[rng() % 6];
        line = text;
        const char* begin = line.c_str();
        const char* end = begin + line.size();
        ctx->cursor = begin;
        ctx->error = 0;
        for (int guard = 0; guard < 300; ++guard) {
            const char* before = ctx->cursor;
            get_token(ctx);
            if (ctx->error == 3097) { use_vars(400); break; }
            if (ctx->error || ctx->tok_kind == T_END) break;
            ASSERT_GT(ctx->cursor, before) << text;
            ASSERT_LE(ctx->cursor, end) << text;
            ASSERT_LT(strlen(ctx->tok_text), TOKEN_BUF) << text;
            if (ctx->tok_kind == T_STRING) continue;
            Token t{ctx->tok_kind, ctx->tok_id, ctx->tok_text};
            const char* after = ctx->cursor;
            unget_token(ctx);
            get_token(ctx);
            ASSERT_EQ(ctx->error, 0) << text;
            ASSERT_EQ(ctx->cursor, after) << text << ": unget and get again";
            ASSERT_EQ(ctx->tok_kind, t.kind) << text;
            ASSERT_EQ(std::string(ctx->tok_text), t.text) << text;
            if (t.kind == T_KEYWORD) { ASSERT_EQ(ctx->tok_id, t.id) << text; }
            ++checked;
        }
    }
    EXPECT_GT(checked, 80000u) << "tokens read, stepped back over and read again";
}

} // namespace
} // namespace tsl
