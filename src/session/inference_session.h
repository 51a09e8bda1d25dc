// The session record: ONNX Runtime's objects for one loaded model, and its description.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"

struct InferenceSession {
    OrtEnv* env;  // the three objects are owned
    OrtSessionOptions* options;
    OrtSession* session;
    uint64_t input_count;  // of the names recorded, not of the model's inputs
    uint64_t output_count;
    Name input_names[kMaxInputs];
    Name output_names[kMaxOutputs];
    char inputs_json[kDescriptionCapacity];
    char outputs_json[kDescriptionCapacity];
    char modelmeta_json[4096];
    char profile_path[1024];
};

// Runs, bindings and profiling need a record with a runtime session in it.
inline bool vnort_is_usable(const InferenceSession* session) {
    return session != nullptr && session->session != nullptr;
}
