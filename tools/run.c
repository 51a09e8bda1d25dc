/* onnxruntime_vornic-run: describes a model, runs it on a feed, or times it. See print_usage(). */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"
#include "run_feed.h"
#include "run_lines.h"
#include "run_options.h"
#include "run_platform.h"

enum { OK = 0, FAILED = 1, MISUSED = 2, UNWRITTEN = 3 };

/* The input of a run: a feed, or a tensor for the model's only input. */
typedef struct {
    const InferenceSession* session;
    const char* outputs;
    const char* feed;
    const FloatTensor* tensor;
    char input[256];
} Run;

static int complain(const char* what, const char* why) {
    fprintf(stderr, "onnxruntime_vornic-run: %s%s%s\n", what, why[0] ? ": " : "", why);
    return FAILED;
}

/* Prints the library's message, or a hint after the few failures that set none. */
static int library_failed(void) {
    const char* text = onnxruntime_vn_last_error();
    return complain(text[0] ? text : "no reason given",
                    text[0] ? "" : "is a \"shape\" or \"data\" missing?");
}

/* Warns about a text at its limit, which the library may have cut. */
static int check_cut(const char* what, const char* text, size_t limit) {
    return strlen(text) < limit ? OK : complain(what, "warning: cut at the text's limit");
}

static int describe(const InferenceSession* session) {
    const char* reason = onnxruntime_vn_last_error(); /* set by session creation */
    int status = reason[0] ? complain("warning: the description is incomplete", reason) : OK;
    const struct {
        const char* name;
        const char* text;
        size_t limit;
    } rows[] = {{"inputs", onnxruntime_vn_get_inputs_json(session), 2040},
                {"outputs", onnxruntime_vn_get_outputs_json(session), 2040},
                {"metadata", onnxruntime_vn_get_modelmeta_json(session), 4095},
                {"providers", onnxruntime_vn_get_available_providers_json(), 1023}};
    for (size_t i = 0; i < sizeof rows / sizeof *rows; ++i) {
        printf("{\"%s\":%s}\n", rows[i].name, rows[i].text);
        status |= check_cut(rows[i].name, rows[i].text, rows[i].limit);
    }
    return status;
}

