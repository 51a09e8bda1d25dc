/* Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
 * differ because of the detector's state, which each run passes on.
 *
 * usage: detect MODEL     (linked with the library, which is on the program's run path)
 */
#include <onnxruntime_vornic.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

enum { SAMPLES_SIZE = 8192, STATE_SIZE = 4096, FEED_SIZE = SAMPLES_SIZE + 2 * STATE_SIZE + 128 };

/* Writes a tensor as JSON: a sawtooth of four periods in 512 samples, or zeros. */
static void write_tensor(char* text, size_t size, const char* shape, int count, bool sawtooth) {
    int length = snprintf(text, size, "{\"dtype\":\"float32\",\"shape\":%s,\"data\":[", shape);
    for (int i = 0; i < count; i++) {
        double value = sawtooth ? (i % 128 - 64) / 128.0 : 0;
        length += snprintf(text + length, size - (size_t)length, "%.9g,", value);
    }
    snprintf(text + length, size - (size_t)length, "]}"); /* A trailing comma is allowed. */
}

/* Copies an output's tensor, which has the form of an input's, from a result's JSON. */
static void copy_tensor(char* text, const char* json, const char* key) {
    const char* begin = strstr(json, key);
    if (begin == NULL) return; /* not an output of this model: the old state stays */
    begin += strlen(key);
    snprintf(text, STATE_SIZE, "%.*s", (int)(strcspn(begin, "}") + 1), begin);
}

/* Reports why a call failed. The error text is meaningful only after a failure. */
static bool fail(void) {
    fprintf(stderr, "detect: %s\n", onnxruntime_vn_last_error());
    return false;
}

static bool detect(const InferenceSession* session) {
    static char samples[SAMPLES_SIZE], h[STATE_SIZE], c[STATE_SIZE], feed[FEED_SIZE];
    static const char form[] =
        "{\"input\":%s,\"h\":%s,\"c\":%s,"
        "\"sr\":{\"dtype\":\"int64\",\"shape\":[],\"data\":[16000]}}";
    write_tensor(samples, sizeof samples, "[1,512]", 512, true);
    write_tensor(h, sizeof h, "[2,1,64]", 128, false);
    write_tensor(c, sizeof c, "[2,1,64]", 128, false);
    for (int chunk = 0; chunk < 3; chunk++) {
        snprintf(feed, sizeof feed, form, samples, h, c);
        RunResult* result = onnxruntime_vn_run_json(session, "[\"output\",\"hn\",\"cn\"]", feed);
        if (result == NULL) return fail();
        /* The floats are those of the first output requested. */
        printf("chunk %d: %.3f\n", chunk, (double)onnxruntime_vn_result_float_at(result, 0));
        copy_tensor(h, onnxruntime_vn_result_json(result), "\"hn\":");
        copy_tensor(c, onnxruntime_vn_result_json(result), "\"cn\":");
        onnxruntime_vn_release_result(result);
    }
    return true;
}

int main(int argc, char** argv) {
    if (argc != 2) return fprintf(stderr, "usage: detect MODEL\n"), 1;
    InferenceSession* session = onnxruntime_vn_create_session(argv[1], NULL);
    bool good = session != NULL ? detect(session) : fail();
    onnxruntime_vn_release_session(session); /* Null is allowed. */
    return good ? 0 : 1;
}
