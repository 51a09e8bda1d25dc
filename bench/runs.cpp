// The cost of a run: the library's run functions and direct calls of ONNX Runtime's C API.
//
//   runs MODEL
//
// MODEL doubles a vector of float32 numbers, x0 to y0. A line is: numbers, call, and the minimum over
// interleaved rounds in ns, separated by tabs.

#include <onnxruntime_c_api.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "onnxruntime_vornic.h"

namespace {

constexpr size_t kSizes[] = {1,    2,    4,    16,   64,    256,   1024,
                             2048, 4096, 5000, 8192, 16384, 32768, 65536};
constexpr double kSeconds = 2;  // for each size
constexpr const char* kInput = "x0";
constexpr const char* kOutput = "y0";

const OrtApi* g_api;
OrtSession* g_direct_session;
OrtMemoryInfo* g_memory;
InferenceSession* g_session;

void check(bool success, const char* reason = onnxruntime_vn_last_error()) {
    if (success) return;
    fprintf(stderr, "runs: %s\n", reason);
    exit(1);
}

void check(OrtStatus* status) {
    if (status != nullptr) check(false, g_api->GetErrorMessage(status));
}

// Both sessions run on one thread, so that they are comparable.
void open_sessions(const char* model) {
    SessionOptions* options = onnxruntime_vn_create_session_options();
    onnxruntime_vn_session_options_set_intra_op_num_threads(options, 1);
    g_session = onnxruntime_vn_create_session(model, options);
    check(g_session != nullptr);
    onnxruntime_vn_release_session_options(options);

    OrtEnv* env = nullptr;
    OrtSessionOptions* direct_options = nullptr;
    g_api = OrtGetApiBase()->GetApi(24);
    check(g_api->CreateEnv(ORT_LOGGING_LEVEL_WARNING, "runs", &env));
    check(g_api->CreateSessionOptions(&direct_options));
    check(g_api->SetIntraOpNumThreads(direct_options, 1));
    check(g_api->CreateSession(env, std::filesystem::path(model).c_str(), direct_options,
                               &g_direct_session));
    g_api->ReleaseSessionOptions(direct_options);
    check(g_api->CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, &g_memory));
}

// As Python and JavaScript write them: the fewest digits that identify the double.
std::string tensor_json(const std::vector<float>& numbers) {
    std::string text =
        "{\"dtype\":\"float32\",\"shape\":[" + std::to_string(numbers.size()) + "],\"data\":[";
    for (const double number : numbers) {
        char digits[32];
        text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr) += ',';
    }
    text.back() = ']';
    return text + "}";
}

struct Call {
    const char* name;
    std::function<void()> run;
    int repeats = 1;  // timed together, so that the clock's resolution does not matter
    double minimum = 1e12;
};

