// The interpreter's internals exported for command extenders: they drive
// the lexer and the evaluator and allocate in the run's string heap from
// inside a command call, with the context of that call.
#include <windows.h>
#include <cstddef>
#include "../../include/tslpr32i.h"
#include "context.h"
#include "command_call.h"
#include "eval.h"
#include "heap.h"
#include "lexer.h"
#include "vars.h"

static_assert(sizeof(TslValue) == sizeof(tsl::Value), "the public value is the interpreter's value");
static_assert(sizeof(TslKeywordRecord) == sizeof(tsl::KeywordRecord), "one keyword record layout");
static_assert(TSL_CONTEXT_SIZE == tsl::CONTEXT_SIZE, "one context size");
static_assert(TSL_VARSLOT_SIZE == sizeof(tsl::VarSlot), "one variable slot size");
static_assert(TSL_INTERFACE_MAGIC == tsl::INTERFACE_MAGIC, "one magic number");
static_assert(sizeof(TslAnswerRecord) == sizeof(tsl::AnswerRecord) && offsetof(tsl::AnswerRecord, ctx) == 0,
              "the public answer record starts with the context");

extern "C" void WINAPI ProcessSubExpression(void* context, TslValue* value) {
    tsl::eval_expression((tsl::Context*)context, (tsl::Value*)value);
}

extern "C" void WINAPI get_token(void* context) { tsl::get_token((tsl::Context*)context); }

extern "C" unsigned short WINAPI find_var(void* context, LPCSTR name) {
    return tsl::find_var((tsl::Context*)context, name);
}

extern "C" unsigned short WINAPI VMalloc(void* heap, unsigned long size) {
    return tsl::heap_alloc((uint8_t*)heap, (uint32_t)size);
}

extern "C" void WINAPI VFree(void* heap, unsigned short offset) { tsl::heap_free((uint8_t*)heap, offset); }

extern "C" long WINAPI ViperAnswer(long code, long reserved, void* answer_record, long kind, long integer,
                                   LPCSTR text) {
    return tsl::viper_answer((int32_t)code, (int32_t)reserved, answer_record, (int32_t)kind,
                             (int32_t)integer, text);
}
