#include "run_options.h"

#include <stdlib.h>
#include <string.h>

enum { MAX_RUNS = 10000000 };

void print_usage(FILE* to) {
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
        "  --lines                 take a feed from each line of FEED.json, or of standard input,\n"
        "                          and print a line for each, in order: the result, or\n"
        "                          {\"error\":\"...\"} for a feed that is refused, an empty line\n"
        "                          included; printed at once unless the feeds are in a file\n"
        "  --threads N             use N threads inside an operator\n"
        "  --provider NAME[=JSON]  append an execution provider, with its options\n"
        "  --version               print the versions of this program and of ONNX Runtime\n"
        "  -h, --help              print this\n"
        "  --                      what follows is no option\n"
        "\n"
        "Exit status: 0 when all went well, 1 when something failed, a feed of --lines included,\n"
        "2 for a wrong command line, 3 when the output could not be written.\n",
        to);
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
    if (strcmp(argv[*at], "--lines") == 0) return wanted->lines = 1;
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

int take_arguments(Wanted* wanted, char** argv) {
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
    wanted->feed = count > 1 ? argv[1] : wanted->lines ? "-" : NULL;
    wanted->outputs = argv + 2;
    wanted->output_count = count > 2 ? count - 2 : 0;
    wanted->wrong = "";
    if (count == 0) wanted->fault = "no MODEL is given";
    int lines_amiss = wanted->lines && (wanted->zeros || wanted->runs > 0);
    int zeros_amiss = wanted->zeros && (count > 1 || wanted->runs > 0);
    if (zeros_amiss) wanted->fault = "--feed takes neither a feed nor --bench";
    if (lines_amiss) wanted->fault = "--lines takes neither --feed nor --bench";
    return lines_amiss || zeros_amiss ? -1 : count;
}
