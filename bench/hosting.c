/* What hosts ask: how many sessions, how many threads, what a start costs. Each row is measured in a
 * process of its own, and printed with tabs between its figures.
 *
 *   hosting threads MODEL SESSIONS INTRA    8 threads: runs/s, processor us a run, MB of its own
 *   hosting pins MODEL INTRA                the processors that each thread may use
 *   hosting start MODEL library|direct      the first answer, and out
 *   hosting sessions MODEL INTRA LEVEL      ms: first session, further ones, first run, later runs
 *   hosting memory MODEL                    MB of its own: 1, 16 sessions, released, given back
 *   hosting large MODEL                     4 processes: ms to load, MB of its own, each
 *   hosting fork MODEL INTRA before|after   16 children: ms to the first answer, MB of its own, each
 *   hosting deadline MODEL                  ms: a run, and how late a deadline ends it
 *
 * INTRA 0 leaves the number of threads to ONNX Runtime. The deadline's and the memory's models have
 * one float32 input x; the others are the speech detector, which says so in its name. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "hosting.h"
#include "onnxruntime_vornic.h"

enum { THREADS = 8, MAX_SESSIONS = 64, ROUNDS = 20 };

static const char* model;
static int intra = 1, level = 99;
static char* feed;
static char* answer; /* of the first run, which all others must repeat */
static InferenceSession* sessions[MAX_SESSIONS];
static int session_count;
static double running_until;

static void* need(void* outcome) {
    if (outcome == NULL) {
        fprintf(stderr, "hosting: %s\n", onnxruntime_vn_last_error());
        exit(1);
    }
    return outcome;
}

static InferenceSession* open_session(void) {
    SessionOptions* options = need(onnxruntime_vn_create_session_options());
    onnxruntime_vn_session_options_set_intra_op_num_threads(options, intra);
    onnxruntime_vn_session_options_set_graph_optimization_level(options, level);
    InferenceSession* session = need(onnxruntime_vn_create_session(model, options));
    onnxruntime_vn_release_session_options(options);
    return session;
}

/* Behind at, a tensor of count numbers, a sawtooth or zeros. */
static char* put_tensor(char* at, const char* name, const char* shape, int count, int is_sawtooth) {
    at += sprintf(at, "\"%s\":{\"dtype\":\"float32\",\"shape\":%s,\"data\":[", name, shape);
    for (int i = 0; i < count; ++i) {
        at += sprintf(at, i == 0 ? "%g" : ",%g", is_sawtooth ? (i % 128 - 64) / 128.0 : 0.0);
    }
    return at + sprintf(at, "]}");
}

static void make_feed(void) {
    char* at = feed = need(malloc(1 << 20));
    *at++ = '{';
    if (strstr(model, "silero") != NULL) {
        at = put_tensor(at, "input", "[1,512]", 512, 1);
        *at++ = ',';
        at = put_tensor(at, "h", "[2,1,64]", 128, 0);
        *at++ = ',';
        at = put_tensor(at, "c", "[2,1,64]", 128, 0);
        at += sprintf(at, ",\"sr\":{\"dtype\":\"int64\",\"shape\":[],\"data\":[16000]}");
    } else {
        const int count = strstr(model, "chain") != NULL ? 65536 : 8;
        char shape[16];
        sprintf(shape, "[%d]", count);
        at = put_tensor(at, strstr(model, "inputs1") ? "x0" : "x", shape, count, 0);
    }
    strcpy(at, "}");
}

static void run(const InferenceSession* session) {
    RunResult* result = need(onnxruntime_vn_run_json(session, NULL, feed));
    const char* text = onnxruntime_vn_result_json(result);
    if (answer == NULL) answer = strcpy(need(malloc(strlen(text) + 1)), text);
    if (strcmp(answer, text) != 0) {
        fprintf(stderr, "hosting: another answer\n");
        abort();
    }
    onnxruntime_vn_release_result(result);
}

static double milliseconds_since(double begin) { return 1e3 * (seconds_now() - begin); }

static void open_all(int count) {
    for (session_count = 0; session_count < count; ++session_count) {
        run(sessions[session_count] = open_session());
    }
}

static void* keep_running(void* argument) {
    int runs = 0, i = *(int*)argument;
    for (; seconds_now() < running_until; ++runs, i += THREADS) run(sessions[i % session_count]);
    *(int*)argument = runs;
    return NULL;
}

static void measure_threads(int count) {
    pthread_t threads[THREADS];
    int numbers[THREADS], runs = 0;
    open_all(count);
    double begin = seconds_now(), busy = processor_seconds();
    running_until = begin + 2;
    for (int i = 0; i < THREADS; ++i) {
        numbers[i] = i;
        pthread_create(&threads[i], NULL, keep_running, &numbers[i]);
    }
    for (int i = 0; i < THREADS; ++i) {
        pthread_join(threads[i], NULL);
        runs += numbers[i];
    }
    printf("%.0f\t%.0f\t%.1f\n", runs / (seconds_now() - begin),
           1e6 * (processor_seconds() - busy) / runs, own_megabytes());
}

