// The run on what is bound: no feed, no selection.
#include "binding/io_binding.h"
#include "core/allocator.h"
#include "core/bounded_text.h"
#include "core/c_locale.h"
#include "core/float_state.h"
#include "core/last_error.h"
#include "core/runtime.h"
#include "onnxruntime_vornic.h"
#include "run/run_outputs.h"

namespace {

// The values that a run left in its binding, handed back at the end of a scope: first the values,
// then the array that they came in.
class BoundValues {
public:
    explicit BoundValues(OrtAllocator* allocator)
        : array_(nullptr, AllocatorFree{allocator}), allocator_(allocator) {}
    BoundValues(const BoundValues&) = delete;
    BoundValues& operator=(const BoundValues&) = delete;
    ~BoundValues() {
        for (size_t i = 0; i < count_; ++i) {
            if (array_.get()[i] != nullptr) g_api->ReleaseValue(array_.get()[i]);
        }
    }

    int32_t fetch(const OrtIoBinding* io_binding) {
        OrtValue** values = nullptr;
        size_t count = 0;
        if (!vnort_status_ok(g_api->GetBoundOutputValues(io_binding, allocator_, &values, &count),
                             "GetBoundOutputValues")) {
            return 0;
        }
        array_.reset(values);
        count_ = values != nullptr ? count : 0;
        return 1;
    }

    OrtValue* const* values() const { return array_.get(); }
    size_t count() const { return count_; }

private:
    AllocatorOwned<OrtValue*> array_;
    OrtAllocator* allocator_;
    size_t count_ = 0;
};

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
    const DefaultFloatState float_state;
    const CLocaleScope c_locale;
    if (!vnort_is_usable(session) || !vnort_is_usable(binding)) {
        vnort_set_error("invalid InferenceSession or IoBinding");
        return nullptr;
    }
    if (!run(session, binding, options)) return nullptr;
    OrtAllocator* allocator = vnort_default_allocator();
    if (allocator == nullptr) return nullptr;
    BoundValues outputs(allocator);
    if (!outputs.fetch(binding->io_binding)) return nullptr;
    OwnedResult result = vnort_new_result();
    if (result == nullptr) return nullptr;
    vnort_write_outputs(result.get(), labels_of(binding), outputs.values(), outputs.count(),
                        {.data = true, .strings = true, .capture = false});
    vnort_copy_text(binding->outputs_json, result->json);
    vnort_clear_error();
    return result.release();
}
