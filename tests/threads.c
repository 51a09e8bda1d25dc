/* Threads that do everything by themselves while others do the same, on one session and on their
 * own: threads MODEL. Built with ThreadSanitizer it also names what of the library's two touch. */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "onnxruntime_vornic.h"

#define TENSOR(numbers) "{\"dtype\":\"float32\",\"shape\":[1,3],\"data\":[" numbers "]}"
#define EXPECT(truth) ((truth) ? (void)0 : (puts("not so: " #truth), exit(1)))
enum { THREADS = 4, ROUNDS = 500 };

static const char* model;
static InferenceSession* shared;

static void expect_answer(RunResult* result, const char* answer) {
    EXPECT(strcmp(onnxruntime_vn_result_json(result), answer) == 0);
    onnxruntime_vn_release_result(result);
}

static void serve(const InferenceSession* session, int n) {
    const float numbers[] = {(float)n, 1, -2};
    char item[99], feed[120], answer[120];
    snprintf(item, sizeof item, TENSOR("%d,1,-2"), n);
    snprintf(feed, sizeof feed, "{\"x\":%s}", item);
    snprintf(answer, sizeof answer, "{\"outputs\":{\"y\":" TENSOR("%d,2,-4") "}}", 2 * n);
    FloatTensor* tensor = onnxruntime_vn_tensor_from_f32(numbers, 3, (int64_t[]){1, 3}, 2);
    expect_answer(onnxruntime_vn_run_tensor(session, "x", tensor, NULL), answer);
    onnxruntime_vn_release_tensor(tensor);
    OrtRunOptions* options = onnxruntime_vn_create_run_options();
    expect_answer(onnxruntime_vn_run_json_with_options(session, NULL, feed, options), answer);
    onnxruntime_vn_run_options_set_terminate(options);
    EXPECT(!onnxruntime_vn_run_json_with_options(session, NULL, feed, options));
    onnxruntime_vn_release_run_options(options);
    IoBinding* binding = onnxruntime_vn_create_iobinding(session);
    EXPECT(onnxruntime_vn_iobinding_bind_cpu_input_json(binding, "x", item));
    EXPECT(onnxruntime_vn_iobinding_bind_output(binding, "y"));
    expect_answer(onnxruntime_vn_run_with_iobinding(session, binding, NULL), answer);
    onnxruntime_vn_release_iobinding(binding);
}

static void* keep_serving(void* number) {
    for (int i = 0; i < ROUNDS; ++i) {
        serve(shared, (int)(size_t)number * ROUNDS + i);
        if (i % 64 != 0) continue;
        SessionOptions* options = onnxruntime_vn_create_session_options();
        onnxruntime_vn_session_options_set_intra_op_num_threads(options, 1);
        InferenceSession* session = onnxruntime_vn_create_session(model, options);
        onnxruntime_vn_release_session_options(options);
        serve(session, i);
        onnxruntime_vn_release_session(session);
    }
    return NULL;
}

int main(int argc, char** argv) {
    pthread_t threads[THREADS];
    model = argv[argc - 1];
    EXPECT((shared = onnxruntime_vn_create_session(model, NULL)) != NULL);
    for (size_t i = 0; i < THREADS; ++i) pthread_create(&threads[i], NULL, keep_serving, (void*)i);
    for (size_t i = 0; i < THREADS; ++i) pthread_join(threads[i], NULL);
    onnxruntime_vn_release_session(shared);
}
