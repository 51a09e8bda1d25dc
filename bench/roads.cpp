#include "roads.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <random>

#include "core/native_path.h"
#include "core/runtime_entry.h"

namespace {

void check_library(bool good) {
    if (good) return;
    fprintf(stderr, "bench: %s\n", onnxruntime_vn_last_error());
    exit(1);
}

// One thread each, so that the runs compare.
OrtSession* open_directly(const OrtApi* api, const std::string& path) {
    static OrtEnv* env = nullptr;
    if (env == nullptr) check(api, api->CreateEnv(ORT_LOGGING_LEVEL_WARNING, "bench", &env));
    OrtSessionOptions* options = nullptr;
    check(api, api->CreateSessionOptions(&options));
    check(api, api->SetIntraOpNumThreads(options, 1));
    check(api, api->SetSessionGraphOptimizationLevel(options, ORT_ENABLE_ALL));
    NativePath native;
    if (!vnort_native_path(path.c_str(), &native)) abort();
    OrtSession* session = nullptr;
    check(api, api->CreateSession(env, native.text, options, &session));
    api->ReleaseSessionOptions(options);
    return session;
}

InferenceSession* open_library(const std::string& path) {
    SessionOptions* options = onnxruntime_vn_create_session_options();
    onnxruntime_vn_session_options_set_intra_op_num_threads(options, 1);
    InferenceSession* session = onnxruntime_vn_create_session(path.c_str(), options);
    check_library(session != nullptr);
    onnxruntime_vn_release_session_options(options);
    return session;
}

std::vector<const char*> pointers(const Strings& names) {
    std::vector<const char*> result;
    for (const std::string& name : names) result.push_back(name.c_str());
    return result;
}

std::string tensor_json(const std::vector<float>& data) {
    std::string text =
        "{\"dtype\":\"float32\",\"shape\":[" + std::to_string(data.size()) + "],\"data\":[";
    for (size_t i = 0; i < data.size(); ++i) {
        char number[32];
        snprintf(number, sizeof number, i > 0 ? ",%.9g" : "%.9g", static_cast<double>(data[i]));
        text += number;
    }
    return text + "]}";
}

}  // namespace

void check(const OrtApi* api, OrtStatus* status) {
    if (status == nullptr) return;
    fprintf(stderr, "bench: %s\n", api->GetErrorMessage(status));
    exit(1);
}

Roads::Roads(const std::string& folder, const std::string& name, size_t inputs, size_t outputs,
             size_t numbers, Sessions sessions)
    : api_(vnort_runtime_entry()->GetApi(24)) {
    std::mt19937 random(static_cast<unsigned>(numbers));
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (size_t i = 0; i < inputs; ++i) inputs_.push_back("x" + std::to_string(i));
    for (size_t i = 0; i < outputs; ++i) outputs_.push_back("y" + std::to_string(i));
    input_names_ = pointers(inputs_);
    output_names_ = pointers(outputs_);
    for (size_t i = 0; i < inputs; ++i) {
        data_.emplace_back(numbers);
        for (float& number : data_[i]) number = uniform(random);
        feed_ += (i > 0 ? ",\"" : "{\"") + inputs_[i] + "\":" + tensor_json(data_[i]);
    }
    feed_ += "}";
    const std::string path = folder + "/" + name + ".onnx";
    if (sessions != library) prepare_direct(path);
    if (sessions != runtime) prepare_library(path);
}

void Roads::prepare_direct(const std::string& path) {
    session_ = open_directly(api_, path);
    check(api_, api_->CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, &memory_));
    check(api_, api_->CreateIoBinding(session_, &direct_binding_));
    for (size_t i = 0; i < data_.size(); ++i) {
        values_.push_back(make_value(i));
        check(api_, api_->BindInput(direct_binding_, input_names_[i], values_[i]));
    }
    for (const char* output : output_names_) {
        check(api_, api_->BindOutputToDevice(direct_binding_, output, memory_));
    }
}

