/* Uses the library as a host does that never ends: soak MODELS MODE AMOUNT
 *
 * life PERCENT   runs, sessions and failing calls; memory must not grow after the first tenth
 * threads COUNT  four threads that only run, COUNT times each, on one shared session
 * stack KIB      JSON runs at every limit from a thread with such a stack */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"
#include "support/resident.h"

#define ITEM(dtype, shape, data) "{\"dtype\":\"" dtype "\",\"shape\":" shape ",\"data\":" data "}"
#define FEED(item) "{\"x\":" item "}"
#define ANSWER(data) "{\"outputs\":{\"y\":" ITEM("float32", "[1,3]", data) "}}"
#define EXPECT(truth) expect(truth, #truth)
#define FAILS(call) expect(!(call), #call)

static const char* models;
static const char triple[] = FEED(ITEM("float32", "[1,3]", "[0.5,-1,2]"));

static void expect(int truth, const char* what) {
    if (truth) return;
    printf("not so: %s (last error: %s)\n", what, onnxruntime_vn_last_error());
    exit(1);
}

static InferenceSession* open_model(const char* name) {
    char path[1024];
    snprintf(path, sizeof path, "%s/%s.onnx", models, name);
    SessionOptions* options = onnxruntime_vn_create_session_options();
    onnxruntime_vn_session_options_set_intra_op_num_threads(options, 1);
    InferenceSession* session = onnxruntime_vn_create_session(path, options);
    onnxruntime_vn_release_session_options(options);
    EXPECT(session != NULL);
    return session;
}

static void expect_answer(RunResult* result, const char* answer) {
    EXPECT(strcmp(onnxruntime_vn_result_json(result), answer) == 0);
    onnxruntime_vn_release_result(result);
}

static void run_tensor(const InferenceSession* session, int round) {
    const int64_t shape[] = {1, 3};
    float numbers[3] = {(float)(round % 1000000), (float)round / 8, -1};
    FloatTensor* tensor = onnxruntime_vn_tensor_from_f32(numbers, 3, shape, 2);
    RunResult* result = round % 2 ? onnxruntime_vn_run_tensor(session, "x", tensor, NULL)
                                  : onnxruntime_vn_run_tensor_fast(session, "x", tensor, NULL);
    for (int i = 0; i < 3; ++i) numbers[i] *= 2;
    EXPECT(onnxruntime_vn_result_float_count(result) == 3);
    EXPECT(memcmp(onnxruntime_vn_result_float_data(result), numbers, sizeof numbers) == 0);
    onnxruntime_vn_release_result(result);
    onnxruntime_vn_release_tensor(tensor);
}

static void use_new_session(void) {
    InferenceSession* session = open_model("double");
    IoBinding* binding = onnxruntime_vn_create_iobinding(session);
    EXPECT(onnxruntime_vn_iobinding_bind_cpu_input_json(binding, "x",
                                                        ITEM("float32", "[1,3]", "[0.5,-1,2]")));
    EXPECT(onnxruntime_vn_iobinding_bind_output(binding, "y"));
    expect_answer(onnxruntime_vn_run_with_iobinding(session, binding, NULL), ANSWER("[1,-2,4]"));
    onnxruntime_vn_release_iobinding(binding);
    onnxruntime_vn_release_session(session);
}

/* A failing call of every family, refused by the library and by the runtime. */
static void fail_everywhere(const InferenceSession* session) {
    static const char* const feeds[] = {"",
                                        "{}",
                                        "{\"x\":1}",
                                        FEED(ITEM("half", "[1]", "[1]")),
                                        FEED(ITEM("float32", "[1,3]", "[1,2,3")),
                                        FEED(ITEM("float32", "[2,2]", "[1,2,3,4]")),
                                        FEED(ITEM("str", "[3]", "[\"a\",\"b")),
                                        FEED(ITEM("str", "[1,3]", "[\"a\",\"b\",\"c\"]"))};
    static const int64_t shape[] = {2, 2};
    static const float numbers[4] = {0};
    SessionOptions* options = onnxruntime_vn_create_session_options();
    FAILS(onnxruntime_vn_create_session("absent.onnx", options));
    onnxruntime_vn_session_options_append_execution_provider_with_options(options, "CPU", "{\"a");
    FAILS(onnxruntime_vn_create_session("absent.onnx", options));
    onnxruntime_vn_release_session_options(options);
    for (size_t i = 0; i < sizeof feeds / sizeof *feeds; ++i) {
        FAILS(onnxruntime_vn_run_json(session, NULL, feeds[i]));
    }
    FAILS(onnxruntime_vn_run_json(session, "[\"no\"]", triple));
    FAILS(onnxruntime_vn_tensor_from_f32(numbers, 3, shape, 2));
    FAILS(onnxruntime_vn_tensor_zeros_f32("[2,-2]"));
    FloatTensor* tensor = onnxruntime_vn_tensor_from_f32(numbers, 4, shape, 2);
    FAILS(onnxruntime_vn_run_tensor(session, "x", tensor, NULL));
    FAILS(onnxruntime_vn_run_tensor_fast(session, "no", tensor, NULL));
    onnxruntime_vn_release_tensor(tensor);
    IoBinding* binding = onnxruntime_vn_create_iobinding(session);
    FAILS(onnxruntime_vn_iobinding_bind_cpu_input_json(binding, "x", "[1]"));
    FAILS(onnxruntime_vn_run_with_iobinding(session, binding, NULL));
    onnxruntime_vn_release_iobinding(binding);
    OrtRunOptions* stopped = onnxruntime_vn_create_run_options();
    EXPECT(onnxruntime_vn_run_options_set_terminate(stopped));
    FAILS(onnxruntime_vn_run_json_with_options(session, NULL, triple, stopped));
    onnxruntime_vn_release_run_options(stopped);
}

