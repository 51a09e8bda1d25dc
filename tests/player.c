/* Plays a script of calls in plain C, in a process whose locale has decimal commas, and checks what
 * the library says to each: player MODELS SCRIPT. A script line is a command; the lines with '>'
 * behind it are what must come out. <N*text> stands for text N times, <xHH> for a byte, and ">N "
 * for the first N bytes of what follows. ONNX Runtime's own words are left out. */
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"

static const char* models;
static char out[400000]; /* what the command said */
static SessionOptions* options;
static InferenceSession* session;
static OrtRunOptions* run_options;
static RunResult* result;
static FloatTensor* tensor;
static IoBinding* binding;
static char names_room[4096];
static const char* names;

static void say(const char* text) { snprintf(out, sizeof out, "%s", text); }

/* The last error up to ONNX Runtime's own words. */
static void say_error(void) {
    say(onnxruntime_vn_last_error());
    char* words = strstr(out, " failed: ");
    if (words != NULL) words[strlen(" failed")] = '\0';
}

static void say_verdict(int32_t verdict) {
    if (verdict) {
        say("1");
    } else {
        say_error();
    }
}

static void take_result(RunResult* given) {
    onnxruntime_vn_release_result(result);
    result = given;
    if (given == NULL) {
        say_error();
    } else {
        say(*onnxruntime_vn_last_error() ? "a text is left" : onnxruntime_vn_result_json(given));
    }
}

static void do_options(char* text) {
    (void)text;
    onnxruntime_vn_release_session_options(options);
    options = onnxruntime_vn_create_session_options();
}

static void do_set(char* text) {
    static const struct {
        const char* name;
        int32_t(ONNXRUNTIME_VN_CALL* set)(SessionOptions*, int32_t);
        int32_t(ONNXRUNTIME_VN_CALL* turn)(SessionOptions*);
        int32_t(ONNXRUNTIME_VN_CALL* put)(SessionOptions*, const char*);
    } setters[] = {
        {"intra", onnxruntime_vn_session_options_set_intra_op_num_threads, NULL, NULL},
        {"inter", onnxruntime_vn_session_options_set_inter_op_num_threads, NULL, NULL},
        {"level", onnxruntime_vn_session_options_set_graph_optimization_level, NULL, NULL},
        {"mode", onnxruntime_vn_session_options_set_execution_mode, NULL, NULL},
        {"verbosity", onnxruntime_vn_session_options_set_log_verbosity_level, NULL, NULL},
        {"severity", onnxruntime_vn_session_options_set_log_severity_level, NULL, NULL},
        {"no_profiling", NULL, onnxruntime_vn_session_options_disable_profiling, NULL},
        {"arena", NULL, onnxruntime_vn_session_options_enable_cpu_mem_arena, NULL},
        {"no_arena", NULL, onnxruntime_vn_session_options_disable_cpu_mem_arena, NULL},
        {"pattern", NULL, onnxruntime_vn_session_options_enable_mem_pattern, NULL},
        {"no_pattern", NULL, onnxruntime_vn_session_options_disable_mem_pattern, NULL},
        {"profiling", NULL, NULL, onnxruntime_vn_session_options_enable_profiling},
        {"log_id", NULL, NULL, onnxruntime_vn_session_options_set_log_id},
        {"provider", NULL, NULL, onnxruntime_vn_session_options_append_execution_provider},
    };
    char* value = strchr(text, ' ');
    if (value != NULL) *value++ = '\0';
    for (size_t i = 0; i < sizeof setters / sizeof *setters; ++i) {
        if (strcmp(setters[i].name, text) != 0) continue;
        /* A null handle is refused, silently. */
        int32_t bad = setters[i].set    ? setters[i].set(NULL, 1)
                      : setters[i].turn ? setters[i].turn(NULL)
                                        : setters[i].put(NULL, "x");
        say_verdict(!bad && (setters[i].set    ? setters[i].set(options, atoi(value))
                             : setters[i].turn ? setters[i].turn(options)
                                               : setters[i].put(options, value)));
    }
}

static void do_provider_options(char* text) {
    say_verdict(onnxruntime_vn_session_options_append_execution_provider_with_options(options,
                                                                                      "CPU", text));
}

static void do_load(char* path) {
    onnxruntime_vn_release_session(session);
    session = onnxruntime_vn_create_session(path, options);
    if (session == NULL) say_error();
}

static void do_open(char* text) {
    char path[1024];
    snprintf(path, sizeof path, "%s/%s.onnx", models, text);
    do_load(path);
}

static void do_describe(char* text) {
    say(strcmp(text, "inputs") == 0    ? onnxruntime_vn_get_inputs_json(session)
        : strcmp(text, "outputs") == 0 ? onnxruntime_vn_get_outputs_json(session)
                                       : onnxruntime_vn_get_modelmeta_json(session));
}