void Roads::prepare_library(const std::string& path) {
    handle_ = open_library(path);
    const int64_t count = static_cast<int64_t>(data_[0].size());
    tensor_ =
        onnxruntime_vn_tensor_from_f32(data_[0].data(), static_cast<int32_t>(count), &count, 1);
    check_library(tensor_ != nullptr);
    binding_ = onnxruntime_vn_create_iobinding(handle_);
    for (size_t i = 0; i < data_.size(); ++i) {
        check_library(onnxruntime_vn_iobinding_bind_cpu_input_json(binding_, input_names_[i],
                                                                   tensor_json(data_[i]).c_str()));
    }
    for (const char* output : output_names_) {
        check_library(onnxruntime_vn_iobinding_bind_output(binding_, output));
    }
}

Roads::~Roads() {
    onnxruntime_vn_release_tensor(tensor_);
    onnxruntime_vn_release_iobinding(binding_);
    onnxruntime_vn_release_session(handle_);
    if (session_ == nullptr) return;
    api_->ReleaseIoBinding(direct_binding_);
    for (OrtValue* value : values_) api_->ReleaseValue(value);
    api_->ReleaseMemoryInfo(memory_);
    api_->ReleaseSession(session_);
}

OrtValue* Roads::make_value(size_t input) {
    std::vector<float>& data = data_[input];
    const int64_t shape = static_cast<int64_t>(data.size());
    OrtValue* value = nullptr;
    check(api_, api_->CreateTensorWithDataAsOrtValue(memory_, data.data(),
                                                     data.size() * sizeof(float), &shape, 1,
                                                     ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &value));
    return value;
}

void Roads::run_on(const std::vector<OrtValue*>& values) {
    OrtValue* made[16] = {};
    check(api_, api_->Run(session_, nullptr, input_names_.data(), values.data(), values.size(),
                          output_names_.data(), output_names_.size(), made));
    for (size_t i = 0; i < output_names_.size(); ++i) {
        void* data = nullptr;
        check(api_, api_->GetTensorMutableData(made[i], &data));
        api_->ReleaseValue(made[i]);
    }
}

void Roads::direct() {
    std::vector<OrtValue*> values;
    for (size_t i = 0; i < data_.size(); ++i) values.push_back(make_value(i));
    run_on(values);
    for (OrtValue* value : values) api_->ReleaseValue(value);
}

void Roads::direct_kept_values() { run_on(values_); }

void Roads::direct_binding() {
    check(api_, api_->RunWithBinding(session_, nullptr, direct_binding_));
}

RunResult* Roads::run_json() { return onnxruntime_vn_run_json(handle_, nullptr, feed_.c_str()); }

RunResult* Roads::run_tensor() {
    return onnxruntime_vn_run_tensor(handle_, input_names_[0], tensor_, nullptr);
}

RunResult* Roads::run_twin_json() {
    return twin_run_json(api_, session_, inputs_, outputs_, feed_.c_str());
}

RunResult* Roads::run_twin_tensor() {
    const int64_t count = static_cast<int64_t>(data_[0].size());
    return twin_run_tensor(api_, session_, input_names_[0], data_[0].data(), count, outputs_);
}

void Roads::tensor_fast() {
    onnxruntime_vn_release_result(
        onnxruntime_vn_run_tensor_fast(handle_, input_names_[0], tensor_, nullptr));
}

void Roads::binding() {
    onnxruntime_vn_release_result(onnxruntime_vn_run_with_iobinding(handle_, binding_, nullptr));
}

size_t Roads::compare_with_twin() {
    size_t length = 0;
    const auto compare = [&](RunResult* ours, RunResult* twin) {
        check_library(ours != nullptr);
        length = strlen(ours->json);
        const size_t bytes = ours->float_count * sizeof(float);
        if (strcmp(ours->json, twin->json) != 0 || ours->float_count != twin->float_count ||
            memcmp(ours->float_data, twin->float_data, bytes) != 0) {
            fprintf(stderr, "bench: library and twin disagree\n%.200s\n%.200s\n", ours->json,
                    twin->json);
            exit(1);
        }
        onnxruntime_vn_release_result(ours);
        twin_release(twin);
    };
    if (inputs_.size() == 1) compare(run_tensor(), run_twin_tensor());
    compare(run_json(), run_twin_json());
    return length;
}
