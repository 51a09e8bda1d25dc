// Settings for a session to be created. Setters only store them; session creation applies them.
#pragma once

#include <stdint.h>

#include "core/limits.h"

struct SessionOptions {
    static constexpr int32_t kOptimizeAll = 99;  // ONNX Runtime's level for all optimisations

    int32_t intra_op_num_threads;      // applied if above 0
    int32_t inter_op_num_threads;      // applied if above 0
    int32_t graph_optimization_level;  // always applied
    int32_t execution_mode;            // applied if not negative
    int32_t profiling_enabled;         // never set together with profiling_disabled
    int32_t profiling_disabled;
    int32_t cpu_mem_arena;        // -1 not set, 0 off, 1 on
    int32_t mem_pattern;          // -1 not set, 0 off, 1 on
    int32_t log_verbosity_level;  // applied if not negative
    int32_t log_severity_level;   // applied if not negative
    char profile_file_prefix[512];
    vornic::Name log_id;  // applied unless empty
    vornic::Name provider_names[vornic::kMaxProviders];
    char provider_options[vornic::kMaxProviders][vornic::kProviderOptionsCapacity];  // JSON
    uint64_t provider_count;
};
