/* A host as a C programmer writes one: plain C against include/tslpr32i.h, linked with the
   DLL's import library. On 32-bit it proves the decorated import names, the __stdcall calls in
   both directions and the record layouts. Prints one line per failed check and
   "host_c: N checks, N failed"; exit status 1 when any failed. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include "tslpr32i.h"

static int checks, failures;
static char echoed[512];

static void check_eq(const char* what, long got, long want) {
    ++checks;
    if (got != want) { ++failures; printf("FAILED: %s: got %ld, want %ld\n", what, got, want); }
}
#define CHECK_EQ(what, got, want) check_eq(what, (long)(got), (long)(want))

/* Command 900: add(a, b) answers the sum as a number; command 901: echo(text) collects lines. */
static long WINAPI commands(HWND main_window, LPARAM host_value, long magic, long command, TslAnswerProc answer,
                            void* record, LPCSTR t1, LPCSTR t2, LPCSTR t3, LPCSTR t4, LPCSTR t5) {
    (void)main_window; (void)t3; (void)t4; (void)t5;
    if (command < 0) return 0; /* idle and shutdown calls */
    CHECK_EQ("magic number", magic, TSL_INTERFACE_MAGIC);
    CHECK_EQ("host value", host_value, 1234);
    if (command == 0) return answer(0, 0, record, 0, atol(t1) + atol(t2), NULL);
    if (strlen(echoed) + strlen(t1) + 2 < sizeof echoed) { strcat(echoed, t1); strcat(echoed, "\n"); }
    return answer(0, 0, record, 1, 0, "done");
}

static const TslKeywordRecord table[] = {
    {0, TSL_KIND_FUNCTION, 2, 3, 3, "add"},
    {1, TSL_KIND_FUNCTION, 1, 1, 4, "echo"},
    {0, 0, 0, 0, 0, ""},
};

static long run(HGLOBAL ctx, const char* text) {
    HGLOBAL script = GlobalAlloc(GMEM_MOVEABLE, strlen(text) + 1);
    long r;
    memcpy(GlobalLock(script), text, strlen(text) + 1);
    GlobalUnlock(script);
    r = ProcessDaBatBuffer(NULL, ctx, script, commands, table);
    GlobalFree(script);
    return r;
}

int main(void) {
    HINSTANCE me = GetModuleHandleA(NULL);
    HGLOBAL ctx, vars, heap;
    char value[64] = "";
    WORD size;

    /* The record layouts every host and extender shares. */
    CHECK_EQ("keyword record size", sizeof(TslKeywordRecord), 24);
    CHECK_EQ("value size", sizeof(TslValue), 12);
    /* Boxes (the wrong interface version below shows one) go to standard error. */
    DLLServices(NULL, TSL_SERVICE_CONSOLE, 1, 0, 0);
    size = DoDaDllInit(me, NULL, TSL_INTERFACE_VERSION, TSL_INIT_INTERFACE, 0, NULL, NULL);
    CHECK_EQ("mode 0: context size", size, TSL_CONTEXT_SIZE);
    CHECK_EQ("mode 0: wrong interface", DoDaDllInit(me, NULL, 0x1100, TSL_INIT_INTERFACE, 0, NULL, NULL), 0);
    ctx = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    vars = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 500 * TSL_VARSLOT_SIZE);
    heap = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, TSL_HEAP_MAX);
    CHECK_EQ("mode 1: slot size", DoDaDllInit(me, ctx, 0, TSL_INIT_CONTEXT, 1234, "chost", "1.0"),
             TSL_VARSLOT_SIZE);
    CHECK_EQ("mode 2", DoDaDllInit(me, ctx, (WPARAM)vars, TSL_INIT_VARIABLES, 0, "chost", "C host"), 1);
    CHECK_EQ("mode 3", DoDaDllInit(me, ctx, (WPARAM)heap, TSL_INIT_HEAP, TSL_HEAP_MAX, "C host test", NULL), 1);
    /* A run that calls back into both host commands and leaves a variable. */
    run(ctx, "total = add(40, 2)\r\nword = echo(StrCat(\"sum \", total))\r\n");
    CHECK_EQ("run error", DLLServices(ctx, TSL_SERVICE_RUN_ERROR, 0, 0, 0), 0);
    CHECK_EQ("run result", DLLServices(ctx, TSL_SERVICE_RUN_RESULT, 0, 0, 0), 1);
    CHECK_EQ("echoed line", strcmp(echoed, "sum 42\n"), 0);
    CHECK_EQ("get variable", DLLServices(ctx, TSL_SERVICE_GET_VAR, (LPARAM) "word", (LPARAM)value, sizeof value), 1);
    CHECK_EQ("variable text", strcmp(value, "done"), 0);

    /* A variable set by the host, and a run that stops with a numbered error. */
    CHECK_EQ("set variable", DLLServices(ctx, TSL_SERVICE_SET_VAR, (LPARAM) "given", (LPARAM) "7", 0), 1);
    run(ctx, "x = given * 6\r\ny = add(x)\r\n");
    CHECK_EQ("wrong argument count stops the run", DLLServices(ctx, TSL_SERVICE_RUN_ERROR, 0, 0, 0) != 0, 1);
    CHECK_EQ("get x", DLLServices(ctx, TSL_SERVICE_GET_VAR, (LPARAM) "x", (LPARAM)value, sizeof value), 1);
    CHECK_EQ("x", atol(value), 42);

    CHECK_EQ("mode 99", DoDaDllInit(me, ctx, 0, TSL_INIT_SHUTDOWN, 0, NULL, NULL), 1);
    GlobalFree(heap);
    GlobalFree(vars);
    GlobalFree(ctx);
    printf("host_c: %d checks, %d failed\n", checks, failures);
    return failures ? 1 : 0;
}
