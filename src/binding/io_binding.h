// Inputs and outputs bound to a session for repeated runs.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "json/input_tensor.h"
#include "session/inference_session.h"

// ONNX Runtime's binding refers to the values of the bound inputs, and numeric values wrap the
// entries' own data: entries must not be freed before ONNX Runtime has dropped them.
struct IoBinding {
    const InferenceSession* session;  // recorded, never read
    OrtIoBinding* io_binding;         // owned
    vornic::InputTensorSet inputs;    // the first input_count are bound
    uint64_t input_count;
    vornic::Name output_names[vornic::kMaxOutputs];  // in the order bound
    uint64_t output_count;
    char outputs_json[vornic::kResultCapacity];  // of the last successful run
    char* whole_names[vornic::kMaxInputs];       // owned; null if the name fits in the entry
};

namespace vornic {

inline bool is_usable(const IoBinding* binding) {
    return binding != nullptr && binding->io_binding != nullptr;
}

}  // namespace vornic
