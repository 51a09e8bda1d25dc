// The session record: ONNX Runtime's objects for one loaded model, and the model's description.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"

struct InferenceSession {
    OrtEnv* env;  // owned, like the next two
    OrtSessionOptions* options;
    OrtSession* session;
    uint64_t input_count;  // of recorded names; the model may have more inputs
    uint64_t output_count;
    vornic::Name input_names[vornic::kMaxInputs];
    vornic::Name output_names[vornic::kMaxOutputs];
    char inputs_json[vornic::kDescriptionCapacity];
    char outputs_json[vornic::kDescriptionCapacity];
    char modelmeta_json[4096];
    char profile_path[1024];
};

namespace vornic {

// Runs, bindings and profiling require a record that holds a session of ONNX Runtime.
inline bool is_usable(const InferenceSession* session) {
    return session != nullptr && session->session != nullptr;
}

}  // namespace vornic
