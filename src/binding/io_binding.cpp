#include "binding/io_binding.h"

#include <stdlib.h>
#include <string.h>

#include "core/bounded_text.h"
#include "core/float_state.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "core/status.h"
#include "onnxruntime_vornic.h"
#include "run/input_values.h"

using namespace vornic;

namespace {

// The whole name of a bound input, as passed to ONNX Runtime.
const char* bound_name(const IoBinding* binding, uint64_t index) {
    const char* whole = binding->whole_names[index];
    return whole != nullptr ? whole : binding->inputs[index].name;
}

// Keeps a copy of the next input's name if it is too long for its entry.
int32_t keep_whole_name(IoBinding* binding, const char* name) {
    const size_t length = strlen(name);
    if (length < kNameCapacity) return 1;
    char* copy = static_cast<char*>(malloc(length + 1));
    if (copy == nullptr) return fail("out of memory");
    memcpy(copy, name, length + 1);
    binding->whole_names[binding->input_count] = copy;
    return 1;
}

void free_whole_name(IoBinding* binding, uint64_t index) {
    free(binding->whole_names[index]);
    binding->whole_names[index] = nullptr;
}

// ONNX Runtime may keep a value although it refuses to bind it, and after refusing one name it
// refuses every later bind, storing those values too. Only clearing the inputs ends this; the
// accepted ones are then bound again. If one is refused this time, the next run reports it as
// missing.
void rebind_accepted(IoBinding* binding) {
    g_api->ClearBoundInputs(binding->io_binding);
    for (uint64_t i = 0; i < binding->input_count; ++i) {
        ignore_status(g_api->BindInput(binding->io_binding, bound_name(binding, i),
                                       binding->inputs[i].value));
    }
}

// Creates the value of the next entry and binds it. The entry owns the value even if binding fails.
int32_t make_and_bind(IoBinding* binding, const char* name, InputTensor* entry) {
    if (!make_input_values(entry, 1) || !keep_whole_name(binding, name)) return 0;
    if (vnort_status_ok(g_api->BindInput(binding->io_binding, name, entry->value), "BindInput")) {
        return 1;
    }
    rebind_accepted(binding);
    free_whole_name(binding, binding->input_count);
    return 0;
}

// Frees everything the inputs own. ONNX Runtime must have dropped them first.
void free_inputs(IoBinding* binding) {
    vnort_free_input_tensors(binding->inputs, binding->input_count);
    for (uint64_t i = 0; i < binding->input_count; ++i) free_whole_name(binding, i);
}

}  // namespace

IoBinding* onnxruntime_vn_create_iobinding(const InferenceSession* session) {
    if (!is_usable(session) || !vnort_init()) return fail("invalid InferenceSession");
    HeapBlock<IoBinding> binding = allocate_zeroed<IoBinding>(1);
    if (binding == nullptr) return fail("out of memory");
    binding->session = session;
    copy_text(binding->outputs_json, "{}");
    return vnort_status_ok(g_api->CreateIoBinding(session->session, &binding->io_binding),
                           "CreateIoBinding")
               ? binding.release()
               : nullptr;
}

int32_t onnxruntime_vn_iobinding_bind_cpu_input_json(IoBinding* binding, const char* name,
                                                     const char* tensor_json) {
    const DefaultFloatState float_state;
    if (!is_usable(binding) || name == nullptr || tensor_json == nullptr) return 0;
    if (binding->input_count == kMaxInputs) return 0;
    const char* brace = strchr(tensor_json, '{');
    if (brace == nullptr) return fail("tensor_json must be an object");
    InputTensor* entry = &binding->inputs[binding->input_count];
    if (!vnort_parse_input_tensor_body(find_feed_item(brace), name, entry)) return 0;
    if (!make_and_bind(binding, name, entry)) {
        vnort_free_input_tensors(entry, 1);
        return 0;
    }
    ++binding->input_count;
    return 1;
}

int32_t onnxruntime_vn_iobinding_bind_output(IoBinding* binding, const char* name) {
    if (!is_usable(binding) || name == nullptr) return 0;
    if (binding->output_count == kMaxOutputs) return 0;
    OwnedMemoryInfo memory = cpu_memory();
    if (memory == nullptr) return 0;
    OrtStatus* status = g_api->BindOutputToDevice(binding->io_binding, name, memory.get());
    memory.reset();
    if (!vnort_status_ok(status, "BindOutputToDevice")) return 0;
    copy_text(binding->output_names[binding->output_count], name);
    ++binding->output_count;
    return 1;
}

int32_t onnxruntime_vn_iobinding_clear_inputs(IoBinding* binding) {
    if (!is_usable(binding)) return 0;
    g_api->ClearBoundInputs(binding->io_binding);
    free_inputs(binding);
    memset(binding->inputs, 0, sizeof binding->inputs);
    binding->input_count = 0;
    return 1;
}

int32_t onnxruntime_vn_iobinding_clear_outputs(IoBinding* binding) {
    if (!is_usable(binding)) return 0;
    g_api->ClearBoundOutputs(binding->io_binding);
    memset(binding->output_names, 0, sizeof binding->output_names);
    binding->output_count = 0;
    memset(binding->outputs_json, 0, sizeof binding->outputs_json);
    copy_text(binding->outputs_json, "{}");
    return 1;
}

int32_t onnxruntime_vn_iobinding_synchronize_inputs(IoBinding* binding) {
    if (!is_usable(binding)) return 0;
    return vnort_status_ok(g_api->SynchronizeBoundInputs(binding->io_binding),
                           "SynchronizeBoundInputs");
}

int32_t onnxruntime_vn_iobinding_synchronize_outputs(IoBinding* binding) {
    if (!is_usable(binding)) return 0;
    return vnort_status_ok(g_api->SynchronizeBoundOutputs(binding->io_binding),
                           "SynchronizeBoundOutputs");
}

const char* onnxruntime_vn_iobinding_outputs_json(const IoBinding* binding) {
    return binding != nullptr ? binding->outputs_json : "{}";
}

void onnxruntime_vn_release_iobinding(IoBinding* binding) {
    if (binding == nullptr) return;
    if (binding->io_binding != nullptr && g_api != nullptr) {
        g_api->ReleaseIoBinding(binding->io_binding);
    }
    free_inputs(binding);
    free(binding);
}
