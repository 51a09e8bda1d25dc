/* onnxruntime_vornic-run: describes a model, runs it on a feed, or times it. See usage(). */
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"

#ifndef ONNXRUNTIME_VORNIC_VERSION /* given by the project's own build */
#define ONNXRUNTIME_VORNIC_VERSION "built from its source"
#endif

enum { OK = 0, FAILED = 1, MISUSED = 2, MAX_RUNS = 10000000 };

/* In bytes: twice what 16 inputs of 65,536 numbers can take. A power of two. */
static const size_t MAX_FEED = (size_t)64 << 20;

static int complain(const char* what, const char* why) {
    fprintf(stderr, "onnxruntime_vornic-run: %s%s%s\n", what, why[0] ? ": " : "", why);
    return FAILED;
}

/* ---- The platform: arguments and file names in UTF-8, bytes as they are, a steady clock ------ */

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

/* main's own arguments have lost what the system's code page cannot hold. */
static char** utf8_arguments(int* count, char** arguments) {
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

static FILE* open_file(const char* name) {
    wchar_t wide[1024];
    if (MultiByteToWideChar(CP_UTF8, 0, name, -1, wide, 1024) == 0) {
        errno = ENAMETOOLONG;
        return NULL;
    }
    return _wfopen(wide, L"rb");
}

static double microseconds(void) {
    LARGE_INTEGER ticks, a_second;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&a_second);
    return (double)ticks.QuadPart * 1e6 / (double)a_second.QuadPart;
}
#else
#include <time.h>

static char** utf8_arguments(int* count, char** arguments) {
    (void)count;
    return arguments;
}

static FILE* open_file(const char* name) { return fopen(name, "rb"); }

static double microseconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec * 1e6 + (double)now.tv_nsec / 1e3;
}
#endif

static void usage(FILE* to) {
    fputs(
        "usage: onnxruntime_vornic-run MODEL\n"
        "       onnxruntime_vornic-run [--bench N] MODEL FEED.json [OUTPUT ...]\n"
        "       onnxruntime_vornic-run --help | --version\n"
        "\n"
        "With MODEL alone, prints its inputs, outputs and metadata and the execution providers,\n"
        "each as one line of JSON. With a feed (- for standard input), runs the model on it and\n"
        "prints the result: all outputs, or those named. A feed has one tensor for each input:\n"
        "  {\"x\":{\"dtype\":\"float32\",\"shape\":[1,2],\"data\":[0.5,1]}}\n"
        "--bench N prints the time of N runs instead, after one that does not count.\n"
        "\n"
        "Exit status: 0 when all went well, 1 when something failed, 2 for a wrong command line.\n",
        to);
}

/* The library's own text; a few of its refusals come without one. */
static int library_failed(const char* what) {
    const char* text = onnxruntime_vn_last_error();
    return complain(what, text[0] ? text : "no reason given: is a \"shape\" or \"data\" missing?");
}

/* A text that has reached its limit has been cut there. */
static int check_cut(const char* what, const char* text, size_t limit) {
    return strlen(text) < limit ? OK : complain(what, "warning: cut at the text's limit");
}

static int describe(const InferenceSession* session) {
    const char* reason = onnxruntime_vn_last_error(); /* left by making the session */
    int status = reason[0] ? complain("warning: the description is incomplete", reason) : OK;
    const struct {
        const char* name;
        const char* text;
        size_t limit;
    } rows[] = {{"inputs", onnxruntime_vn_get_inputs_json(session), 2046},
                {"outputs", onnxruntime_vn_get_outputs_json(session), 2046},
                {"metadata", onnxruntime_vn_get_modelmeta_json(session), 4095},
                {"providers", onnxruntime_vn_get_available_providers_json(), 1023}};
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i) {
        printf("{\"%s\":%s}\n", rows[i].name, rows[i].text);
        status |= check_cut(rows[i].name, rows[i].text, rows[i].limit);
    }
    return status;
}

/* All of a file as a text, or null with the reason. The caller frees it. */
static char* read_text(FILE* file, const char** why) {
    size_t room = 4096, length = 0;
    char* text = malloc(room);
    while (text != NULL) {
        length += fread(text + length, 1, room - length, file);
        if (length < room || room >= MAX_FEED) break;
        char* larger = realloc(text, room *= 2);
        if (larger == NULL) free(text);
        text = larger;
    }
    *why = text == NULL                         ? "out of memory"
           : ferror(file)                       ? strerror(errno)
           : length == room                     ? "too large"
           : memchr(text, '\0', length) != NULL ? "not a text"
                                                : NULL;
    if (*why == NULL) {
        text[length] = '\0';
        return text;
    }
    free(text);
    return NULL;
}

static char* read_feed(const char* name) {
    const char* why;
    FILE* file = strcmp(name, "-") == 0 ? stdin : open_file(name);
    char* feed = NULL;
    if (file == NULL) {
        complain(name, strerror(errno));
    } else if ((feed = read_text(file, &why)) == NULL) {
        complain(name, why);
    }
    if (file != NULL && file != stdin) fclose(file);
    return feed;
}

