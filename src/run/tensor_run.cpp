// The tensor run: one float32 tensor in, neither copied nor converted from JSON.
#include "core/host_state.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "core/status.h"
#include "json/array_reader.h"
#include "onnxruntime_vornic.h"
#include "run/float_tensor.h"
#include "run/input_values.h"
#include "run/run_outputs.h"
#include "session/inference_session.h"

using namespace vornic;

namespace {

// A value that wraps the tensor's own buffer. Null on failure, with the reason in the last-error text.
OwnedValue wrap(const FloatTensor* tensor) {
    OwnedValue value;
    OwnedMemoryInfo memory = cpu_memory();
    if (memory == nullptr) return value;
    OrtStatus* status = g_api->CreateTensorWithDataAsOrtValue(
        memory.get(), tensor->data, tensor->count * sizeof(float), tensor->dims,
        static_cast<size_t>(tensor->rank), ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, Receive(value));
    memory.reset();
    vnort_status_ok(status, "CreateTensorWithDataAsOrtValue");
    return value;
}

RunResult* vnort_run_tensor_impl(const InferenceSession* session, const char* input_name,
                                 const FloatTensor* tensor, const char* output_names_json,
                                 int32_t write_data) {
    const HostStateScope host;
    if (!host.is_entered()) return nullptr;
    if (!is_usable(session) || input_name == nullptr || input_name[0] == '\0' ||
        tensor == nullptr || tensor->data == nullptr)
        return fail("invalid session, input name, or tensor");
    OutputSelection selection;
    if (!vnort_parse_string_array(output_names_json, session->output_names, session->output_count,
                                  selection.names, &selection.count)) {
        return nullptr;
    }
    OwnedResult result = new_result();
    if (result == nullptr) return nullptr;
    OwnedValue input = wrap(tensor);
    if (input == nullptr) return nullptr;
    OutputValues outputs;
    const OrtValue* value = input.get();
    OrtStatus* status = g_api->Run(session->session, nullptr, &input_name, &value, 1,
                                   selection.names, selection.count, outputs.slots());
    input.reset();  // only the run itself needs the value
    if (!vnort_status_ok(status, "Run")) return nullptr;
    write_outputs(result.get(), selection, outputs.slots(), selection.count,
                  {.data = write_data != 0, .strings = false, .capture = true});
    clear_error();
    return result.release();
}

}  // namespace

RunResult* onnxruntime_vn_run_tensor(const InferenceSession* session, const char* input_name,
                                     const FloatTensor* tensor, const char* output_names_json) {
    return vnort_run_tensor_impl(session, input_name, tensor, output_names_json, 1);
}

RunResult* onnxruntime_vn_run_tensor_fast(const InferenceSession* session, const char* input_name,
                                          const FloatTensor* tensor,
                                          const char* output_names_json) {
    return vnort_run_tensor_impl(session, input_name, tensor, output_names_json, 0);
}
