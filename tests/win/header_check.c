/* The public header compiles as plain C (C99) and its records have the
   sizes the DLL uses; built with every Windows build. */
#include "tslpr32i.h"

typedef char check_record_size[sizeof(TslKeywordRecord) == 24 ? 1 : -1];
typedef char check_value_size[sizeof(TslValue) == 12 ? 1 : -1];
typedef char check_hotkey_table_size[sizeof(TslHotKeyTable) == 404 ? 1 : -1];
typedef char check_menu_record_size[sizeof(TslMenuRecord) == 290 ? 1 : -1];

static long WINAPI sample_command(HWND w, LPARAM v, long magic, long command, TslAnswerProc answer, void* rec,
                                  LPCSTR t1, LPCSTR t2, LPCSTR t3, LPCSTR t4, LPCSTR t5) {
    (void)w; (void)v; (void)magic; (void)t2; (void)t3; (void)t4; (void)t5;
    return command == 0 ? answer(0, 0, rec, 1, 0, t1) : 0;
}

TslCommandProc tsl_header_check_proc = sample_command;