static void live(double percent) {
    uint64_t first = 0;
    InferenceSession* session = open_model("double");
    for (int tenth = 1; tenth <= 10; ++tenth) {
        for (int i = 0; i < 1000 * percent; ++i) run_tensor(session, i);
        for (int i = 0; i < 100 * percent; ++i) {
            expect_answer(onnxruntime_vn_run_json(session, NULL, triple), ANSWER("[1,-2,4]"));
            fail_everywhere(session);
        }
        for (int i = 0; i < 2 * percent; ++i) use_new_session();
        uint64_t resident = resident_bytes();
        printf("%d0%%: %.2f MiB resident\n", tenth, (double)resident / 1048576);
        fflush(stdout);
        EXPECT(resident > 0);
        if (tenth == 1) first = resident;
        if (tenth == 10) EXPECT(resident <= first + first / 100 || resident <= first + 1048576);
    }
    onnxruntime_vn_release_session(session);
}

struct Runner {
    pthread_t thread;
    const InferenceSession* session;
    int base, runs;
};

static void* keep_running(void* argument) {
    const struct Runner* runner = argument;
    char feed[200], answer[200];
    for (int i = runner->base; i < runner->base + runner->runs; i += 2) {
        run_tensor(runner->session, i);
        snprintf(feed, sizeof feed, FEED(ITEM("float32", "[1,3]", "[%d,1,-2]")), i);
        snprintf(answer, sizeof answer, ANSWER("[%d,2,-4]"), 2 * i);
        expect_answer(onnxruntime_vn_run_json(runner->session, NULL, feed), answer);
    }
    return NULL;
}

static void run_in_threads(int count) {
    struct Runner runners[4];
    InferenceSession* session = open_model("double");
    for (int i = 0; i < 4; ++i) {
        runners[i] = (struct Runner){.session = session, .base = i * count + i, .runs = count};
        EXPECT(pthread_create(&runners[i].thread, NULL, keep_running, &runners[i]) == 0);
    }
    for (int i = 0; i < 4; ++i) EXPECT(pthread_join(runners[i].thread, NULL) == 0);
    printf("%d right answers\n", 4 * count);
    onnxruntime_vn_release_session(session);
}

/* Runs a session with count items in every input; prefix and the dtypes, or numbers, name them. */
static void fill_inputs(const InferenceSession* session, int inputs, int count, const char* text) {
    static const char* const dtypes[] = {"string", "float32", "float64", "int8",
                                         "int16",  "int32",   "int64",   "uint8",
                                         "uint16", "uint32",  "uint64",  "bool"};
    char* feed = malloc(20000000);
    char* at = feed;
    for (int i = 0; i < inputs; ++i) {
        const char* dtype = inputs == 12 ? dtypes[i] : "float32";
        const char* item = dtype == dtypes[0] ? text : "-12.345678";
        at += sprintf(at, i == 0 ? "{\"" : "]},\"");
        at += inputs == 12 ? sprintf(at, "in_%s", dtype)
                           : sprintf(at, inputs == 1 ? "x" : "i%02d", i);
        at += sprintf(at, "\":{\"dtype\":\"%s\",\"shape\":[%d],\"data\":[", dtype, count);
        for (int k = 0; k < count; ++k) at += sprintf(at, k == 0 ? "%s" : ",%s", item);
    }
    strcpy(at, "]}}");
    RunResult* result = onnxruntime_vn_run_json(session, NULL, feed);
    free(feed);
    EXPECT(result != NULL);
    EXPECT(onnxruntime_vn_result_float_count(result) == count);
    EXPECT(strlen(onnxruntime_vn_result_json(result)) == 65535 || count == 1);
    onnxruntime_vn_release_result(result);
}

static void* run_at_limits(void* argument) {
    InferenceSession** sessions = argument;
    char longest[4098];
    memset(longest, '"', sizeof longest);
    memset(longest + 1, 's', 4095);
    longest[4097] = '\0';
    fill_inputs(sessions[0], 1, 65536, "");
    fill_inputs(sessions[1], 12, 65536, "\"\\\"\"");
    fill_inputs(sessions[1], 12, 1, longest);
    fill_inputs(sessions[2], 16, 1, "");
    run_tensor(sessions[3], 1);
    fail_everywhere(sessions[3]);
    return NULL;
}

static void run_on_stack(int kibibytes) {
    static const char* const names[] = {"long", "types", "sixteen", "double"};
    InferenceSession* sessions[4];
    pthread_attr_t attributes;
    pthread_t thread;
    for (int i = 0; i < 4; ++i) sessions[i] = open_model(names[i]);
    pthread_attr_init(&attributes);
    EXPECT(pthread_attr_setstacksize(&attributes, (size_t)kibibytes * 1024) == 0);
    EXPECT(pthread_create(&thread, &attributes, run_at_limits, sessions) == 0);
    EXPECT(pthread_join(thread, NULL) == 0);
    printf("every limit on a stack of %d KiB\n", kibibytes);
    for (int i = 0; i < 4; ++i) onnxruntime_vn_release_session(sessions[i]);
}

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    models = argv[1];
    if (strcmp(argv[2], "life") == 0) live(atof(argv[3]));
    if (strcmp(argv[2], "threads") == 0) run_in_threads(atoi(argv[3]));
    if (strcmp(argv[2], "stack") == 0) run_on_stack(atoi(argv[3]));
    return 0;
}
