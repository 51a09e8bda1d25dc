// Writes the outputs of a run into its result, in the same way for all kinds of run apart from the
// options in OutputForm.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "run/run_result.h"

namespace vornic {

struct OutputForm {
    bool data;     // write the elements of numeric outputs, not only dtype and shape
    bool strings;  // write string outputs; otherwise they are reported as unsupported
    bool capture;  // copy the first float32 output
};

// The outputs requested from a run. The names point into the session's or the binding's record.
struct OutputSelection {
    const char* names[kMaxOutputs];
    uint64_t count;

    const char* label(uint64_t index) const { return index < count ? names[index] : ""; }
};

// Writes {"outputs":{...}} into an empty result, with a labelled member for each of `count` values.
// The body of a value that is null or cannot be read is an error member.
void write_outputs(RunResult* result, const OutputSelection& labels, OrtValue* const* values,
                   uint64_t count, OutputForm form);

// The values that Run returns, released at the end of a scope.
class OutputValues {
public:
    OutputValues() = default;
    OutputValues(const OutputValues&) = delete;
    OutputValues& operator=(const OutputValues&) = delete;
    ~OutputValues();

    OrtValue** slots() { return values_; }

private:
    OrtValue* values_[kMaxOutputs] = {};
};

}  // namespace vornic
