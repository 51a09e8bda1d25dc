// The result of a run: its outputs as JSON text, and a copy of the first float32 output.
#pragma once

#include <stdint.h>

#include <memory>

#include "core/limits.h"
#include "core/shape.h"

// The float fields are zero until an output is captured, at most once.
struct RunResult {
    char json[vornic::kResultCapacity];
    int64_t float_shape[vornic::kMaxRank];
    uint64_t float_rank;
    uint64_t float_count;
    float* float_data;  // owned
    char float_shape_json[128];
};

namespace vornic {

// Captures a float32 output if it is the first with 1 to 8 dimensions and at least one element. If
// memory runs out, nothing is captured and nothing is reported.
void vnort_capture_first_float_output(RunResult* result, Shape shape, const float* elements,
                                      uint64_t count);

struct ResultRelease {
    void operator()(RunResult* result) const;
};
using OwnedResult = std::unique_ptr<RunResult, ResultRelease>;

// An empty result; null with "out of memory" in the last-error text.
OwnedResult new_result();

}  // namespace vornic
