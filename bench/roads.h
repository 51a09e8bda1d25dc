// One model and one set of data, ready to go through each road: the library's and the direct call.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "onnxruntime_vornic.h"

using Strings = std::vector<std::string>;

// Ends the program on a refusal.
void check(const OrtApi* api, OrtStatus* status);

class Roads {
public:
    // The model NAME.onnx of a folder, whose inputs are x0, x1, ... and whose outputs are y0, y1, ...,
    // each of so many numbers.
    Roads(const std::string& folder, const std::string& name, size_t inputs, size_t outputs,
          size_t numbers);
    Roads(const Roads&) = delete;
    Roads& operator=(const Roads&) = delete;
    ~Roads();

    // The C API as a C program uses it: values over the caller's data are made for each run, and
    // the outputs' data is read in place. Then the same without making the values, and with a
    // binding made before.
    void direct();
    void direct_kept_values();
    void direct_binding();

    void json() { onnxruntime_vn_release_result(run_json()); }
    void tensor() { onnxruntime_vn_release_result(run_tensor()); }
    void tensor_fast();
    void binding();

    // Ends the program unless the JSON run, and the tensor run where there is one, give the right numbers.
    void check_outputs();

private:
    RunResult* run_json();
    RunResult* run_tensor();
    void prepare_direct(const std::string& path);
    void prepare_library(const std::string& path);
    OrtValue* make_value(size_t input);
    void run_on(const std::vector<OrtValue*>& values);
    void check_output(RunResult* result);

    const OrtApi* api_;
    OrtSession* session_ = nullptr;
    OrtMemoryInfo* memory_ = nullptr;
    OrtIoBinding* direct_binding_ = nullptr;
    InferenceSession* handle_ = nullptr;
    FloatTensor* tensor_ = nullptr;
    IoBinding* binding_ = nullptr;
    Strings inputs_;
    Strings outputs_;
    std::vector<const char*> input_names_;
    std::vector<const char*> output_names_;
    std::vector<std::vector<float>> data_;
    std::vector<OrtValue*> values_;
    std::string feed_;
};
