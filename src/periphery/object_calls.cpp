// The dotted reference as an IDispatch call. "obj.a.b(x, y)": the variable
// obj holds an object number; every member but the last is read as a
// property that must give an object; the last one is called with the
// arguments (a method, or a property with parameters), or read when no
// "(" follows. Arguments go in as VT_I4 (integers) or VT_BSTR (texts);
// results come back as integers (VT_BOOL true is 1), texts, or, for an
// object, a new object number that the script closes like any other.
// A failing call is 1442 with the object's own description, when it gives
// one, in the variable ObjectErrorText.
#include "objects.h"
#include "../core/bounded.h"
#include "../core/eval.h"
#include "../core/eval_ops.h"
#include "../core/keywords.h"
#include "../core/lexer.h"
#include "../core/vars.h"
#include <cstdio>
#include <cstring>
#include <windows.h>
#include <oleauto.h>

namespace tsl {

namespace {

// The arguments of one call, read from the tokens, freed by the destructor.
struct CallArgs {
    VARIANT v[OBJECT_ARGS_MAX];
    unsigned count = 0;
    CallArgs() { for (auto& a : v) VariantInit(&a); }
    ~CallArgs() { for (auto& a : v) VariantClear(&a); }
};

// Gives back one reference when the call is over.
struct Owned {
    IDispatch* d;
    ~Owned() { d->Release(); }
};

BSTR to_bstr(const char* text) {
    int n = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    BSTR b = SysAllocStringLen(nullptr, (UINT)(n > 0 ? n - 1 : 0));
    if (b && n > 0) MultiByteToWideChar(CP_ACP, 0, text, -1, b, n);
    return b;
}

void value_to_variant(Context* ctx, const Value& v, VARIANT* out) {
    if (v.flags & VF_STR) {
        out->vt = VT_BSTR;
        out->bstrVal = to_bstr(value_text(ctx, v));
    } else {
        out->vt = VT_I4;
        out->lVal = v.integer;
    }
}

// Reads "(" a, b, ... ")" after the reference, last argument first in the
// array as IDispatch wants them. The current token is "(" on entry and ")"
// on return.
bool read_arguments(Context* ctx, CallArgs* a) {
    Value in[OBJECT_ARGS_MAX];
    unsigned n = 0;
    const char* p = ctx->cursor;
    while (*p == ' ' || *p == '\t') ++p;
    if (*p == ')') { get_token(ctx); return !ctx->error; }
    for (bool last = false; !last;) {
        if (n == OBJECT_ARGS_MAX) { for (unsigned i = 0; i < n; i++) free_text(ctx, &in[i]); return fail(ctx, 2421); }
        in[n] = Value{0, 0, NO_VARIABLE, 0};
        if (!eval_next_argument(ctx, &in[n], &last, 3068)) { for (unsigned i = 0; i < n; i++) free_text(ctx, &in[i]); return false; }
        ++n;
    }
    for (unsigned i = 0; i < n; i++) {
        value_to_variant(ctx, in[i], &a->v[n - 1 - i]);
        free_text(ctx, &in[i]);
    }
    a->count = n;
    return true;
}

// ObjectErrorText: the object's description, else the system's text for
// the failure code, else the code itself ("0x800A0035").
void set_object_error(Context* ctx, const EXCEPINFO& e, HRESULT hr) {
    char text[LINE_BUF] = "";
    if (hr == DISP_E_EXCEPTION && e.scode) hr = e.scode;
    if (e.bstrDescription && e.bstrDescription[0])
        WideCharToMultiByte(CP_ACP, 0, e.bstrDescription, -1, text, sizeof text - 1, nullptr, nullptr);
    else if (!FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, (DWORD)hr, 0, text,
                             sizeof text - 1, nullptr))
        snprintf(text, sizeof text, "0x%08lX", (unsigned long)hr);
    text[sizeof text - 1] = 0;
    size_t n = strlen(text);
    while (n && (text[n - 1] == '\r' || text[n - 1] == '\n' || text[n - 1] == ' ')) text[--n] = 0;
    uint16_t error = ctx->error;
    ctx->error = 0;
    var_set_text(ctx, "ObjectErrorText", text);
    ctx->error = error;
}

// One IDispatch::Invoke of member `name`; fails with 1443 (no such member)
// or 1442 (the call failed).
bool invoke(Context* ctx, IDispatch* d, const char* name, WORD flags, CallArgs* a, VARIANT* out) {
    WCHAR wname[TOKEN_BUF];
    if (!MultiByteToWideChar(CP_ACP, 0, name, -1, wname, TOKEN_BUF)) return fail(ctx, 1443);
    LPOLESTR names[1] = {wname};
    DISPID id;
    if (FAILED(d->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) return fail(ctx, 1443);
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS params = {a ? a->v : nullptr, flags == DISPATCH_PROPERTYPUT ? &put : nullptr, a ? a->count : 0,
                         flags == DISPATCH_PROPERTYPUT ? 1u : 0u};
    EXCEPINFO e = {};
    UINT bad_arg = 0;
    HRESULT hr = d->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, out, &e, &bad_arg);
    if (SUCCEEDED(hr)) return true;
    if (hr == DISP_E_EXCEPTION && e.pfnDeferredFillIn) e.pfnDeferredFillIn(&e);
    set_object_error(ctx, e, hr);
    SysFreeString(e.bstrDescription);
    SysFreeString(e.bstrSource);
    SysFreeString(e.bstrHelpFile);
    return fail(ctx, hr == DISP_E_MEMBERNOTFOUND ? 1443 : 1442);
}

// The language's value of a call's result.
void variant_to_value(Context* ctx, VARIANT* r, Value* result) {
    switch (r->vt) {
    case VT_EMPTY: case VT_NULL: result->integer = 0; return;
    case VT_BOOL: result->integer = r->boolVal ? 1 : 0; return;
    case VT_I1: case VT_I2: case VT_I4: case VT_INT: case VT_UI1: case VT_UI2: case VT_UI4: case VT_UINT:
        if (SUCCEEDED(VariantChangeType(r, r, 0, VT_I4))) { result->integer = r->lVal; return; }
        break;
    case VT_DISPATCH:
        if (r->pdispVal) {
            r->pdispVal->AddRef();
            result->integer = object_enter(ctx, r->pdispVal);
            return;
        }
        result->integer = 0;
        return;
    default: break;
    }
    if (FAILED(VariantChangeType(r, r, VARIANT_ALPHABOOL, VT_BSTR))) { fail(ctx, 1442); return; }
    int n = WideCharToMultiByte(CP_ACP, 0, r->bstrVal, (int)SysStringLen(r->bstrVal), nullptr, 0, nullptr, nullptr);
    char* text = value_alloc_text(ctx, result, (unsigned)n + 1);
    if (!text) return;
    WideCharToMultiByte(CP_ACP, 0, r->bstrVal, (int)SysStringLen(r->bstrVal), text, n, nullptr, nullptr);
    text[n] = 0;
}

// Finds the object of the reference's first part and walks every member but
// the last; returns that object (one reference owned by the caller) and the
// last member's name, or nullptr. `quiet`: a first part that holds no object
// is no error (the caller refuses the reference).
IDispatch* walk(Context* ctx, const char* reference, char* member, bool quiet) {
    char part[TOKEN_BUF];
    const char* dot = strchr(reference, '.');
    size_t len = dot ? (size_t)(dot - reference) : strlen(reference);
    if (len >= sizeof part) len = sizeof part - 1;
    memcpy(part, reference, len);
    part[len] = 0;
    uint16_t slot = quiet ? var_find_slot(ctx, part) : find_var(ctx, part);
    if (slot == NO_VARIABLE) return nullptr;
    const Value& v = ctx->vars[slot].value;
    IDispatch* d = (v.flags & VF_INT) ? object_find(ctx, v.integer) : nullptr;
    if (!d) { if (!quiet) fail(ctx, 3411); return nullptr; }
    d->AddRef();
    while (dot) {
        const char* next = strchr(dot + 1, '.');
        len = next ? (size_t)(next - dot - 1) : strlen(dot + 1);
        if (len >= TOKEN_BUF) len = TOKEN_BUF - 1;
        memcpy(member, dot + 1, len);
        member[len] = 0;
        if (!next) return d;
        VARIANT r;
        VariantInit(&r);
        bool ok = invoke(ctx, d, member, DISPATCH_PROPERTYGET | DISPATCH_METHOD, nullptr, &r);
        d->Release();
        if (!ok) return nullptr;
        if (r.vt != VT_DISPATCH || !r.pdispVal) { VariantClear(&r); fail(ctx, 1444); return nullptr; }
        d = r.pdispVal;   // the variant's reference passes to us
        dot = next;
    }
    d->Release();   // "obj" alone: no member to call
    fail(ctx, 1443);
    return nullptr;
}

} // namespace

void object_call(Context* ctx, Value* result, const char* reference) {
    char member[TOKEN_BUF];
    CallArgs args;
    bool with_args = ctx->tok_kind == T_KEYWORD && ctx->tok_id == K_LPAREN;
    // Arguments first: the tokens must be read whatever happens to the call.
    if (with_args && !read_arguments(ctx, &args)) return;
    IDispatch* d = walk(ctx, reference, member, false);
    if (!d) return;
    Owned owned{d};   // the walk's own reference: the object outlives the call even if closed meanwhile
    VARIANT r;
    VariantInit(&r);
    if (invoke(ctx, d, member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &args, &r)) variant_to_value(ctx, &r, result);
    VariantClear(&r);
}

bool object_assign(Context* ctx, const char* reference, const Value* value) {
    char member[TOKEN_BUF];
    IDispatch* d = walk(ctx, reference, member, true);
    if (!d) return ctx->error != 0;   // an error on the way is the object's; no object at all: refused
    Owned owned{d};
    CallArgs args;
    value_to_variant(ctx, *value, &args.v[0]);
    args.count = 1;
    invoke(ctx, d, member, DISPATCH_PROPERTYPUT, &args, nullptr);
    return true;
}

} // namespace tsl