static void measure_sessions(void) {
    double begin = seconds_now(), further = 1e9, later = 1e9, first, first_run;
    InferenceSession* session = open_session();
    first = milliseconds_since(begin);
    begin = seconds_now();
    run(session);
    first_run = milliseconds_since(begin);
    for (int i = 0; i < ROUNDS; ++i) {
        begin = seconds_now();
        InferenceSession* other = open_session();
        double taken = milliseconds_since(begin);
        if (taken < further) further = taken;
        begin = seconds_now();
        run(session);
        taken = milliseconds_since(begin);
        if (taken < later) later = taken;
        onnxruntime_vn_release_session(other);
    }
    printf("%.2f\t%.2f\t%.3f\t%.3f\n", first, further, first_run, later);
}

static void measure_memory(void) {
    onnxruntime_vn_available();
    printf("%.2f", own_megabytes());
    open_all(1);
    printf("\t%.2f", own_megabytes());
    for (; session_count < 16; ++session_count) run(sessions[session_count] = open_session());
    printf("\t%.2f", own_megabytes());
    while (session_count > 0) onnxruntime_vn_release_session(sessions[--session_count]);
    printf("\t%.2f", own_megabytes());
    give_heap_back();
    printf("\t%.2f\n", own_megabytes());
}

static int load_large(int number, int ends) {
    if (ends) return printf("%d\t%.1f\n", number, own_megabytes()) < 0 || fflush(stdout) != 0;
    double begin = seconds_now();
    run(open_session());
    printf("load\t%.1f\n", milliseconds_since(begin));
    return 0;
}

static int run_in_child(int number, int ends) {
    if (ends) {
        printf("%d\t%.1f\n", number, own_megabytes());
        fflush(stdout);
        onnxruntime_vn_release_session(sessions[0]);
        return 0;
    }
    double begin = seconds_now();
    if (session_count == 0) open_all(1);
    run(sessions[0]);
    printf("first\t%.1f\n", milliseconds_since(begin));
    for (int i = 0; i < 1000; ++i) run(sessions[0]);
    return 0;
}

struct Deadline {
    OrtRunOptions* options;
    double after, called;
};

static void* watch(void* argument) {
    struct Deadline* deadline = argument;
    const struct timespec wait = {0, (long)(1e9 * deadline->after)};
    nanosleep(&wait, NULL);
    deadline->called = seconds_now();
    onnxruntime_vn_run_options_set_terminate(deadline->options);
    return NULL;
}

static int by_size(const void* left, const void* right) {
    const double a = *(const double*)left, b = *(const double*)right;
    return (a > b) - (a < b);
}

static void measure_deadline(void) {
    double late[ROUNDS], whole = 1e9;
    int ended = 0;
    open_all(1);
    for (int i = 0; i < ROUNDS; ++i) {
        double begin = seconds_now();
        run(sessions[0]);
        double taken = seconds_now() - begin;
        if (taken < whole) whole = taken;
    }
    for (int i = 0; i < ROUNDS; ++i) {
        pthread_t thread;
        struct Deadline deadline = {onnxruntime_vn_create_run_options(), whole / 2, 0};
        pthread_create(&thread, NULL, watch, &deadline);
        RunResult* result =
            onnxruntime_vn_run_json_with_options(sessions[0], NULL, feed, deadline.options);
        double end = seconds_now();
        pthread_join(thread, NULL);
        if (result == NULL) late[ended++] = 1e3 * (end - deadline.called);
        onnxruntime_vn_release_result(result);
        onnxruntime_vn_release_run_options(deadline.options);
    }
    qsort(late, (size_t)ended, sizeof *late, by_size);
    printf("%.2f\t%d of %d\t%.2f\t%.2f\n", 1e3 * whole, ended, ROUNDS, ended ? late[ended / 2] : 0,
           ended ? late[ended - 1] : 0);
}

static void print_start(int is_direct) {
    float samples[512], first = 0;
    for (int i = 0; i < 512; ++i) samples[i] = (float)(i % 128 - 64) / 128;
    if (is_direct && answer_directly(model, samples, &first) != 0) exit(1);
    if (!is_direct) {
        RunResult* result = need(onnxruntime_vn_run_json(open_session(), NULL, feed));
        first = onnxruntime_vn_result_float_at(result, 0);
    }
    printf("%.3f\n", (double)first);
    leave_now();
}

int main(int argc, char** argv) {
    const char* part = argc > 2 ? argv[1] : "";
    const char* last = argv[argc - 1];
    const int number = argc > 3 ? atoi(argv[3]) : 1;
    int status = 0;
    if (argc > 2) model = argv[2];
    if (argc > 2) make_feed();
    if (strcmp(part, "threads") != 0 && argc > 3) intra = number;
    if (strcmp(part, "threads") == 0 && argc == 5) {
        intra = atoi(last);
        measure_threads(number < MAX_SESSIONS ? number : MAX_SESSIONS);
    } else if (strcmp(part, "pins") == 0) {
        open_all(1);
        print_threads();
        puts("");
    } else if (strcmp(part, "start") == 0) {
        intra = 1;
        print_start(strcmp(last, "direct") == 0);
    } else if (strcmp(part, "sessions") == 0 && argc == 5) {
        level = atoi(last);
        measure_sessions();
    } else if (strcmp(part, "memory") == 0) {
        measure_memory();
    } else if (strcmp(part, "large") == 0) {
        status = in_children(4, load_large);
    } else if (strcmp(part, "fork") == 0 && argc == 5) {
        if (strcmp(last, "before") == 0) open_all(1);
        status = in_children(16, run_in_child);
    } else if (strcmp(part, "deadline") == 0) {
        measure_deadline();
    } else {
        fputs("hosting: see the beginning of hosting.c\n", stderr);
        status = 2;
    }
    return status;
}
