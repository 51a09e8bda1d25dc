// A run-options handle is ONNX Runtime's own object.
#include "core/runtime.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

OrtRunOptions* onnxruntime_vn_create_run_options() {
    if (!vnort_init()) return nullptr;
    OrtRunOptions* options = nullptr;
    return vnort_status_ok(g_api->CreateRunOptions(&options), "CreateRunOptions") ? options
                                                                                  : nullptr;
}

int32_t onnxruntime_vn_run_options_set_log_verbosity_level(OrtRunOptions* options, int32_t level) {
    if (options == nullptr || !vnort_init()) return 0;
    return vnort_status_ok(g_api->RunOptionsSetRunLogVerbosityLevel(options, level),
                           "RunOptionsSetRunLogVerbosityLevel");
}

int32_t onnxruntime_vn_run_options_set_log_severity_level(OrtRunOptions* options, int32_t level) {
    if (options == nullptr || !vnort_init()) return 0;
    return vnort_status_ok(g_api->RunOptionsSetRunLogSeverityLevel(options, level),
                           "RunOptionsSetRunLogSeverityLevel");
}

int32_t onnxruntime_vn_run_options_set_run_tag(OrtRunOptions* options, const char* tag) {
    if (options == nullptr || !vnort_init()) return 0;
    return vnort_status_ok(g_api->RunOptionsSetRunTag(options, tag != nullptr ? tag : ""),
                           "RunOptionsSetRunTag");
}

int32_t onnxruntime_vn_run_options_set_terminate(OrtRunOptions* options) {
    if (options == nullptr || !vnort_init()) return 0;
    return vnort_status_ok(g_api->RunOptionsSetTerminate(options), "RunOptionsSetTerminate");
}

int32_t onnxruntime_vn_run_options_unset_terminate(OrtRunOptions* options) {
    if (options == nullptr || !vnort_init()) return 0;
    return vnort_status_ok(g_api->RunOptionsUnsetTerminate(options), "RunOptionsUnsetTerminate");
}

void onnxruntime_vn_release_run_options(OrtRunOptions* options) {
    if (options != nullptr && g_api != nullptr) g_api->ReleaseRunOptions(options);
}
