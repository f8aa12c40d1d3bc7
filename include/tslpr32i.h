/* TSLPR32I.dll: the interface for host programs and command extenders.
   C and C++; every entry uses the __stdcall (WINAPI) convention and is
   exported under its plain name (no @N decoration, also on 32-bit), so a
   host looks the entries up with GetProcAddress. See docs/host-interface.md. */
#ifndef TSLPR32I_H
#define TSLPR32I_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Constants ---- */
#define TSL_INTERFACE_VERSION 0x1200     /* DoDaDllInit mode 0: the high byte must match */
#define TSL_INTERFACE_MAGIC 100010205L   /* passed in every host and extender command call */
#define TSL_CONTEXT_SIZE 8016            /* what mode 0 returns: bytes of the context block */
#define TSL_VARSLOT_SIZE 44              /* bytes of one variable slot */
#define TSL_HEAP_MAX 65536               /* the largest string heap */

/* DoDaDllInit modes */
#define TSL_INIT_INTERFACE 0   /* third argument = interface version; result 8016 or 0 */
#define TSL_INIT_CONTEXT 1     /* context block, host value, text1 (20), text2 (7); result 44 or 0 */
#define TSL_INIT_VARIABLES 2   /* context, variable-table block, text1 (20, host name), text2 (20); 1 */
#define TSL_INIT_HEAP 3        /* context, heap block, host value = heap size, text1 = usage text; 1 or 0 */
#define TSL_INIT_SHUTDOWN 99   /* context; 1 */

/* Special command numbers a host command procedure receives */
#define TSL_COMMAND_IDLE (-1)      /* idle call from the break test (when switched on, service 102) */
#define TSL_COMMAND_SHUTDOWN (-3)  /* DoDaDllInit mode 99 */

/* DLLServices codes */
#define TSL_SERVICE_IDENT 0          /* p1 = text: identification line shown in every error report */
#define TSL_SERVICE_SET_VAR 1        /* p1 = name, p2 = text: sets a string variable; result 1 */
#define TSL_SERVICE_GET_VAR 2        /* p1 = name, p2 = buffer, p3 = size: 1 (text copied) or 0 */
#define TSL_SERVICE_CONSOLE 100      /* p1 = 1/0: boxes go to standard error, answered by default;
                                        process-wide, the context may be NULL */
#define TSL_SERVICE_SCRIPT_NAME 101  /* p1 = name of the top-level script for console error reports */
#define TSL_SERVICE_IDLE_CALLS 102   /* p1 = 1/0: command -1 to the host from every break test */
#define TSL_SERVICE_BREAK_REPORT 103 /* p1 = 1/0: report a user break with a box (on at each run start) */
#define TSL_SERVICE_RUN_ERROR 110    /* result: the error number at the end of the last run */
#define TSL_SERVICE_RUN_RESULT 111   /* result: the last run's loop result: 1 end, 0 exit/error/break,
                                        -1 return */
#define TSL_SERVICE_RUN_BREAK 112    /* result: 1 when the last run was stopped by a user break */
#define TSL_SERVICE_DDE_DEBUG 120    /* p1 = 1: shows "DDE SERVER MODE" and returns a hidden window that
                                        shows every raw DDE message it gets in a "DDE DEBUG" box;
                                        p1 = 0: destroys window p2 */
#define TSL_SERVICE_ENCODED_ONLY 130 /* p1 = 1 on, 0 off, -1 ask: only encoded script and menu files
                                        load (Call, menus); result: the state before the call */
#define TSL_SERVICE_MENU_FAULT 131   /* p1 = 505-507, 513, 516-518, 523-525: the next menu call that reaches
                                        that message's step fails there with it (process-wide, the
                                        context may be NULL); p1 = 0 clears; result 1, or 0 for another
                                        number */

/* Menu files (LoadStandardMenu and the other menu entries) */
#define TSL_MENU_PATH_MAX 280            /* characters of a menu file's path in its load record */
#define TSL_HOTKEY_MAX 100               /* entries of a hot-key table */
#define TSL_MENU_NEW_POPUP ((HMENU)0)    /* LoadStandardMenu target: build a new popup menu */
#define TSL_MENU_NEW_BAR ((HMENU)1)      /* LoadStandardMenu target: build a new menu bar */
#define TSL_MENU_RELOAD ((HGLOBAL)(INT_PTR)-1) /* ParseStandardMenu: the file changed, reload */
#define TSL_HOTKEY_PRESS 256             /* HotKeyCheck message kind of a key press (WM_KEYDOWN) */

