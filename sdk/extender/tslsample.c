/* TSLSAMPLE.dll: the sample command extender of the TSL extender kit.

   Name it in TSLPROCS.INI, section [MAIN], as CMDEXTDLL=TSLSAMPLE.DLL (or a
   full path); the interpreter loads it when the first host attaches and
   adds its commands to the language:

     StrReverse(text)           the text backwards (double-byte characters kept whole)
     ComputerName()             this computer's name
     FileLines(path)            the number of lines of a text file
     SplitToVars(prefix, list)  sets prefix1, prefix2, ... to the words of a
                                blank-separated list; answers their number
     @MaxPath                   260, the longest path the system takes

   Everything an extender needs is in include/tslpr32i.h; docs/extenders.md
   explains each step. All entries are __stdcall (WINAPI) and exported
   under their plain names by tslsample.def. */
#include <string.h>
#include "tslpr32i.h"

/* Command numbers: the order in which COMEXT_GETNEWCOMMAND offers them. */
enum { CMD_STRREVERSE, CMD_COMPUTERNAME, CMD_FILELINES, CMD_SPLITTOVARS, CMD_MAXPATH, CMD_COUNT };

static const struct {
    long kind;   /* TSL_KIND_FUNCTION or TSL_KIND_CONSTANT */
    long value;  /* function: argument count (0..5); constant: its value */
    const char* name;  /* at most 13 characters; the language ignores case */
} kCommands[CMD_COUNT] = {
    {TSL_KIND_FUNCTION, 1, "StrReverse"},
    {TSL_KIND_FUNCTION, 0, "ComputerName"},
    {TSL_KIND_FUNCTION, 1, "FileLines"},
    {TSL_KIND_FUNCTION, 2, "SplitToVars"},
    {TSL_KIND_CONSTANT, MAX_PATH, "@MaxPath"},
};

/* The interpreter's DLLServices, found through the module handle that
   COMEXT_INIT receives (no import library needed). */
static TslDLLServicesProc g_services;

/* Called once, when the first host attaches. Anything but 0 and -1 says
   "use me"; the value is what IntControl(10, 1) reports. */
long WINAPI COMEXT_INIT(HINSTANCE host, HINSTANCE interpreter, long magic, long reserved) {
    (void)host; (void)reserved;
    if (magic != TSL_INTERFACE_MAGIC) return 0;  /* an interpreter of another interface: stay out */
    g_services = (TslDLLServicesProc)(void*)GetProcAddress(interpreter, "DLLServices");
    return 1;
}

/* Called for index 0, 1, ... until it returns something other than 1. */
long WINAPI COMEXT_GETNEWCOMMAND(HINSTANCE host, HINSTANCE interpreter, long magic, long index,
                                 long slots_left, long* kind, long* value, char* name, long name_size) {
    (void)host; (void)interpreter; (void)magic; (void)slots_left;
    if (index < 0 || index >= CMD_COUNT) return 0;
    *kind = kCommands[index].kind;
    *value = kCommands[index].value;
    lstrcpynA(name, kCommands[index].name, (int)name_size);
    return 1;
}

/* --- the commands --- */

static long str_reverse(TslAnswerProc answer, void* record, const char* text) {
    char out[1024];
    int len = lstrlenA(text), at = len;
    const char* p = text;
    if (len >= (int)sizeof out) return answer(-2, 0, record, 1, 0, "StrReverse: text longer than 1023 characters");
    out[len] = 0;
    while (*p) {  /* copy each character, lead and trail byte together, to the mirrored place */
        const char* next = CharNextA(p);
        int n = (int)(next - p);
        at -= n;
        memcpy(out + at, p, (size_t)n);
        p = next;
    }
    return answer(0, 0, record, 1, 0, out);
}

static long computer_name(TslAnswerProc answer, void* record) {
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof name;
    if (!GetComputerNameA(name, &size)) return answer(-1, 0, record, 1, 0, "ComputerName: not available");
    return answer(0, 0, record, 1, 0, name);
}

static long file_lines(TslAnswerProc answer, void* record, const char* path) {
    char buf[4096], message[300];
    DWORD got;
    long lines = 0;
    int last = '\n';
    HANDLE f = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING, 0, NULL);
    if (f == INVALID_HANDLE_VALUE) {
        /* A moderate error with its own text: the script's error mode decides what happens. */
        wsprintfA(message, "FileLines: cannot open %.250s", path);
        return answer(-2, 0, record, 1, 0, message);
    }
    while (ReadFile(f, buf, sizeof buf, &got, NULL) && got) {
        DWORD i;
        for (i = 0; i < got; ++i)
            if (buf[i] == '\n') ++lines;
        last = buf[got - 1];
    }
    CloseHandle(f);
    if (last != '\n') ++lines;  /* a last line without its line break counts too */
    return answer(0, 0, record, 0, lines, NULL);
}

/* Sets variables of the script through DLLServices: the answer record
   starts with the run's context, whose block GlobalHandle finds. */
static long split_to_vars(TslAnswerProc answer, void* record, const char* prefix, const char* list) {
    HGLOBAL context = GlobalHandle(((TslAnswerRecord*)record)->context);
    char name[64], word[257];
    long count = 0;
    const char* p = list;
    if (lstrlenA(prefix) > 20) return answer(-1, 0, record, 1, 0, "SplitToVars: prefix longer than 20 characters");
    for (;;) {
        int n = 0;
        while (*p == ' ' || *p == '\t') ++p;
        if (!*p) break;
        while (*p && *p != ' ' && *p != '\t') {
            if (n < (int)sizeof word - 1) word[n++] = *p;
            ++p;
        }
        word[n] = 0;
        wsprintfA(name, "%s%ld", prefix, ++count);
        if (!g_services || !g_services(context, TSL_SERVICE_SET_VAR, (LPARAM)name, (LPARAM)word, 0))
            return answer(-3, 0, record, 1, 0, "SplitToVars: no room for the variables");
    }
    return answer(0, 0, record, 0, count, NULL);
}

/* Called for every use of a command in a script: `command` is the index
   it was offered under, t1..t5 are the arguments as text. The answer goes
   through `answer`; the result returned is the answer's code. */
long WINAPI COMEXT_PROCESSCOMMAND(HWND main_window, LPARAM host_value, long magic, long command,
                                  TslAnswerProc answer, void* record, LPCSTR t1, LPCSTR t2, LPCSTR t3,
                                  LPCSTR t4, LPCSTR t5) {
    (void)main_window; (void)host_value; (void)magic; (void)t3; (void)t4; (void)t5;
    switch (command) {
    case CMD_STRREVERSE: return str_reverse(answer, record, t1);
    case CMD_COMPUTERNAME: return computer_name(answer, record);
    case CMD_FILELINES: return file_lines(answer, record, t1);
    case CMD_SPLITTOVARS: return split_to_vars(answer, record, t1, t2);
    default: return answer(-3, 0, record, 1, 0, "TSLSAMPLE: unknown command");
    }
}

/* Called once, when the last host shuts down, before the library is freed. */
long WINAPI COMEXT_DONE(HINSTANCE host, HINSTANCE interpreter, long magic) {
    (void)host; (void)interpreter; (void)magic;
    return 0;
}