static void do_profile(char* text) {
    (void)text;
    char path[1024];
    snprintf(path, sizeof path, "%s", onnxruntime_vn_session_end_profiling(session));
    if (remove(path) == 0) path[strlen("player_profile")] = '\0';
    say(*path ? path : onnxruntime_vn_last_error());
}

static void do_names(char* text) { names = *text ? strcpy(names_room, text) : NULL; }

static void do_run(char* feed) { take_result(onnxruntime_vn_run_json(session, names, feed)); }

static void do_run_options(char* text) {
    static const struct {
        const char* name;
        int32_t(ONNXRUNTIME_VN_CALL* turn)(OrtRunOptions*);
        int32_t(ONNXRUNTIME_VN_CALL* set)(OrtRunOptions*, int32_t);
    } setters[] = {
        {"terminate", onnxruntime_vn_run_options_set_terminate, NULL},
        {"unset", onnxruntime_vn_run_options_unset_terminate, NULL},
        {"verbosity", NULL, onnxruntime_vn_run_options_set_log_verbosity_level},
        {"severity", NULL, onnxruntime_vn_run_options_set_log_severity_level},
    };
    if (run_options == NULL) run_options = onnxruntime_vn_create_run_options();
    for (size_t i = 0; i < sizeof setters / sizeof *setters; ++i) {
        if (strcmp(setters[i].name, text) != 0) continue;
        int32_t bad = setters[i].turn ? setters[i].turn(NULL) : setters[i].set(NULL, 1);
        say_verdict(!bad && (setters[i].turn ? setters[i].turn(run_options)
                                             : setters[i].set(run_options, 3)));
    }
    if (strcmp(text, "tag") == 0) {
        say_verdict(!onnxruntime_vn_run_options_set_run_tag(NULL, "t") &&
                    onnxruntime_vn_run_options_set_run_tag(run_options, NULL) &&
                    onnxruntime_vn_run_options_set_run_tag(run_options, "tag"));
    }
}

static void do_run_with(char* feed) {
    take_result(onnxruntime_vn_run_json_with_options(session, names, feed, run_options));
}

static void do_floats(char* text) {
    (void)text;
    const float* data = onnxruntime_vn_result_float_data(result);
    int32_t count = onnxruntime_vn_result_float_count(result);
    snprintf(out, sizeof out, "%s %d", onnxruntime_vn_result_float_shape_json(result), count);
    if (onnxruntime_vn_result_float_at(result, count) != 0) say("beyond the end");
    if (onnxruntime_vn_result_float_at(result, -1) != 0) say("before the beginning");
    for (int32_t i = 0; i < count; ++i) {
        float element = onnxruntime_vn_result_float_at(result, i);
        if (memcmp(&element, &data[i], sizeof element) != 0) say("floats disagree");
        if (count <= 6) {
            uint32_t bits;
            memcpy(&bits, &element, sizeof bits);
            sprintf(out + strlen(out), " %08x", (unsigned)bits);
        }
    }
}

/* tensor WAY COUNT DIMENSIONS...: of 0, 0.5, 1 and so on; COUNT 0 stands for no data. */
static void do_tensor(char* text) {
    int64_t dims[9];
    int32_t rank = 0;
    float* data = malloc(6 * sizeof *data);
    for (int i = 0; i < 6; ++i) data[i] = (float)i / 2;
    int adopts = strncmp(text, "adopt ", 6) == 0;
    char* at = strchr(text, ' ');
    int32_t count = (int32_t)strtol(at, &at, 10);
    while (*at == ' ') dims[rank++] = strtoll(at, &at, 10);
    onnxruntime_vn_release_tensor(tensor);
    tensor = (adopts ? onnxruntime_vn_tensor_adopt_f32(data, count, dims, rank)
                     : onnxruntime_vn_tensor_from_f32(data, count, dims, rank));
    if (!adopts || tensor == NULL) free(data);
    say_verdict(tensor != NULL);
}

static void do_zeros(char* text) {
    onnxruntime_vn_release_tensor(tensor);
    tensor = onnxruntime_vn_tensor_zeros_f32(*text ? text : NULL);
    say_verdict(tensor != NULL);
}

static void do_run_tensor(char* name) {
    take_result(onnxruntime_vn_run_tensor(session, name, tensor, names));
}

static void do_run_fast(char* name) {
    take_result(onnxruntime_vn_run_tensor_fast(session, name, tensor, names));
}

static void do_binding(char* text) {
    (void)text;
    onnxruntime_vn_release_iobinding(binding);
    binding = onnxruntime_vn_create_iobinding(session);
    say_verdict(binding != NULL);
}

static void do_bind(char* text) {
    char* item = strchr(text, ' ');
    *item++ = '\0';
    say_verdict(onnxruntime_vn_iobinding_bind_cpu_input_json(binding, text, item));
}

static void do_bind_output(char* text) {
    say_verdict(onnxruntime_vn_iobinding_bind_output(binding, text));
}

