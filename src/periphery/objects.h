// Automation objects: the table of objects a script holds (object numbers),
// shared by ObjectOpen/ObjectClose (objects.cpp) and the dotted calls
// (object_calls.cpp).
#pragma once
#include "../core/context.h"

struct IDispatch;

namespace tsl {

const int32_t OBJECT_NUMBER_BASE = 2000;   // objects are 2001 ...
const unsigned OBJECTS_MAX = 64;           // held by all contexts together
const unsigned OBJECT_ARGS_MAX = 8;        // arguments of one call

// Enters an object (one reference, which the table now owns) and returns its
// number; 3412 and the reference released when the table is full.
int32_t object_enter(Context* ctx, IDispatch* d);
// The object behind a number of this context, or nullptr (no error set).
IDispatch* object_find(Context* ctx, int32_t number);
// Releases every object of the context (at its shutdown).
void objects_release_all(Context* ctx);

// Makes sure COM is ready on this thread (once per thread).
bool object_com_ready();

// The dotted reference "var.member.member..." as a call: the arguments are
// read from the token stream when the reference is followed by "(".
void object_call(Context* ctx, Value* result, const char* reference);
// The dotted assignment "var.member... = value" (see g_dotted_assign).
bool object_assign(Context* ctx, const char* reference, const Value* value);

} // namespace tsl
