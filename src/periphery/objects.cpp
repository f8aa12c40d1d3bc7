// ObjectOpen, ObjectClose and the dotted reference (id 21): automation
// objects through IDispatch. An object is known to the script by a number
// that is good only in the context that got it; each number owns one
// reference, given back by ObjectClose or, for whatever a script leaves
// open, when its context shuts down.
#include "objects.h"
#include "script_handles.h"
#include "../core/eval.h"
#include "../functions/families.h"
#include <windows.h>
#include <oleauto.h>

namespace tsl {

namespace {

PHandle g_owner[OBJECTS_MAX];
void* g_object[OBJECTS_MAX];
HandleTable g_objects = {OBJECT_NUMBER_BASE, OBJECTS_MAX, g_owner, g_object};

void release(void* o) { ((IDispatch*)o)->Release(); }

// ObjectOpen(name) -> the number of a new object of the program id `name`
// ("Scripting.Dictionary") or of a class id "{...}"
void fn_object_open(Context* ctx, Value* result, Value* args) {
    if (!object_com_ready()) { fail(ctx, 1441); return; }
    WCHAR name[PATH_BUF];
    if (!MultiByteToWideChar(CP_ACP, 0, value_text(ctx, args[1]), -1, name, PATH_BUF)) { fail(ctx, 1441); return; }
    CLSID clsid;
    HRESULT hr = name[0] == L'{' ? CLSIDFromString(name, &clsid) : CLSIDFromProgID(name, &clsid);
    IDispatch* d = nullptr;
    if (SUCCEEDED(hr))
        hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch, (void**)&d);
    if (FAILED(hr) || !d) { fail(ctx, 1441); return; }
    g_dotted_assign = object_assign;   // from now on obj.member = value reaches the objects
    result->integer = object_enter(ctx, d);
}

// ObjectClose(object) -> 1
void fn_object_close(Context* ctx, Value* result, Value* args) {
    IDispatch* d = (IDispatch*)handle_remove(&g_objects, ctx, args[1].integer);
    if (!d) { fail(ctx, 3411); return; }
    d->Release();
    result->integer = 1;
}

// obj.member or obj.member(arguments...): id 21
void fn_dotted(Context* ctx, Value* result, Value* args) {
    object_call(ctx, result, value_text(ctx, args[0]));
}

const FunctionEntry kTable[] = {
    {21, fn_dotted},          // ?oleobject
    {183, fn_object_close},   // ObjectClose
    {184, fn_object_open},    // ObjectOpen
};

} // namespace

bool object_com_ready() {
    // Once per thread: S_OK or S_FALSE (already ours), or another mode the
    // host chose (RPC_E_CHANGED_MODE), which serves as well.
    static thread_local bool ready = false;
    if (ready) return true;
    HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ready = SUCCEEDED(hr) || hr == RPC_E_CHANGED_MODE;
    return ready;
}

int32_t object_enter(Context* ctx, IDispatch* d) {
    int32_t n = handle_add(&g_objects, ctx, d);
    if (!n) { d->Release(); fail(ctx, 3412); }
    return n;
}

IDispatch* object_find(Context* ctx, int32_t number) {
    return (IDispatch*)handle_get(&g_objects, ctx, number);
}

void objects_release_all(Context* ctx) { handle_release_all(&g_objects, ctx, release); }

TSL_FAMILY_DEFINE(kFamilyObjects, kTable)

} // namespace tsl