static void do_clear(char* text) {
    say_verdict(strcmp(text, "inputs") == 0 ? onnxruntime_vn_iobinding_clear_inputs(binding)
                                            : onnxruntime_vn_iobinding_clear_outputs(binding));
}

static void do_run_bound(char* text) {
    (void)text;
    if (binding != NULL && (!onnxruntime_vn_iobinding_synchronize_inputs(binding) ||
                            !onnxruntime_vn_iobinding_synchronize_outputs(binding))) {
        say_error();
        return;
    }
    take_result(onnxruntime_vn_run_with_iobinding(session, binding, run_options));
}

static void do_kept(char* text) {
    (void)text;
    say(onnxruntime_vn_iobinding_outputs_json(binding));
}

static void do_close(char* text) {
    (void)text;
    onnxruntime_vn_release_iobinding(binding);
    onnxruntime_vn_release_session(session);
    onnxruntime_vn_release_session_options(options);
    onnxruntime_vn_release_run_options(run_options);
    onnxruntime_vn_release_tensor(tensor);
    onnxruntime_vn_release_result(result);
    binding = NULL;
    session = NULL;
    options = NULL;
    run_options = NULL;
    tensor = NULL;
    result = NULL;
}

static void do_runtime(char* text) {
    (void)text;
    int known = strstr(onnxruntime_vn_get_available_providers_json(), "CPUExecutionProvider") &&
                strncmp(onnxruntime_vn_get_version_string(), "1.", 2) == 0;
    say_verdict(known && onnxruntime_vn_available());
}

static const struct {
    const char* name;
    void (*run)(char*);
} commands[] = {
    {"runtime", do_runtime},
    {"options", do_options},
    {"set", do_set},
    {"provider_options", do_provider_options},
    {"load", do_load},
    {"open", do_open},
    {"describe", do_describe},
    {"profile", do_profile},
    {"names", do_names},
    {"run", do_run},
    {"run_options", do_run_options},
    {"run_with", do_run_with},
    {"floats", do_floats},
    {"tensor", do_tensor},
    {"zeros", do_zeros},
    {"run_tensor", do_run_tensor},
    {"run_fast", do_run_fast},
    {"binding", do_binding},
    {"bind", do_bind},
    {"bind_output", do_bind_output},
    {"clear", do_clear},
    {"run_bound", do_run_bound},
    {"kept", do_kept},
    {"close", do_close},
};

/* Writes a line with its repetitions and bytes spelled out. */
static void expand(const char* line, char* to) {
    while (*line) {
        char* rest;
        long count = line[0] == '<'
                         ? strtol(line + 1 + (line[1] == 'x'), &rest, line[1] == 'x' ? 16 : 10)
                         : 0;
        const char* end = line[0] == '<' ? strchr(line, '>') : NULL;
        if (end != NULL && line[1] == 'x' && rest == end) {
            *to++ = (char)count;
            line = end + 1;
        } else if (end != NULL && *rest == '*') {
            size_t length = (size_t)(end - rest - 1);
            for (; count > 0; --count, to += length) memcpy(to, rest + 1, length);
            line = end + 1;
        } else {
            *to++ = *line++;
        }
    }
    *to = '\0';
}

int main(int argc, char** argv) {
    static char line[4096], text[400000], expected[400000];
    FILE* script = argc == 3 ? fopen(argv[2], "rb") : NULL;
    int german = setlocale(LC_ALL, "de_DE.UTF-8") || setlocale(LC_ALL, "German");
    if (script == NULL || !german || strcmp(localeconv()->decimal_point, ",") != 0) {
        puts("player: no script or no locale with decimal commas");
        return 2;
    }
    models = argv[1];
    int failed = 0, checked = 0, number = 0;
    while (fgets(line, sizeof line, script) != NULL) {
        ++number;
        line[strcspn(line, "\r\n")] = '\0';
        if (line[0] == '\0' || line[0] == '#') continue;
        if (line[0] == '>') {
            char* from = strchr(line, ' ');
            expand(from != NULL ? from + 1 : "", expected);
            if (line[1] >= '0' && line[1] <= '9') expected[atoi(line + 1)] = '\0';
            ++checked;
            if (strcmp(out, expected) == 0) continue;
            ++failed;
            printf("line %d:\n  call     %.300s\n  expected %.300s\n  got      %.300s\n", number,
                   text, expected, out);
            continue;
        }
        expand(line, text);
        char* argument = strchr(line, ' ');
        argument = argument != NULL ? text + (argument - line) + 1 : text + strlen(text);
        line[strcspn(line, " ")] = '\0';
        out[0] = '\0';
        for (size_t i = 0; i < sizeof commands / sizeof *commands; ++i) {
            if (strcmp(commands[i].name, line) == 0) commands[i].run(argument);
        }
    }
    do_close(NULL);
    printf("%d answers as expected, %d not\n", checked - failed, failed);
    return failed > 0 || checked == 0;
}
