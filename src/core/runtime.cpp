#include "core/runtime.h"

#include "core/c_locale.h"
#include "core/float_state.h"
#include "core/last_error.h"
#include "core/runtime_entry.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

const OrtApiBase* vornic::g_api_base;
const OrtApi* vornic::g_api;

namespace {

int32_t refuse(const char* message) {
    g_api_base = nullptr;
    forget_runtime();
    return fail(message);
}

}  // namespace

int32_t vornic::vnort_init() {
    if (g_api != nullptr) return 1;
    const DefaultFloatState float_state;  // loading a runtime runs its initialisers
    g_api_base = runtime_entry();
    if (g_api_base == nullptr) return refuse("OrtGetApiBase returned NULL");
    g_api = g_api_base->GetApi(kApiVersion);
    if (g_api == nullptr) return refuse("GetApi returned NULL");
    find_c_library();
    clear_error();
    return 1;
}

int32_t onnxruntime_vn_available() { return vnort_init(); }

const char* onnxruntime_vn_get_version_string() {
    if (!vnort_init() || g_api_base == nullptr) return "";
    return g_api_base->GetVersionString();
}