// The same numbers, prepared for every call.
class Input {
public:
    explicit Input(size_t count) : numbers_(count), shape_(static_cast<int64_t>(count)) {
        std::mt19937 random(static_cast<unsigned>(count));
        std::uniform_real_distribution<float> uniform(-1, 1);
        for (float& number : numbers_) number = uniform(random);
        const std::string text = tensor_json(numbers_);
        feed_ = std::string("{\"") + kInput + "\":" + text + "}";
        tensor_ = onnxruntime_vn_tensor_from_f32(numbers_.data(), static_cast<int32_t>(count),
                                                 &shape_, 1);
        check(tensor_ != nullptr);
        binding_ = onnxruntime_vn_create_iobinding(g_session);
        check(onnxruntime_vn_iobinding_bind_cpu_input_json(binding_, kInput, text.c_str()) == 1);
        check(onnxruntime_vn_iobinding_bind_output(binding_, kOutput) == 1);

        value_ = make_value();
        check(g_api->CreateIoBinding(g_direct_session, &direct_binding_));
        check(g_api->BindInput(direct_binding_, kInput, value_));
        check(g_api->BindOutputToDevice(direct_binding_, kOutput, g_memory));
        check_output(run_json());
        check_output(run_tensor());
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() {
        onnxruntime_vn_release_tensor(tensor_);
        onnxruntime_vn_release_iobinding(binding_);
        g_api->ReleaseIoBinding(direct_binding_);
        g_api->ReleaseValue(value_);
    }

    std::vector<Call> calls() {
        const auto release = onnxruntime_vn_release_result;
        const auto fast = onnxruntime_vn_run_tensor_fast;
        const auto bound = onnxruntime_vn_run_with_iobinding;
        return {
            {"direct call", [this] { run_direct(); }},
            {"direct `RunWithBinding`",
             [this] { check(g_api->RunWithBinding(g_direct_session, nullptr, direct_binding_)); }},
            {"fast tensor run", [=, this] { release(fast(g_session, kInput, tensor_, nullptr)); }},
            {"tensor run", [=, this] { release(run_tensor()); }},
            {"JSON run", [=, this] { release(run_json()); }},
            {"run with binding", [=, this] { release(bound(g_session, binding_, nullptr)); }},
        };
    }

private:
    RunResult* run_json() { return onnxruntime_vn_run_json(g_session, nullptr, feed_.c_str()); }
    RunResult* run_tensor() {
        return onnxruntime_vn_run_tensor(g_session, kInput, tensor_, nullptr);
    }

    OrtValue* make_value() {
        OrtValue* value = nullptr;
        check(g_api->CreateTensorWithDataAsOrtValue(g_memory, numbers_.data(),
                                                    numbers_.size() * sizeof(float), &shape_, 1,
                                                    ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &value));
        return value;
    }

    // As a C program uses the C API: its own numbers wrapped in a value, the output read without a copy.
    void run_direct() {
        OrtValue* const value = make_value();
        OrtValue* output = nullptr;
        void* data = nullptr;
        check(g_api->Run(g_direct_session, nullptr, &kInput, &value, 1, &kOutput, 1, &output));
        check(g_api->GetTensorMutableData(output, &data));
        g_api->ReleaseValue(output);
        g_api->ReleaseValue(value);
    }

    void check_output(RunResult* result) {
        check(result != nullptr);
        const float* output = onnxruntime_vn_result_float_data(result);
        check(onnxruntime_vn_result_float_count(result) == shape_ &&
                  std::equal(numbers_.begin(), numbers_.end(), output,
                             [](float number, float doubled) { return doubled == 2 * number; }),
              "a wrong output");
        onnxruntime_vn_release_result(result);
    }

    std::vector<float> numbers_;
    int64_t shape_;
    std::string feed_;
    FloatTensor* tensor_;
    IoBinding* binding_;
    OrtValue* value_;
    OrtIoBinding* direct_binding_ = nullptr;
};

// The first run is not timed: it refills the caches after the previous call.
double time_call(const Call& call) {
    call.run();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < call.repeats; ++i) call.run();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count() / call.repeats;
}

// The calls are interleaved in each round, so that a slow moment of the machine affects all of them.
void measure(size_t count) {
    Input input(count);
    std::vector<Call> calls = input.calls();
    double round = 0;
    for (Call& call : calls) {
        time_call(call);  // warms up caches and arenas
        const double once = std::max(std::min(time_call(call), time_call(call)), 1.0);
        call.repeats = static_cast<int>(std::clamp(100000 / once, 1.0, 1000.0));
        round += once * call.repeats;
    }
    const int rounds = static_cast<int>(std::clamp(kSeconds * 1e9 / round, 5.0, 2000.0));
    for (int i = 0; i < rounds; ++i) {
        for (Call& call : calls) call.minimum = std::min(call.minimum, time_call(call));
    }
    for (const Call& call : calls) printf("%zu\t%s\t%.0f\n", count, call.name, call.minimum);
    fflush(stdout);
}

// A host that has run for a while has free memory inside its heap. In a new process the heap ends after
// its last block, and some heaps return the pages there at each free and fault them in again.
void settle_heap() {
    static void* live[64];  // small blocks, so that they come after the large ones
    void* large[8];
    for (void*& block : large) block = calloc(400, 1024);
    for (void*& block : live) block = malloc(2000);
    for (void* block : large) free(block);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: runs MODEL\n");
        return 2;
    }
    settle_heap();
    open_sessions(argv[1]);
    for (const size_t size : kSizes) measure(size);
    return 0;
}