/* The names as a JSON array, [] for all outputs. The caller frees it. */
static char* names_json(char** names, int count) {
    size_t size = sizeof "[]";
    for (int i = 0; i < count; ++i) size += 2 * strlen(names[i]) + strlen("\"\",");
    char* json = malloc(size);
    char* at = json;
    for (int i = 0; i < count && json != NULL; ++i) {
        *at++ = i == 0 ? '[' : ',';
        *at++ = '"';
        for (const char* name = names[i]; *name != '\0'; ++name) {
            if (*name == '"' || *name == '\\') *at++ = '\\';
            *at++ = *name;
        }
        *at++ = '"';
    }
    if (json != NULL) strcpy(at, count == 0 ? "[]" : "]");
    return json;
}

/* Prints the result of a run, or stores the microseconds that the run took. */
static int run_once(const InferenceSession* session, const char* names, const char* feed,
                    double* taken) {
    double start = microseconds();
    RunResult* result = onnxruntime_vn_run_json(session, names, feed);
    if (result == NULL) return library_failed("the run failed");
    int status = OK;
    if (taken == NULL) {
        puts(onnxruntime_vn_result_json(result));
        status = check_cut("the result", onnxruntime_vn_result_json(result), 65535);
    }
    onnxruntime_vn_release_result(result);
    if (taken != NULL) *taken = microseconds() - start;
    return status;
}

static int by_size(const void* left, const void* right) {
    double a = *(const double*)left, b = *(const double*)right;
    return (a > b) - (a < b);
}

static int time_runs(const InferenceSession* session, const char* names, const char* feed,
                     int runs) {
    double* times = malloc(((size_t)runs + 1) * sizeof *times);
    if (times == NULL) return complain("out of memory", "");
    int status = run_once(session, names, feed, &times[runs]); /* does not count */
    for (int i = 0; i < runs && status == OK; ++i) {
        status = run_once(session, names, feed, &times[i]);
    }
    if (status == OK) {
        qsort(times, (size_t)runs, sizeof *times, by_size);
        printf("%d runs: minimum %.1f us, median %.1f us, maximum %.1f us\n", runs, times[0],
               (times[(runs - 1) / 2] + times[runs / 2]) / 2, times[runs - 1]);
    }
    free(times);
    return status;
}

static int use_model(const char* model, const char* names, const char* feed, int runs) {
    InferenceSession* session = onnxruntime_vn_create_session(model, NULL);
    if (session == NULL) return library_failed("no session");
    int status = feed == NULL ? describe(session) : OK;
    /* Empties the last-error text: a refusal without a text must not show an earlier one. */
    onnxruntime_vn_release_tensor(onnxruntime_vn_tensor_zeros_f32("[1]"));
    if (feed != NULL && runs > 0) status = time_runs(session, names, feed, runs);
    if (feed != NULL && runs == 0) status = run_once(session, names, feed, NULL);
    onnxruntime_vn_release_session(session);
    return status;
}

/* MODEL [FEED.json [OUTPUT ...]] */
static int use_arguments(int count, char** arguments, int runs) {
    if (count == 1) return use_model(arguments[0], NULL, NULL, 0);
    char* names = names_json(arguments + 2, count - 2);
    char* feed = names != NULL ? read_feed(arguments[1]) : NULL;
    if (names == NULL) complain("out of memory", "");
    int status = feed != NULL ? use_model(arguments[0], names, feed, runs) : FAILED;
    free(feed);
    free(names);
    return status;
}

int main(int argc, char** argv) {
    argv = utf8_arguments(&argc, argv);
    if (argv == NULL) return complain("out of memory", "");
    const char* first = argc > 1 ? argv[1] : "-";
    char* end = "";
    long runs = strcmp(first, "--bench") == 0 && argc > 4 ? strtol(argv[2], &end, 10) : 0;
    int status = OK;
    if (first[0] != '-') {
        status = use_arguments(argc - 1, argv + 1, 0);
    } else if (runs > 0 && runs <= MAX_RUNS && *end == '\0') {
        status = use_arguments(argc - 3, argv + 3, (int)runs);
    } else if (strcmp(first, "--version") == 0 && argc == 2) {
        if (!onnxruntime_vn_available()) return library_failed("no ONNX Runtime");
        printf("onnxruntime_vornic-run %s, ONNX Runtime %s\n", ONNXRUNTIME_VORNIC_VERSION,
               onnxruntime_vn_get_version_string());
    } else if (strcmp(first, "--help") == 0 && argc == 2) {
        usage(stdout);
    } else {
        usage(stderr);
        return MISUSED;
    }
    if (fflush(stdout) != 0 || ferror(stdout)) status = complain("cannot write the output", "");
    return status;
}
