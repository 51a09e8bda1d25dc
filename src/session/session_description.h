// What a session says of its model: three JSON texts, written once when it is created. What ONNX
// Runtime refuses is reported in the last-error text and left out.
#pragma once

#include "session/inference_session.h"

namespace vornic {

// Records the names of inputs and outputs and describes them.
void describe_inputs_and_outputs(InferenceSession* session);

// Describes the metadata, emptying the last-error text unless it could not be had at all.
void describe_metadata(InferenceSession* session);

}  // namespace vornic
