#include "core/status.h"

#include "core/last_error.h"
#include "core/runtime.h"

int32_t vornic::vnort_status_ok(OrtStatus* status, const char* name) {
    if (status == nullptr) return 1;
    const char* message = g_api != nullptr ? g_api->GetErrorMessage(status) : nullptr;
    const char* separator = message != nullptr ? ": " : "";
    format_error("%s failed%s%s", name, separator, message != nullptr ? message : "");
    ignore_status(status);
    return 0;
}

void vornic::ignore_status(OrtStatus* status) {
    if (status != nullptr && g_api != nullptr) g_api->ReleaseStatus(status);
}
