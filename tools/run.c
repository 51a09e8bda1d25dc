/* onnxruntime_vornic-run: describes a model, runs it on a feed, or times it. See usage(). */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"
#include "run_feed.h"
#include "run_platform.h"

enum { OK = 0, FAILED = 1, MISUSED = 2, MAX_RUNS = 10000000 };

/* The command line. */
typedef struct {
    const char* model;
    const char* feed; /* the name of its file, or null */
    char** outputs;   /* the names wanted */
    int output_count;
    int help, version; /* whether to print these */
    int zeros;         /* whether to print a feed of zeros */
    int runs;          /* how many to time */
    SessionOptions* session;
    const char* fault; /* what is wrong with the command line */
    const char* wrong; /* and in which argument, or "" */
} Wanted;

/* What a run is given: a feed, or a tensor for the one input that a model has. */
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

static void usage(FILE* to) {
    fputs(
        "usage: onnxruntime_vornic-run [OPTION ...] MODEL [FEED.json [OUTPUT ...]]\n"
        "\n"
        "With MODEL alone, prints its inputs, outputs and metadata and the execution providers,\n"
        "each as one line of JSON. With a feed (- for standard input), runs the model on it and\n"
        "prints the result: all outputs, or those named. A feed has one tensor for each input:\n"
        "  {\"x\":{\"dtype\":\"float32\",\"shape\":[1,2],\"data\":[0.5,1]}}\n"
        "\n"
        "  --feed                  print a feed of zeros for the model, to be edited; a dimension\n"
        "                          that each run chooses is 1 there\n"
        "  --bench N               print the time of N runs, after one that does not count;\n"
        "                          without a feed on zeros, by the fast tensor run where\n"
        "                          the model has one float32 input\n"
        "  --threads N             use N threads inside an operator\n"
        "  --provider NAME[=JSON]  append an execution provider, with its options\n"
        "  --version               print the versions of this program and of ONNX Runtime\n"
        "  -h, --help              print this\n"
        "  --                      what follows is no option\n"
        "\n"
        "Exit status: 0 when all went well, 1 when something failed, 2 for a wrong command line.\n",
        to);
}

/* The library's own text; a few of its refusals come without one. */
static int library_failed(void) {
    const char* text = onnxruntime_vn_last_error();
    return complain(text[0] ? text : "no reason given",
                    text[0] ? "" : "is a \"shape\" or \"data\" missing?");
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

/* Prints the result of a run, or stores the microseconds that the run took. */
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
    int status = run_once(run, &times[runs]); /* does not count */
    for (int i = 0; i < runs && status == OK; ++i) status = run_once(run, &times[i]);
    if (status == OK) {
        qsort(times, (size_t)runs, sizeof *times, by_size);
        printf("%d runs%s: minimum %.1f us, median %.1f us, maximum %.1f us\n", runs,
               run->tensor != NULL ? " by the fast tensor run" : "", times[0],
               (times[(runs - 1) / 2] + times[runs / 2]) / 2, times[runs - 1]);
    }
    free(times);
    return status;
}

/* The tensor of zeros for a model with one float32 input; null for any other. */
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

/* Runs, or prints a feed, where the command line named no feed. */
static int use_zeros(const Wanted* wanted, Run* run) {
    const char* inputs = onnxruntime_vn_get_inputs_json(run->session);
    const char* why;
    FloatTensor* tensor = wanted->zeros ? NULL : zero_tensor(inputs, run->input);
    char* feed = tensor == NULL ? zero_feed(inputs, &why) : NULL;
    int status = OK;
    if (feed == NULL && tensor == NULL) {
        status = complain("no feed", why);
        name_values("input", inputs);
    } else if (wanted->zeros) {
        puts(feed);
        status = check_cut("inputs", inputs, 2040);
    } else {
        run->feed = feed;
        run->tensor = tensor;
        status = time_runs(run, wanted->runs);
    }
    onnxruntime_vn_release_tensor(tensor);
    free(feed);
    return status;
}

static int use_session(const Wanted* wanted, Run* run) {
    if (run->feed == NULL && !wanted->zeros && wanted->runs == 0) return describe(run->session);
    /* Empties the last-error text: a refusal without a text must not show an earlier one. */
    onnxruntime_vn_release_tensor(onnxruntime_vn_tensor_zeros_f32("[1]"));
    if (run->feed == NULL) return use_zeros(wanted, run);
    return wanted->runs > 0 ? time_runs(run, wanted->runs) : run_once(run, NULL);
}

static int use_model(const Wanted* wanted, Run* run) {
    InferenceSession* session = onnxruntime_vn_create_session(wanted->model, wanted->session);
    if (session == NULL) return library_failed();
    run->session = session;
    int status = use_session(wanted, run);
    onnxruntime_vn_release_session(session);
    return status;
}

