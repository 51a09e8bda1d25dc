// Creates a session from a model file and a record of settings.
#include <string.h>

#include "core/host_state.h"
#include "core/last_error.h"
#include "core/native_path.h"
#include "core/owned.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"
#include "session/inference_session.h"
#include "session/provider_options.h"
#include "session/session_description.h"
#include "session/session_options.h"

using namespace vornic;

namespace {

struct SessionRelease {
    void operator()(InferenceSession* session) const { onnxruntime_vn_release_session(session); }
};
using OwnedSession = std::unique_ptr<InferenceSession, SessionRelease>;

// Here and below, a setting that ONNX Runtime refuses has no effect and is not reported.
void switch_arena(OrtSessionOptions* to, bool on) {
    ignore_status(on ? g_api->EnableCpuMemArena(to) : g_api->DisableCpuMemArena(to));
}

void set_optimization_level(OrtSessionOptions* to, int32_t level) {
    ignore_status(
        g_api->SetSessionGraphOptimizationLevel(to, static_cast<GraphOptimizationLevel>(level)));
}

void apply_logging_and_profiling(const SessionOptions& settings, OrtSessionOptions* to) {
    if (settings.log_id[0] != '\0') {
        ignore_status(g_api->SetSessionLogId(to, settings.log_id));
    }
    if (settings.log_verbosity_level >= 0) {
        ignore_status(g_api->SetSessionLogVerbosityLevel(to, settings.log_verbosity_level));
    }
    if (settings.log_severity_level >= 0) {
        ignore_status(g_api->SetSessionLogSeverityLevel(to, settings.log_severity_level));
    }
    NativePath prefix;
    if (settings.profiling_enabled && native_path(settings.profile_file_prefix, &prefix)) {
        ignore_status(g_api->EnableProfiling(to, prefix.text));
    }
    if (settings.profiling_disabled) ignore_status(g_api->DisableProfiling(to));
}

void apply_settings(const SessionOptions& settings, OrtSessionOptions* to) {
    if (settings.intra_op_num_threads > 0) {
        ignore_status(g_api->SetIntraOpNumThreads(to, settings.intra_op_num_threads));
    }
    if (settings.inter_op_num_threads > 0) {
        ignore_status(g_api->SetInterOpNumThreads(to, settings.inter_op_num_threads));
    }
    set_optimization_level(to, settings.graph_optimization_level);
    if (settings.execution_mode >= 0) {
        ignore_status(g_api->SetSessionExecutionMode(
            to, static_cast<ExecutionMode>(settings.execution_mode)));
    }
    if (settings.cpu_mem_arena == 0 || settings.cpu_mem_arena == 1) {
        switch_arena(to, settings.cpu_mem_arena == 1);
    }
    if (settings.mem_pattern == 1) ignore_status(g_api->EnableMemPattern(to));
    if (settings.mem_pattern == 0) ignore_status(g_api->DisableMemPattern(to));
    apply_logging_and_profiling(settings, to);
}

// Every session has the CPU provider; its only option is the memory arena.
void apply_cpu_options(const ProviderOptions& list, OrtSessionOptions* to) {
    for (uint64_t i = 0; i < list.count; ++i) {
        if (strcmp(list.keys[i], "use_arena") != 0) continue;
        const char* value = list.values[i];
        switch_arena(to, strcmp(value, "0") != 0 && strcmp(value, "false") != 0);
    }
}

int32_t append_provider(const char* name, const char* options_json, OrtSessionOptions* to) {
    ProviderOptions list;
    if (!vnort_parse_provider_options(options_json, &list)) return 0;
    if (strcmp(name, "CPUExecutionProvider") == 0 || strcmp(name, "CPU") == 0) {
        apply_cpu_options(list, to);
        return 1;
    }
    const char* keys[kMaxProviderOptions];
    const char* values[kMaxProviderOptions];
    for (uint64_t i = 0; i < list.count; ++i) {
        keys[i] = list.keys[i];
        values[i] = list.values[i];
    }
    return vnort_status_ok(
        g_api->SessionOptionsAppendExecutionProvider(to, name, keys, values, list.count),
        "SessionOptionsAppendExecutionProvider");
}

int32_t create_options(const SessionOptions* settings, InferenceSession* session) {
    if (!vnort_status_ok(g_api->CreateSessionOptions(&session->options), "CreateSessionOptions")) {
        return 0;
    }
    if (settings == nullptr) {
        set_optimization_level(session->options, SessionOptions::kOptimizeAll);
        return 1;
    }
    apply_settings(*settings, session->options);
    for (uint64_t i = 0; i < settings->provider_count; ++i) {
        if (!append_provider(settings->provider_names[i], settings->provider_options[i],
                             session->options)) {
            return 0;
        }
    }
    return 1;
}

int32_t load_model(const char* model_path, InferenceSession* session) {
    NativePath path;
    if (!native_path(model_path, &path)) {
        return fail("model path cannot be converted to at most 1023 UTF-16 units");
    }
    return vnort_status_ok(
        g_api->CreateSession(session->env, path.text, session->options, &session->session),
        "CreateSession");
}

}  // namespace

InferenceSession* onnxruntime_vn_create_session(const char* model_path,
                                                const SessionOptions* options) {
    if (!vnort_init()) return nullptr;
    const HostStateScope host;
    if (!host.is_entered()) return nullptr;
    if (model_path == nullptr || model_path[0] == '\0') return fail("empty model path");
    OwnedSession session(allocate_zeroed<InferenceSession>(1).release());
    if (session == nullptr) return fail("out of memory");
    if (!vnort_status_ok(
            g_api->CreateEnv(ORT_LOGGING_LEVEL_WARNING, "vornic-onnxruntime", &session->env),
            "CreateEnv") ||
        !create_options(options, session.get()) || !load_model(model_path, session.get())) {
        return nullptr;
    }
    describe_inputs_and_outputs(session.get());
    describe_metadata(session.get());
    return session.release();
}
