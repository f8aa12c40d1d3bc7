/* A command extender for the tests. Its entries are exported with
   __declspec(dllexport) and no .def file, so on 32-bit they carry their
   __stdcall decoration (COMEXT_INIT@16) and the interpreter must find them
   by it. The process environment tells the test what happened:
   TSLTESTEXT_INITS counts COMEXT_INIT calls, TSLTESTEXT_DONE is set by
   COMEXT_DONE; TSLTESTEXT_ANSWER, when set, is COMEXT_INIT's answer. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include "tslpr32i.h"

#define EXPORT __declspec(dllexport)

/* The commands in the order they are offered: two refused definitions
   (six arguments, a 14-character name) among accepted ones. */
static const struct { long kind; long value; const char* name; } kCommands[] = {
    {TSL_KIND_FUNCTION, 2, "extadd"},         /* 0: the sum of two numbers */
    {TSL_KIND_FUNCTION, 1, "extecho"},        /* 1: its argument as text */
    {TSL_KIND_CONSTANT, -314159, "@extconst"},/* 2 */
    {TSL_KIND_FUNCTION, 6, "extsix"},         /* 3: refused, six arguments */
    {TSL_KIND_FUNCTION, 2, "extfail"},        /* 4: answers code p1 with error text p2 */
    {TSL_KIND_FUNCTION, 1, "extbig"},         /* 5: a text of p1 characters; returns ViperAnswer's result */
    {TSL_KIND_FUNCTION, 0, "extnamefourtn"},  /* 6: 13 characters, accepted; answers 6 */
    {TSL_KIND_FUNCTION, 0, "extnamefourtee"}, /* 7: 14 characters, refused */
    {TSL_KIND_FUNCTION, 0, "extlast"},        /* 8: answers 8 */
    {TSL_KIND_FUNCTION, 5, "extfive"},        /* 9: its five arguments joined by "," */
};
#define COMMANDS ((long)(sizeof kCommands / sizeof kCommands[0]))

EXPORT long WINAPI COMEXT_INIT(HINSTANCE host, HINSTANCE interpreter, long magic, long reserved) {
    char n[16] = "0";
    (void)host; (void)interpreter; (void)reserved;
    GetEnvironmentVariableA("TSLTESTEXT_INITS", n, sizeof n);
    sprintf(n, "%d", atoi(n) + 1);
    SetEnvironmentVariableA("TSLTESTEXT_INITS", n);
    SetEnvironmentVariableA("TSLTESTEXT_DONE", NULL);
    if (GetEnvironmentVariableA("TSLTESTEXT_ANSWER", n, sizeof n)) return atol(n);
    return magic == TSL_INTERFACE_MAGIC ? 42 : 0;
}

EXPORT long WINAPI COMEXT_GETNEWCOMMAND(HINSTANCE host, HINSTANCE interpreter, long magic, long index,
                                        long slots_left, long* kind, long* value, char* name, long name_size) {
    (void)host; (void)interpreter; (void)magic; (void)slots_left;
    if (index >= COMMANDS) return 0;
    *kind = kCommands[index].kind;
    *value = kCommands[index].value;
    memcpy(name, kCommands[index].name, strlen(kCommands[index].name) < (size_t)name_size
                                            ? strlen(kCommands[index].name) + 1 : (size_t)name_size);
    return 1;
}

EXPORT long WINAPI COMEXT_PROCESSCOMMAND(HWND main_window, LPARAM host_value, long magic, long command,
                                         TslAnswerProc answer, void* record, LPCSTR t1, LPCSTR t2,
                                         LPCSTR t3, LPCSTR t4, LPCSTR t5) {
    (void)main_window; (void)host_value; (void)magic;
    switch (command) {
    case 0: return answer(0, 0, record, 0, atol(t1) + atol(t2), NULL);
    case 1: return answer(0, 0, record, 1, 0, t1);
    case 4: return answer(atol(t1), 0, record, *t2 ? 1 : 0, 0, *t2 ? t2 : NULL);
    case 5: {
        static char text[8192];
        long n = atol(t1) < (long)sizeof text ? atol(t1) : (long)sizeof text - 1;
        memset(text, 'x', (size_t)n);
        text[n] = 0;
        return answer(0, 0, record, 1, 0, text);
    }
    case 6: case 8: return answer(0, 0, record, 0, command, NULL);
    case 9: {
        char joined[1300];
        snprintf(joined, sizeof joined, "%s,%s,%s,%s,%s", t1, t2, t3, t4, t5);
        return answer(0, 0, record, 1, 0, joined);
    }
    default: return -3;
    }
}

EXPORT long WINAPI COMEXT_DONE(HINSTANCE host, HINSTANCE interpreter, long magic) {
    (void)host; (void)interpreter; (void)magic;
    SetEnvironmentVariableA("TSLTESTEXT_DONE", "1");
    return 0;
}
