// The outputs of a run on their way into its result, the same for every kind of run but for what
// OutputForm says.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "run/run_result.h"

namespace vornic {

struct OutputForm {
    bool data;     // numbers are written, not only dtype and shape
    bool strings;  // string tensors are written, not only reported
    bool capture;  // the first float32 output is copied
};

// The outputs of a session that a run is asked for, by names inside the session's record.
struct OutputSelection {
    const char* names[kMaxOutputs];
    uint64_t count;

    const char* label(uint64_t index) const { return index < count ? names[index] : ""; }
};

// Writes {"outputs":{...}} into an empty result, one member for each of count values under its
// label. A value that is null or cannot be read becomes an error member.
void write_outputs(RunResult* result, const OutputSelection& labels, OrtValue* const* values,
                   uint64_t count, OutputForm form);

// The values that Run fills, released at the end of a scope.
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
