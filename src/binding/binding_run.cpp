// The run with a binding, on its bound inputs and outputs.
#include "binding/io_binding.h"
#include "core/allocator.h"
#include "core/bounded_text.h"
#include "core/host_state.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"
#include "run/run_outputs.h"

using namespace vornic;

namespace {

using BoundValues = AllocatorArray<OrtValue, RuntimeRelease<&OrtApi::ReleaseValue>>;

int32_t run(const InferenceSession* session, const IoBinding* binding,
            const OrtRunOptions* options) {
    return vnort_status_ok(g_api->RunWithBinding(session->session, options, binding->io_binding),
                           "RunWithBinding") &&
           vnort_status_ok(g_api->SynchronizeBoundOutputs(binding->io_binding),
                           "SynchronizeBoundOutputs");
}

OutputSelection labels_of(const IoBinding* binding) {
    OutputSelection labels;
    labels.count = binding->output_count;
    for (uint64_t i = 0; i < labels.count; ++i) labels.names[i] = binding->output_names[i];
    return labels;
}

}  // namespace

RunResult* onnxruntime_vn_run_with_iobinding(const InferenceSession* session, IoBinding* binding,
                                             const OrtRunOptions* options) {
    const HostStateScope host;
    if (!host.is_entered()) return nullptr;
    if (!is_usable(session) || !is_usable(binding)) {
        return fail("invalid InferenceSession or IoBinding");
    }
    if (!run(session, binding, options)) return nullptr;
    OrtAllocator* allocator = default_allocator();
    if (allocator == nullptr) return nullptr;
    OrtValue** values = nullptr;
    size_t count = 0;
    if (!vnort_status_ok(
            g_api->GetBoundOutputValues(binding->io_binding, allocator, &values, &count),
            "GetBoundOutputValues")) {
        return nullptr;
    }
    const BoundValues outputs(allocator, {}, values, count);
    OwnedResult result = new_result();
    if (result == nullptr) return nullptr;
    write_outputs(result.get(), labels_of(binding), outputs.elements(), outputs.count(),
                  {.data = true, .strings = true, .capture = false});
    copy_text(binding->outputs_json, result->json);
    clear_error();
    return result.release();
}
