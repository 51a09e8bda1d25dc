// Inputs and outputs attached to a session for many runs.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "json/input_tensor.h"
#include "session/inference_session.h"

// ONNX Runtime's binding refers to the values of the bound inputs, and the numeric ones lie over
// the entries' own data: entries are freed only when ONNX Runtime has dropped them.
struct IoBinding {
    const InferenceSession* session;  // not owned and not read after creation
    OrtIoBinding* io_binding;         // owned
    vornic::InputTensorSet inputs;    // the first input_count own what they hold
    uint64_t input_count;
    vornic::Name output_names[vornic::kMaxOutputs];  // in the order bound
    uint64_t output_count;
    char outputs_json[vornic::kResultCapacity];  // of the last successful run
    char* whole_names[vornic::kMaxInputs];       // of inputs whose entries hold them cut; owned
};

namespace vornic {

inline bool is_usable(const IoBinding* binding) {
    return binding != nullptr && binding->io_binding != nullptr;
}

}  // namespace vornic
