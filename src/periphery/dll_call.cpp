// DllCall(library, entry, arguments): calls an entry of any library with a
// typed argument list and returns its 32-bit result.
//
// The list is items separated by ",", each "type:value":
//   long:N    a 32-bit integer (sign-extended to a pointer's width)
//   word:N    its low 16 bits
//   lpstr:T   a pointer to a private copy of the text T; T may be quoted
//             with " or ' to hold commas (a doubled quote stands for one)
//   lpbuf:N   a pointer to a fresh zeroed buffer of N bytes (1..4096); the
//             result's text is that buffer's contents up to its first NUL
// At most DLLCALL_ARGS_MAX items and one lpbuf. Every pointer handed to the
// entry is to a block of our own, sized by the script: nothing the script
// writes can reach outside them; what the entry writes is its own affair,
// so the script passes the sizes it declared.
//
// Both calling conventions of 32-bit Windows are accepted: the call goes
// through a small routine that puts the stack pointer back from its frame,
// whether the entry removed its arguments (stdcall) or not (cdecl).
#include "../functions/families.h"
#include <cstdlib>
#include <cstring>
#include <windows.h>

#if defined(__i386__)
// intptr_t tsl_call_any(void* fn, const intptr_t* args, int count)
extern "C" intptr_t tsl_call_any(void* fn, const intptr_t* args, int count);
asm(".text\n"
    ".globl _tsl_call_any\n"
    "_tsl_call_any:\n"
    "  pushl %ebp\n"
    "  movl %esp, %ebp\n"
    "  pushl %esi\n"
    "  movl 12(%ebp), %esi\n"
    "  movl 16(%ebp), %ecx\n"
    "1: testl %ecx, %ecx\n"
    "  jz 2f\n"
    "  decl %ecx\n"
    "  pushl (%esi,%ecx,4)\n"
    "  jmp 1b\n"
    "2: call *8(%ebp)\n"
    "  leal -4(%ebp), %esp\n"   // whatever the entry left on the stack
    "  popl %esi\n"
    "  popl %ebp\n"
    "  ret\n");
#endif

namespace tsl {

namespace {

const unsigned DLLCALL_ARGS_MAX = 12;
const unsigned DLLCALL_BUF_MAX = 4096;

struct CallFrame {
    intptr_t args[DLLCALL_ARGS_MAX] = {};
    unsigned count = 0;
    char* blocks[DLLCALL_ARGS_MAX] = {};   // texts and the buffer, freed by the destructor
    char* buffer = nullptr;
    ~CallFrame() { for (char* b : blocks) free(b); }
};

intptr_t call_entry(FARPROC fn, const CallFrame& f) {
#if defined(__i386__)
    return tsl_call_any((void*)fn, f.args, (int)f.count);
#else
    // One calling convention: unused trailing arguments are harmless.
    typedef intptr_t (*Any)(intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                            intptr_t, intptr_t, intptr_t, intptr_t);
    const intptr_t* a = f.args;
    return ((Any)(void*)fn)(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9], a[10], a[11]);
#endif
}

bool is_number(const char* s, const char* end) {
    if (s < end && *s == '-') ++s;
    if (s == end) return false;
    for (; s < end; ++s) if (*s < '0' || *s > '9') return false;
    return true;
}

// Reads one item at p into the frame; returns the position after it, or
// nullptr when the item is malformed.
const char* parse_item(CallFrame* f, const char* p) {
    while (*p == ' ') ++p;
    const char* colon = strchr(p, ':');
    if (!colon || f->count == DLLCALL_ARGS_MAX) return nullptr;
    size_t type_len = (size_t)(colon - p);
    while (type_len && p[type_len - 1] == ' ') --type_len;
    const char* v = colon + 1;
    unsigned i = f->count;
    if (type_len == 5 && _strnicmp(p, "lpstr", 5) == 0) {
        char* text = (char*)malloc(strlen(v) + 1);
        if (!text) return nullptr;
        f->blocks[i] = text;
        size_t n = 0;
        if (*v == '"' || *v == '\'') {
            char q = *v++;
            for (;; ++v) {
                if (!*v) return nullptr;   // no closing quote
                if (*v == q && v[1] == q) { text[n++] = q; ++v; continue; }
                if (*v == q) { ++v; break; }
                text[n++] = *v;
            }
            while (*v == ' ') ++v;
            if (*v && *v != ',') return nullptr;
        } else {
            while (*v && *v != ',') text[n++] = *v++;
        }
        text[n] = 0;
        f->args[f->count++] = (intptr_t)text;
        return v;
    }
    const char* end = v;
    while (*end && *end != ',') ++end;
    const char* num_end = end;
    while (num_end > v && num_end[-1] == ' ') --num_end;
    while (v < num_end && *v == ' ') ++v;
    if (!is_number(v, num_end)) return nullptr;
    long n = strtol(v, nullptr, 10);
    if (type_len == 4 && _strnicmp(p, "long", 4) == 0) {
        f->args[f->count++] = (intptr_t)(int32_t)n;
    } else if (type_len == 4 && _strnicmp(p, "word", 4) == 0) {
        f->args[f->count++] = (intptr_t)(uint16_t)n;
    } else if (type_len == 5 && _strnicmp(p, "lpbuf", 5) == 0) {
        if (f->buffer || n < 1 || n > (long)DLLCALL_BUF_MAX) return nullptr;
        f->buffer = (char*)calloc((size_t)n + 1, 1);   // one more: the text always ends
        if (!f->buffer) return nullptr;
        f->blocks[i] = f->buffer;
        f->args[f->count++] = (intptr_t)f->buffer;
    } else {
        return nullptr;
    }
    return end;
}

bool parse_list(CallFrame* f, const char* p) {
    while (*p == ' ') ++p;
    if (!*p) return true;
    for (;;) {
        p = parse_item(f, p);
        if (!p) return false;
        if (!*p) return true;
        ++p;   // the ","
    }
}

// DllCall(library, entry, arguments) -> the entry's result (and the buffer's text)
void fn_dll_call(Context* ctx, Value* result, Value* args) {
    CallFrame frame;
    if (!parse_list(&frame, value_text(ctx, args[3]))) { fail(ctx, 2411); return; }
    HMODULE lib = LoadLibraryA(value_text(ctx, args[1]));
    if (!lib) { fail(ctx, 1421); return; }
    FARPROC fn = GetProcAddress(lib, value_text(ctx, args[2]));
    if (!fn) { FreeLibrary(lib); fail(ctx, 1422); return; }
    int32_t r = (int32_t)call_entry(fn, frame);
    FreeLibrary(lib);
    if (frame.buffer) {
        if (!value_set_text(ctx, result, frame.buffer)) return;
        result->flags |= VF_INT;
    }
    result->integer = r;
}

const FunctionEntry kTable[] = {
    {100, fn_dll_call},   // DllCall
};

} // namespace

TSL_FAMILY_DEFINE(kFamilyDllCall, kTable)

} // namespace tsl
