#include "session/session_options.h"

#include <stdlib.h>

#include "core/bounded_text.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

namespace {

int32_t store(SessionOptions* options, int32_t SessionOptions::*field, int32_t value) {
    if (options == nullptr) return 0;
    options->*field = value;
    return 1;
}

int32_t set_profiling(SessionOptions* options, int32_t enabled) {
    if (options == nullptr) return 0;
    options->profiling_enabled = enabled;
    options->profiling_disabled = !enabled;
    return 1;
}

}  // namespace

SessionOptions* onnxruntime_vn_create_session_options() {
    auto options = allocate_zeroed<SessionOptions>(1);
    if (options == nullptr) return fail("out of memory");
    options->graph_optimization_level = SessionOptions::kOptimizeAll;
    options->execution_mode = -1;
    options->cpu_mem_arena = -1;
    options->mem_pattern = -1;
    options->log_verbosity_level = -1;
    options->log_severity_level = -1;
    return options.release();
}

int32_t onnxruntime_vn_session_options_set_intra_op_num_threads(SessionOptions* options,
                                                                int32_t count) {
    return store(options, &SessionOptions::intra_op_num_threads, count);
}

int32_t onnxruntime_vn_session_options_set_inter_op_num_threads(SessionOptions* options,
                                                                int32_t count) {
    return store(options, &SessionOptions::inter_op_num_threads, count);
}

int32_t onnxruntime_vn_session_options_set_graph_optimization_level(SessionOptions* options,
                                                                    int32_t level) {
    return store(options, &SessionOptions::graph_optimization_level, level);
}

int32_t onnxruntime_vn_session_options_set_execution_mode(SessionOptions* options, int32_t mode) {
    return store(options, &SessionOptions::execution_mode, mode);
}

int32_t onnxruntime_vn_session_options_enable_profiling(SessionOptions* options,
                                                        const char* prefix) {
    if (!set_profiling(options, 1)) return 0;
    copy_text(options->profile_file_prefix, prefix != nullptr ? prefix : "onnxruntime_profile");
    return 1;
}

int32_t onnxruntime_vn_session_options_disable_profiling(SessionOptions* options) {
    return set_profiling(options, 0);
}

int32_t onnxruntime_vn_session_options_enable_cpu_mem_arena(SessionOptions* options) {
    return store(options, &SessionOptions::cpu_mem_arena, 1);
}

int32_t onnxruntime_vn_session_options_disable_cpu_mem_arena(SessionOptions* options) {
    return store(options, &SessionOptions::cpu_mem_arena, 0);
}

int32_t onnxruntime_vn_session_options_enable_mem_pattern(SessionOptions* options) {
    return store(options, &SessionOptions::mem_pattern, 1);
}

int32_t onnxruntime_vn_session_options_disable_mem_pattern(SessionOptions* options) {
    return store(options, &SessionOptions::mem_pattern, 0);
}

int32_t onnxruntime_vn_session_options_set_log_id(SessionOptions* options, const char* id) {
    if (options == nullptr) return 0;
    copy_text(options->log_id, id);
    return 1;
}

int32_t onnxruntime_vn_session_options_set_log_verbosity_level(SessionOptions* options,
                                                               int32_t level) {
    return store(options, &SessionOptions::log_verbosity_level, level);
}

int32_t onnxruntime_vn_session_options_set_log_severity_level(SessionOptions* options,
                                                              int32_t level) {
    return store(options, &SessionOptions::log_severity_level, level);
}

int32_t onnxruntime_vn_session_options_append_execution_provider(SessionOptions* options,
                                                                 const char* name) {
    return onnxruntime_vn_session_options_append_execution_provider_with_options(options, name,
                                                                                 nullptr);
}

int32_t onnxruntime_vn_session_options_append_execution_provider_with_options(
    SessionOptions* options, const char* name, const char* options_json) {
    if (options == nullptr || name == nullptr || name[0] == '\0') return 0;
    if (options->provider_count == kMaxProviders) return 0;
    uint64_t slot = options->provider_count++;
    copy_text(options->provider_names[slot], name);
    copy_text(options->provider_options[slot], options_json != nullptr ? options_json : "{}");
    return 1;
}

void onnxruntime_vn_release_session_options(SessionOptions* options) { free(options); }
