#include "core/runtime.h"

#include "core/last_error.h"
#include "core/runtime_entry.h"
#include "onnxruntime_vornic.h"

const OrtApiBase* g_api_base;
const OrtApi* g_api;

int32_t vnort_init() {
    if (g_api != nullptr) return 1;
    const OrtApiBase* base = vnort_runtime_entry();
    if (base == nullptr) {
        vnort_set_error("OrtGetApiBase returned NULL");
        return 0;
    }
    g_api_base = base;
    g_api = base->GetApi(kApiVersion);
    if (g_api == nullptr) {
        vnort_set_error("GetApi returned NULL");
        return 0;
    }
    vnort_clear_error();
    return 1;
}

int32_t onnxruntime_vn_available() { return vnort_init(); }

const char* onnxruntime_vn_get_version_string() {
    if (!vnort_init() || g_api_base == nullptr) return "";
    return g_api_base->GetVersionString();
}
