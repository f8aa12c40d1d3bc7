// A program for the Run tests: appends to the file named by TSL_ARGS_LOG
// one line with its command line, its working directory, and the show
// command and flags it was started with; exits at once otherwise. A first
// argument "sleep=N" makes it wait N ms before writing, so that a waiting
// Run form can be seen to wait.
#include <windows.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
    if (argc > 1 && strncmp(argv[1], "sleep=", 6) == 0) Sleep((DWORD)atoi(argv[1] + 6));
    char log[MAX_PATH];
    if (!GetEnvironmentVariableA("TSL_ARGS_LOG", log, sizeof log)) return 0;
    STARTUPINFOA si;
    GetStartupInfoA(&si);
    char dir[MAX_PATH] = "";
    GetCurrentDirectoryA(sizeof dir, dir);
    FILE* f = fopen(log, "ab");
    if (!f) return 1;
    fprintf(f, "%s\n%s\nshow=%d flags=%lx\n", GetCommandLineA(), dir, si.wShowWindow, (unsigned long)si.dwFlags);
    fclose(f);
    return 0;
}