/* Runs once; prints the result or, if `taken` is given, stores the microseconds. */
static int run_once(const Run* run, double* taken) {
    double start = microseconds();
    RunResult* result =
        run->tensor != NULL
            ? onnxruntime_vn_run_tensor_fast(run->session, run->input, run->tensor, run->outputs)
            : onnxruntime_vn_run_json(run->session, run->outputs, run->feed);
    int status = OK;
    if (result == NULL) {
        status = library_failed();
        name_values("input", onnxruntime_vn_get_inputs_json(run->session));
        name_values("output", onnxruntime_vn_get_outputs_json(run->session));
    } else if (taken == NULL) {
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

static int time_runs(const Run* run, int runs) {
    double* times = malloc(((size_t)runs + 1) * sizeof *times);
    if (times == NULL) return complain("out of memory", "");
    int status = run_once(run, &times[runs]); /* warm-up, not counted */
    for (int i = 0; i < runs && status == OK; ++i) status = run_once(run, &times[i]);
    if (status == OK) {
        qsort(times, (size_t)runs, sizeof *times, by_size);
        printf("%d runs%s: minimum %.1f us, median %.1f us, maximum %.1f us\n", runs,
               run->tensor != NULL ? " with the fast tensor run" : "", times[0],
               (times[(runs - 1) / 2] + times[runs / 2]) / 2, times[runs - 1]);
    }
    free(times);
    return status;
}

/* A tensor of zeros if the model has one float32 input; otherwise null. */
static FloatTensor* zero_tensor(const char* inputs, char input[256]) {
    Value value, second;
    char shape[512];
    const char* rest = next_value(inputs, &value);
    if (rest == NULL || next_value(rest, &second) != NULL || strcmp(value.dtype, "float32") != 0)
        return NULL;
    write_shape(shape, sizeof shape, &value, 0);
    strcpy(input, value.name);
    return onnxruntime_vn_tensor_zeros_f32(shape);
}

/* Without a feed on the command line: times runs on zeros, or prints a feed of zeros. */
static int use_zeros(const Options* options, Run* run) {
    const char* inputs = onnxruntime_vn_get_inputs_json(run->session);
    const char* why;
    FloatTensor* tensor = options->zeros ? NULL : zero_tensor(inputs, run->input);
    char* feed = tensor == NULL ? zero_feed(inputs, &why) : NULL;
    int status = OK;
    if (feed == NULL && tensor == NULL) {
        status = complain("cannot make a feed", why);
        name_values("input", inputs);
    } else if (options->zeros) {
        puts(feed);
        status = check_cut("inputs", inputs, 2040);
    } else {
        run->feed = feed;
        run->tensor = tensor;
        status = time_runs(run, options->runs);
    }
    onnxruntime_vn_release_tensor(tensor);
    free(feed);
    return status;
}

static int use_session(const Options* options, Run* run) {
    if (run->feed == NULL && !options->zeros && options->runs == 0) return describe(run->session);
    clear_last_error();
    if (run->feed == NULL) return use_zeros(options, run);
    return options->runs > 0 ? time_runs(run, options->runs) : run_once(run, NULL);
}

static int use_model(const Options* options, Run* run) {
    InferenceSession* session = onnxruntime_vn_create_session(options->model, options->session);
    if (session == NULL) return library_failed();
    run->session = session;
    int status = use_session(options, run);
    onnxruntime_vn_release_session(session);
    return status;
}

/* --lines */
static int use_lines(const Options* options, const char* outputs) {
    const char* why = NULL;
    FILE* feeds = open_feed(options->feed, &why);
    if (feeds == NULL) return complain(options->feed, why);
    InferenceSession* session = onnxruntime_vn_create_session(options->model, options->session);
    int status = FAILED;
    if (session == NULL) {
        library_failed();
    } else if (answer_lines(session, outputs, feeds, &why)) {
        status = OK;
    } else if (why != NULL) {
        complain(options->feed, why);
    }
    onnxruntime_vn_release_session(session);
    if (feeds != stdin) fclose(feeds);
    return status;
}

static int use_arguments(const Options* options) {
    char* names = names_json(options->outputs, options->output_count);
    if (names == NULL) return complain("out of memory", "");
    const char* why = NULL;
    char* feed = options->feed != NULL && !options->lines ? read_feed(options->feed, &why) : NULL;
    Run run = {.outputs = names, .feed = feed};
    int status = why != NULL      ? complain(options->feed, why)
                 : options->lines ? use_lines(options, names)
                                  : use_model(options, &run);
    free(feed);
    free(names);
    return status;
}

static int print_version(void) {
    if (!onnxruntime_vn_available()) return library_failed();
    printf("onnxruntime_vornic-run %s, ONNX Runtime %s\n", ONNXRUNTIME_VORNIC_VERSION,
           onnxruntime_vn_get_version_string());
    return OK;
}

int main(int argc, char** argv) {
    argv = set_up(&argc, argv);
    Options options = {.session = onnxruntime_vn_create_session_options(),
                       .fault = "invalid argument"};
    if (argv == NULL || options.session == NULL) return complain("out of memory", "");
    int count = take_arguments(&options, argv);
    int status = OK;
    if (options.help) {
        print_usage(stdout);
    } else if (options.version) {
        status = print_version();
    } else if (count > 0) {
        status = use_arguments(&options);
    } else {
        print_usage(stderr);
        complain(options.fault, options.culprit);
        status = MISUSED;
    }
    onnxruntime_vn_release_session_options(options.session);
    if (fflush(stdout) == 0 && !ferror(stdout)) return status;
    complain("cannot write the output", "");
    return UNWRITTEN;
}
