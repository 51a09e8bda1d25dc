#include "run_platform.h"

#ifdef _WIN32
#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <stdlib.h>
#include <windows.h>

#include <shellapi.h>

/* The arguments passed to main have lost the characters that the system's code page lacks. */
char** set_up(int* count, char** arguments) {
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), count);
    arguments = wide != NULL ? calloc((size_t)*count + 1, sizeof *arguments) : NULL;
    for (int i = 0; arguments != NULL && i < *count; ++i) {
        int size = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, NULL, 0, NULL, NULL);
        arguments[i] = malloc((size_t)size);
        if (arguments[i] == NULL) return NULL;
        WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, arguments[i], size, NULL, NULL);
    }
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    return arguments;
}

FILE* open_file(const char* name) {
    wchar_t wide[1024];
    if (MultiByteToWideChar(CP_UTF8, 0, name, -1, wide, 1024) == 0) {
        errno = ENAMETOOLONG;
        return NULL;
    }
    return _wfopen(wide, L"rb");
}

double microseconds(void) {
    LARGE_INTEGER ticks, frequency;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&frequency);
    return (double)ticks.QuadPart * 1e6 / (double)frequency.QuadPart;
}
#else
#include <signal.h>
#include <time.h>

char** set_up(int* count, char** arguments) {
    (void)count;
    signal(SIGPIPE, SIG_IGN);
    return arguments;
}

FILE* open_file(const char* name) { return fopen(name, "rb"); }

double microseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}
#endif
