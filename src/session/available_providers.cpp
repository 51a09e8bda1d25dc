// The execution providers built into ONNX Runtime.
#include "core/bounded_text.h"
#include "core/runtime.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

static char g_providers_json[1024];

const char* onnxruntime_vn_get_available_providers_json() {
    if (!vnort_init()) return "[]";
    g_providers_json[0] = '\0';
    char** names = nullptr;
    int count = 0;
    if (!vnort_status_ok(g_api->GetAvailableProviders(&names, &count), "GetAvailableProviders")) {
        return "[]";
    }
    BoundedText text = {g_providers_json, sizeof g_providers_json, 0};
    vnort_append(text, "[");
    for (int i = 0; i < count; ++i) {
        vnort_append(text, i > 0 ? ",\"" : "\"");
        vnort_json_escape_append(text, names[i]);
        vnort_append(text, "\"");
    }
    vnort_append(text, "]");
    vnort_status_ok(g_api->ReleaseAvailableProviders(names, count), "ReleaseAvailableProviders");
    return g_providers_json;
}
