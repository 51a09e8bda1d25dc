#include "run/run_outputs.h"

#include "core/bounded_text.h"
#include "core/element_type.h"
#include "core/owned.h"
#include "core/status.h"
#include "json/output_tensor.h"

using namespace vornic;

namespace {

constexpr const char* kUnreadable = "\"error\":\"failed to read output tensor\"";
constexpr const char* kUnreadableStrings = "\"error\":\"failed to read string output tensor\"";

// The properties of one output value, queried from ONNX Runtime.
struct OutputTensor {
    OwnedTensorInfo info;
    ONNXTensorElementDataType element_type = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    int64_t dims[kMaxRank];
    size_t rank = 0;
    size_t count = 0;

    Shape shape() const { return {dims, rank}; }

    bool query(const OrtValue* value) {
        if (!vnort_status_ok(g_api->GetTensorTypeAndShape(value, Receive(info)),
                             "GetTensorTypeAndShape")) {
            return false;
        }
        return vnort_status_ok(g_api->GetTensorElementType(info.get(), &element_type),
                               "GetTensorElementType") &&
               vnort_status_ok(g_api->GetDimensionsCount(info.get(), &rank),
                               "GetDimensionsCount") &&
               rank <= kMaxRank &&
               vnort_status_ok(g_api->GetDimensions(info.get(), dims, rank), "GetDimensions") &&
               vnort_status_ok(g_api->GetTensorShapeElementCount(info.get(), &count),
                               "GetTensorShapeElementCount");
    }
};

void append_unsupported(BoundedText& text, uint32_t element_type) {
    vnort_appendf(text, "\"error\":\"unsupported output dtype %d\"",
                  static_cast<int>(element_type));
}

void append_dtype_and_shape(BoundedText& text, const OutputTensor& tensor) {
    vnort_append(text, "\"dtype\":\"");
    vnort_append(text, vnort_dtype_name(tensor.element_type));
    vnort_append(text, "\",\"shape\":[");
    append_dims(text, tensor.shape());
    vnort_append(text, "]");
}

void append_numbers(RunResult* result, BoundedText& text, OrtValue* value,
                    const OutputTensor& tensor, OutputForm form) {
    void* data = nullptr;
    if (!vnort_status_ok(g_api->GetTensorMutableData(value, &data), "GetTensorMutableData")) {
        append_unsupported(text, tensor.element_type);
        return;
    }
    if (form.capture && tensor.element_type == kFloat32) {
        vnort_capture_first_float_output(result, tensor.shape(), static_cast<const float*>(data),
                                         tensor.count);
    }
    if (form.data) {
        vnort_append_tensor_data_json(text, tensor.element_type, tensor.shape(), data,
                                      tensor.count);
    } else {
        append_dtype_and_shape(text, tensor);
    }
}

void append_body(RunResult* result, BoundedText& text, OrtValue* value, OutputForm form) {
    OutputTensor tensor;
    if (value == nullptr || !tensor.query(value)) {
        vnort_append(text, kUnreadable);
    } else if (tensor.element_type == kString && form.strings) {
        if (!vnort_append_string_tensor_json(text, value, tensor.shape(), tensor.count)) {
            vnort_append(text, kUnreadableStrings);
        }
    } else if (is_numeric(tensor.element_type)) {
        append_numbers(result, text, value, tensor, form);
    } else {
        append_unsupported(text, tensor.element_type);
    }
}

}  // namespace

void vornic::write_outputs(RunResult* result, const OutputSelection& labels,
                           OrtValue* const* values, uint64_t count, OutputForm form) {
    BoundedText text = {result->json, sizeof result->json, 0};
    vnort_append(text, "{\"outputs\":{");
    for (uint64_t i = 0; i < count; ++i) {
        vnort_append(text, i > 0 ? ",\"" : "\"");
        vnort_json_escape_append(text, labels.label(i));
        vnort_append(text, "\":{");
        append_body(result, text, values[i], form);
        vnort_append(text, "}");
    }
    vnort_append(text, "}}");
}

OutputValues::~OutputValues() {
    for (OrtValue* value : values_) {
        if (value != nullptr) g_api->ReleaseValue(value);
    }
}