/* Keyword kinds of a keyword record */
#define TSL_KIND_FUNCTION 2
#define TSL_KIND_CONSTANT 3

/* ---- Records ---- */
#pragma pack(push, 1)
/* A keyword record: the layout of the interpreter's keyword table and of a
   host's command table. A host table is an array of these, record i being
   command 900 + i, ended by a record whose name_len is 0. */
typedef struct TslKeywordRecord {
    unsigned short id;        /* host table: the record's index i (command 900 + i) */
    unsigned short kind;      /* TSL_KIND_FUNCTION or TSL_KIND_CONSTANT */
    unsigned short arg_count; /* function: number of arguments (at most 5); constant: low half */
    unsigned short str_mask;  /* function: bit i set = argument i+1 is passed as text; constant: high half */
    unsigned short name_len;  /* length of name; 0 ends a host table */
    char name[14];            /* lower case, NUL-padded, at most 13 characters */
} TslKeywordRecord;
#pragma pack(pop)

/* The load record of one menu set, owned by the host. The host fills in
   path and set_number (0 for the first file, then 1, 2, ...);
   LoadStandardMenu fills in the rest (and the full path it found). */
typedef struct TslMenuRecord {
    WORD file_date;                   /* the file's last-write date and time, MS-DOS forms */
    WORD file_time;
    char path[TSL_MENU_PATH_MAX + 1]; /* the menu file */
    WORD last_id;                     /* the last item id used */
    WORD set_number;                  /* the menu set: 0 empties the hot-key table */
} TslMenuRecord;

/* A hot key: its key code and the item id it chooses. */
typedef struct TslHotKey {
    WORD code;
    WORD id;
} TslHotKey;

/* The host's hot-key table, shared by all its menu sets. */
typedef struct TslHotKeyTable {
    LONG count;
    TslHotKey entries[TSL_HOTKEY_MAX];
} TslHotKeyTable;

/* A value of the language (12 bytes): what ProcessSubExpression leaves. */
typedef struct TslValue {
    long integer;             /* valid when flags & 1 */
    unsigned short string;    /* heap offset of the text (flags & 2), 0 = none */
    unsigned short source;    /* variable slot it came from, 0xFFFF = none */
    unsigned long flags;      /* 1 integer, 2 text, 4 open file handle */
} TslValue;

/* ---- Callbacks ---- */
/* The answer callback (ViperAnswer) handed to every command call. kind 0:
   the answer is `integer`; kind nonzero: the answer is `text`. A negative
   code is an error (text = its message when kind is nonzero). Returns code,
   or -4 when a text answer could not be stored. */
typedef long(WINAPI* TslAnswerProc)(long code, long reserved, void* answer_record, long kind, long integer,
                                    LPCSTR text);

/* A host command procedure (and an extender's COMEXT_PROCESSCOMMAND): the
   main window, the host value of mode 1, TSL_INTERFACE_MAGIC, the command
   number (0 for the host's first record, or TSL_COMMAND_IDLE /
   TSL_COMMAND_SHUTDOWN), the answer callback with its record, and the
   five argument texts ("" when absent). Returns 0 or more on success; -1
   minor, -2 moderate, -3 severe error. */
typedef long(WINAPI* TslCommandProc)(HWND main_window, LPARAM host_value, long magic, long command,
                                     TslAnswerProc answer, void* answer_record, LPCSTR t1, LPCSTR t2,
                                     LPCSTR t3, LPCSTR t4, LPCSTR t5);

/* ---- Command extenders ----
   A command extender is a DLL named by CMDEXTDLL in [MAIN] of TSLPROCS.INI.
   It exports the four entries below under these plain names (on 32-bit
   the decorated forms NAME@N and _NAME@N are found as well) and adds up to
   TSL_EXTENDER_MAX functions or constants; command i of the extender is
   keyword id TSL_EXTENDER_BASE + i. See docs/extenders.md. */
#define TSL_EXTENDER_BASE 272      /* keyword id of the extender's command 0 */
#define TSL_EXTENDER_MAX 20        /* commands an extender may add */
#define TSL_EXTENDER_NAME_SIZE 14  /* name buffer of COMEXT_GETNEWCOMMAND: at most 13 characters */
#define TSL_EXTENDER_MAX_ARGS 5    /* arguments of an extender function, all passed as text */

/* COMEXT_INIT: nonzero and not -1 accepts; 0 or -1 leaves the extender unused. */
typedef long(WINAPI* TslExtInitProc)(HINSTANCE host, HINSTANCE interpreter, long magic, long reserved);
/* COMEXT_GETNEWCOMMAND: delivers command `index` (0..19) and returns 1, or
   returns anything else when there are no more. *kind = TSL_KIND_FUNCTION
   with *value = argument count (0..5), or TSL_KIND_CONSTANT with *value =
   the constant; name = the command's name (NUL-terminated, name_size
   bytes at most). */
