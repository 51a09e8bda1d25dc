#include "roads.h"

#include <stdio.h>
#include <stdlib.h>

#include <charconv>
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
    vornic::NativePath native;
    if (!vornic::native_path(path.c_str(), &native)) abort();
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

// Numbers as Python, Node.js and others write them: the fewest digits that give back the double.
std::string tensor_json(const std::vector<float>& data) {
    std::string text =
        "{\"dtype\":\"float32\",\"shape\":[" + std::to_string(data.size()) + "],\"data\":[";
    for (const float number : data) {
        char digits[32];
        const double exact = number;
        text.append(digits, std::to_chars(digits, digits + sizeof digits, exact).ptr) += ',';
    }
    text.back() = ']';
    return text + "}";
}

}  // namespace

void check(const OrtApi* api, OrtStatus* status) {
    if (status == nullptr) return;
    fprintf(stderr, "bench: %s\n", api->GetErrorMessage(status));
    exit(1);
}

Roads::Roads(const std::string& folder, const std::string& name, size_t inputs, size_t outputs,
             size_t numbers)
    : api_(vornic::runtime_entry()->GetApi(24)) {
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
    prepare_direct(path);
    prepare_library(path);
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

void Roads::tensor_fast() {
    onnxruntime_vn_release_result(
        onnxruntime_vn_run_tensor_fast(handle_, input_names_[0], tensor_, nullptr));
}

void Roads::binding() {
    onnxruntime_vn_release_result(onnxruntime_vn_run_with_iobinding(handle_, binding_, nullptr));
}

// Every model adds up its inputs; one input is added to itself.
void Roads::check_output(RunResult* result) {
    check_library(result != nullptr);
    const float* const output = onnxruntime_vn_result_float_data(result);
    const size_t count = static_cast<size_t>(onnxruntime_vn_result_float_count(result));
    for (size_t i = 0; i < data_[0].size(); ++i) {
        float sum = inputs_.size() == 1 ? data_[0][i] : 0;
        for (const std::vector<float>& input : data_) sum += input[i];
        if (count != data_[0].size() || output[i] != sum) {
            fprintf(stderr, "bench: output %zu of %zu is wrong\n", i, count);
            exit(1);
        }
    }
    onnxruntime_vn_release_result(result);
}

void Roads::check_outputs() {
    if (inputs_.size() == 1) check_output(run_tensor());
    check_output(run_json());
}
