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
        "  --feed                  print a feed of zeros for the model, to edit, with 1 for each\n"
        "                          dimension that may differ from run to run\n"
        "  --bench N               time N runs, after one warm-up run; without a feed, on zeros,\n"
        "                          with the fast tensor run if the model has one float32 input\n"
        "  --lines                 read a feed from each line of FEED.json or standard input, and\n"
        "                          print a line for each, in order: the result, or\n"
        "                          {\"error\":\"...\"} if the feed is refused (so is an\n"
        "                          empty line); flushed after each line unless the feeds are\n"
        "                          in a file\n"
        "  --threads N             use N threads within an operator\n"
        "  --provider NAME[=JSON]  append an execution provider, with its options\n"
        "  --version               print the versions of this program and of ONNX Runtime\n"
        "  -h, --help              print this help\n"
        "  --                      end of the options\n"
        "\n"
        "Exit status: 0 on success, 1 if anything failed, including a feed of --lines, 2 for an\n"
        "invalid command line, 3 if the output could not be written.\n",
        to);
}

/* The value of an option at argv[*at], after = or in the next argument; "" if it is missing; null
 * if argv[*at] is another option. */
static const char* value_of(const char* option, Options* options, char** argv, int* at) {
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
    if (value[0] == '\0') options->fault = "needs a value";
    return value;
}

/* An integer from 1 to `most`; 0 for anything else. */
static int number_of(const char* text, long most) {
    char* end;
    long number = strtol(text, &end, 10);
    return *text != '\0' && *end == '\0' && number > 0 && number <= most ? (int)number : 0;
}

/* Appends a provider written as NAME or NAME=JSON. */
static int append_provider(SessionOptions* session, const char* text) {
    char name[128];
    const char* json = strchr(text, '=');
    if (json == NULL) {
        return onnxruntime_vn_session_options_append_execution_provider(session, text);
    }
    snprintf(name, sizeof name, "%.*s", (int)(json - text), text);
    return onnxruntime_vn_session_options_append_execution_provider_with_options(session, name,
                                                                                 json + 1);
}

/* Parses the option at argv[*at]; 0 if it is unknown or malformed. */
static int take_option(Options* options, char** argv, int* at) {
    const char* value;
    if (strcmp(argv[*at], "--help") == 0 || strcmp(argv[*at], "-h") == 0) return options->help = 1;
    if (strcmp(argv[*at], "--version") == 0) return options->version = 1;
    if (strcmp(argv[*at], "--feed") == 0) return options->zeros = 1;
    if (strcmp(argv[*at], "--lines") == 0) return options->lines = 1;
    if ((value = value_of("--bench", options, argv, at)) != NULL)
        return options->runs = number_of(value, MAX_RUNS);
    if ((value = value_of("--threads", options, argv, at)) != NULL) {
        int threads = number_of(value, 1024);
        onnxruntime_vn_session_options_set_intra_op_num_threads(options->session, threads);
        return threads;
    }
    value = value_of("--provider", options, argv, at);
    return value != NULL && append_provider(options->session, value);
}

int take_arguments(Options* options, char** argv) {
    int count = 0;
    int options_ended = 0;
    for (int at = 1; argv[at] != NULL; ++at) {
        if (options_ended || argv[at][0] != '-' || argv[at][1] == '\0') {
            argv[count++] = argv[at];
        } else if (strcmp(argv[at], "--") == 0) {
            options_ended = 1;
        } else if (!take_option(options, argv, &at)) {
            options->culprit = argv[at];
            return -1;
        }
    }
    options->model = argv[0];
    options->feed = count > 1 ? argv[1] : options->lines ? "-" : NULL;
    options->outputs = argv + 2;
    options->output_count = count > 2 ? count - 2 : 0;
    options->culprit = "";
    if (count == 0) options->fault = "no MODEL is given";
    int lines_conflict = options->lines && (options->zeros || options->runs > 0);
    int zeros_conflict = options->zeros && (count > 1 || options->runs > 0);
    if (zeros_conflict) options->fault = "--feed takes neither a feed nor --bench";
    if (lines_conflict) options->fault = "--lines takes neither --feed nor --bench";
    return lines_conflict || zeros_conflict ? -1 : count;
}
