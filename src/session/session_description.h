// The description of a session's model: three JSON texts, written when the session is created. A
// detail that ONNX Runtime does not return is left out, with the reason in the last-error text.
#pragma once

#include "session/inference_session.h"

namespace vornic {

// Records and describes the inputs and outputs.
void describe_inputs_and_outputs(InferenceSession* session);

// Describes the metadata. Clears the last-error text unless no metadata was returned at all.
void describe_metadata(InferenceSession* session);

}  // namespace vornic