static int use_arguments(const Wanted* wanted) {
    char* names = names_json(wanted->outputs, wanted->output_count);
    if (names == NULL) return complain("out of memory", "");
    const char* why = NULL;
    char* feed = wanted->feed != NULL ? read_feed(wanted->feed, &why) : NULL;
    Run run = {.outputs = names, .feed = feed};
    int status = why == NULL ? use_model(wanted, &run) : complain(wanted->feed, why);
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

/* The value of the option at argv[*at], after a = or the next argument, "" without any; null when
 * another option stands there. */
static const char* value_of(const char* option, Wanted* wanted, char** argv, int* at) {
    size_t length = strlen(option);
    const char* value = "";
    if (strncmp(argv[*at], option, length) != 0) return NULL;
    if (argv[*at][length] == '=') {
        value = argv[*at] + length + 1;
    } else if (argv[*at][length] != '\0') {
        return NULL;
    } else if (argv[*at + 1] != NULL) {
        value = argv[++*at];
    }
    if (value[0] == '\0') wanted->fault = "needs a value";
    return value;
}

/* A whole number from 1 to most, 0 for anything else. */
static int number_of(const char* text, long most) {
    char* end;
    long number = strtol(text, &end, 10);
    return *text != '\0' && *end == '\0' && number > 0 && number <= most ? (int)number : 0;
}

/* NAME or NAME=JSON */
static int append_provider(SessionOptions* options, const char* text) {
    char name[128];
    const char* json = strchr(text, '=');
    if (json == NULL) {
        return onnxruntime_vn_session_options_append_execution_provider(options, text);
    }
    snprintf(name, sizeof name, "%.*s", (int)(json - text), text);
    return onnxruntime_vn_session_options_append_execution_provider_with_options(options, name,
                                                                                 json + 1);
}

/* Takes the option at argv[*at]; 0 when it is none. */
static int take_option(Wanted* wanted, char** argv, int* at) {
    const char* value;
    if (strcmp(argv[*at], "--help") == 0 || strcmp(argv[*at], "-h") == 0) return wanted->help = 1;
    if (strcmp(argv[*at], "--version") == 0) return wanted->version = 1;
    if (strcmp(argv[*at], "--feed") == 0) return wanted->zeros = 1;
    if ((value = value_of("--bench", wanted, argv, at)) != NULL)
        return wanted->runs = number_of(value, MAX_RUNS);
    if ((value = value_of("--threads", wanted, argv, at)) != NULL) {
        int threads = number_of(value, 1024);
        onnxruntime_vn_session_options_set_intra_op_num_threads(wanted->session, threads);
        return threads;
    }
    value = value_of("--provider", wanted, argv, at);
    return value != NULL && append_provider(wanted->session, value);
}

/* Sorts the arguments: the options into wanted, the others to the front of argv. Gives their number, or
 * -1 when something is wrong. */
static int take_arguments(Wanted* wanted, char** argv) {
    int count = 0;
    int no_options = 0;
    for (int at = 1; argv[at] != NULL; ++at) {
        if (no_options || argv[at][0] != '-' || argv[at][1] == '\0') {
            argv[count++] = argv[at];
        } else if (strcmp(argv[at], "--") == 0) {
            no_options = 1;
        } else if (!take_option(wanted, argv, &at)) {
            wanted->wrong = argv[at];
            return -1;
        }
    }
    wanted->model = argv[0];
    wanted->feed = count > 1 ? argv[1] : NULL;
    wanted->outputs = argv + 2;
    wanted->output_count = count > 2 ? count - 2 : 0;
    wanted->wrong = "";
    if (count == 0) wanted->fault = "no MODEL is given";
    if (!wanted->zeros || (count < 2 && wanted->runs == 0)) return count;
    wanted->fault = "--feed takes neither a feed nor --bench";
    return -1;
}

int main(int argc, char** argv) {
    argv = utf8_arguments(&argc, argv);
    Wanted wanted = {.session = onnxruntime_vn_create_session_options(), .fault = "not understood"};
    if (argv == NULL || wanted.session == NULL) return complain("out of memory", "");
    int count = take_arguments(&wanted, argv);
    int status = OK;
    if (wanted.help) {
        usage(stdout);
    } else if (wanted.version) {
        status = print_version();
    } else if (count > 0) {
        status = use_arguments(&wanted);
    } else {
        usage(stderr);
        complain(wanted.fault, wanted.wrong);
        status = MISUSED;
    }
    onnxruntime_vn_release_session_options(wanted.session);
    if (fflush(stdout) != 0 || ferror(stdout)) status = complain("cannot write the output", "");
    return status;
}