typedef long(WINAPI* TslExtGetCommandProc)(HINSTANCE host, HINSTANCE interpreter, long magic, long index,
                                           long slots_left, long* kind, long* value, char* name,
                                           long name_size);
/* The answer record handed to a command call: it starts with the interpreter
   context of the run in progress (for ProcessSubExpression, get_token and
   find_var; GlobalHandle(context) gives the block that DLLServices takes). */
typedef struct TslAnswerRecord {
    void* context;
    void* reserved;
} TslAnswerRecord;

/* COMEXT_PROCESSCOMMAND has the type TslCommandProc (below); `command` is
   the extender's command index. COMEXT_DONE's result is ignored. */
typedef long(WINAPI* TslExtDoneProc)(HINSTANCE host, HINSTANCE interpreter, long magic);

/* ---- Exported functions ---- */
WORD WINAPI DoDaDllInit(HINSTANCE host, HGLOBAL context, WPARAM handle_or_value, int mode, LPARAM host_value,
                        LPCSTR text1, LPCSTR text2);
long WINAPI ProcessDaBatBuffer(HWND owner, HGLOBAL context, HGLOBAL script, TslCommandProc host_proc,
                               const TslKeywordRecord* host_table);
LRESULT WINAPI DLLServices(HGLOBAL context, int code, LPARAM p1, LPARAM p2, LPARAM p3);
long WINAPI ViperAnswer(long code, long reserved, void* answer_record, long kind, long integer, LPCSTR text);
BOOL WINAPI LibMain(HINSTANCE module, DWORD reason, LPVOID reserved);

/* Menu files (docs/menus.md). Each locks the context for the call. */
HMENU WINAPI LoadStandardMenu(HGLOBAL context, HWND owner, WORD first_id, WORD last_allowed_id,
                              TslMenuRecord* record, LPCSTR error_caption, TslHotKeyTable* hotkeys, HMENU target);
HGLOBAL WINAPI ParseStandardMenu(HGLOBAL context, HWND owner, WORD item_id, BOOL initialisation, WORD first_id,
                                 LONG reserved, TslMenuRecord* record, LPCSTR error_caption);
BOOL WINAPI HotKeyCheck(HGLOBAL context, HWND host, UINT message, WPARAM key, TslHotKeyTable* hotkeys);
LONG WINAPI MenuSelectProcessing(HGLOBAL context, HWND host, WPARAM item_and_flags, HMENU menu, WORD first_id,
                                 WORD last_id, LPSTR buffer, int size, TslMenuRecord* record);

/* For command extenders, inside a command call only (the context is the
   locked context of the run in progress, the heap its string heap). */
void WINAPI ProcessSubExpression(void* context, TslValue* value);
void WINAPI get_token(void* context);
unsigned short WINAPI find_var(void* context, LPCSTR name);
unsigned short WINAPI VMalloc(void* heap, unsigned long size);
void WINAPI VFree(void* heap, unsigned short offset);

/* Pointer types for GetProcAddress */
typedef WORD(WINAPI* TslDoDaDllInitProc)(HINSTANCE, HGLOBAL, WPARAM, int, LPARAM, LPCSTR, LPCSTR);
typedef long(WINAPI* TslProcessDaBatBufferProc)(HWND, HGLOBAL, HGLOBAL, TslCommandProc,
                                                const TslKeywordRecord*);
typedef LRESULT(WINAPI* TslDLLServicesProc)(HGLOBAL, int, LPARAM, LPARAM, LPARAM);
typedef HMENU(WINAPI* TslLoadStandardMenuProc)(HGLOBAL, HWND, WORD, WORD, TslMenuRecord*, LPCSTR,
                                               TslHotKeyTable*, HMENU);
typedef HGLOBAL(WINAPI* TslParseStandardMenuProc)(HGLOBAL, HWND, WORD, BOOL, WORD, LONG, TslMenuRecord*, LPCSTR);
typedef BOOL(WINAPI* TslHotKeyCheckProc)(HGLOBAL, HWND, UINT, WPARAM, TslHotKeyTable*);
typedef LONG(WINAPI* TslMenuSelectProcessingProc)(HGLOBAL, HWND, WPARAM, HMENU, WORD, WORD, LPSTR, int,
                                                  TslMenuRecord*);

#ifdef __cplusplus
}
#endif
#endif /* TSLPR32I_H */
