/* How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
 *
 * usage: detect MODEL     (linked with the library, which the program's run path leads to)
 *
 * Every chunk is the same; the answers differ by the detector's state, which each run hands on.
 */
#include <onnxruntime_vornic.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>

enum { SAMPLES_SIZE = 8192, STATE_SIZE = 4096, FEED_SIZE = SAMPLES_SIZE + 2 * STATE_SIZE + 128 };

/* A tensor's text: four periods of a sawtooth in 512 samples, or nothing but zeros. */
static void write_tensor(char* text, size_t size, const char* shape, int count, bool sawtooth) {
    int length = snprintf(text, size, "{\"dtype\":\"float32\",\"shape\":%s,\"data\":[", shape);
    for (int i = 0; i < count; i++) {
        double value = sawtooth ? (i % 128 - 64) / 128.0 : 0;
        length += snprintf(text + length, size - (size_t)length, "%.9g,", value);
    }
    /* The comma after the last number is allowed. */
    snprintf(text + length, size - (size_t)length, "]}");
}

/* Copies an output's tensor from a result's text. It has the form of an input's. */
static bool copy_tensor(char* text, const char* json, const char* key) {
    const char* begin = strstr(json, key);
    const char* end = begin != NULL ? strchr(begin, '}') : NULL;
    if (end == NULL || end - begin >= STATE_SIZE) {
        fprintf(stderr, "detect: %s is missing or too long\n", key);
        return false;
    }
    begin += strlen(key);
    snprintf(text, STATE_SIZE, "%.*s", (int)(end + 1 - begin), begin);
    return true;
}

/* Says why the call before failed. The text means something after a failure only. */
static bool failed(void) {
    const char* text = onnxruntime_vn_last_error();
    fprintf(stderr, "detect: %s\n", *text != '\0' ? text : "refused without a reason");
    return false;
}

static bool detect(const InferenceSession* session) {
    static char samples[SAMPLES_SIZE], h[STATE_SIZE], c[STATE_SIZE], feed[FEED_SIZE];
    write_tensor(samples, sizeof samples, "[1,512]", 512, true);
    write_tensor(h, sizeof h, "[2,1,64]", 128, false);
    write_tensor(c, sizeof c, "[2,1,64]", 128, false);
    const char* rate = "{\"dtype\":\"int64\",\"shape\":[],\"data\":[16000]}";
    static const char form[] = "{\"input\":%s,\"sr\":%s,\"h\":%s,\"c\":%s}";
    bool good = true;
    for (int chunk = 0; good && chunk < 3; chunk++) {
        snprintf(feed, sizeof feed, form, samples, rate, h, c);
        RunResult* result = onnxruntime_vn_run_json(session, "[\"output\",\"hn\",\"cn\"]", feed);
        if (result == NULL) return failed();
        /* The first float32 output is the one named first. */
        printf("chunk %d: %.3f\n", chunk, (double)onnxruntime_vn_result_float_at(result, 0));
        const char* json = onnxruntime_vn_result_json(result);
        good = copy_tensor(h, json, "\"hn\":") && copy_tensor(c, json, "\"cn\":");
        onnxruntime_vn_release_result(result);
    }
    return good;
}

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: detect MODEL\n");
        return 1;
    }
    InferenceSession* session = onnxruntime_vn_create_session(argv[1], NULL);
    bool good = session != NULL ? detect(session) : failed();
    onnxruntime_vn_release_session(session); /* Null is fine. */
    return good ? 0 : 1;
}
