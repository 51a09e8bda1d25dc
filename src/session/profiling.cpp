#include "core/allocator.h"
#include "core/bounded_text.h"
#include "core/float_state.h"
#include "core/last_error.h"
#include "core/runtime.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"
#include "session/inference_session.h"

using namespace vornic;

const char* onnxruntime_vn_session_end_profiling(InferenceSession* session) {
    const DefaultFloatState float_state;
    if (!is_usable(session) || !vnort_init()) {
        fail("invalid InferenceSession");
        return "";
    }
    session->profile_path[0] = '\0';
    OrtAllocator* allocator = default_allocator();
    if (allocator == nullptr) return "";
    char* path = nullptr;
    if (!vnort_status_ok(g_api->SessionEndProfiling(session->session, allocator, &path),
                         "SessionEndProfiling")) {
        return "";
    }
    copy_text(session->profile_path, AllocatorOwned<char>(path, {allocator}).get());
    clear_error();
    return session->profile_path;
}
