#include "session/session_description.h"

#include "core/allocator.h"
#include "core/bounded_text.h"
#include "core/element_type.h"
#include "core/owned.h"
#include "core/status.h"
#include "json/output_tensor.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

namespace {

constexpr uint64_t kMaxDescribedRank = 16;
constexpr uint64_t kMaxNames = kMaxInputs;
static_assert(kMaxNames == kMaxOutputs);

// Inputs and outputs differ in the calls that describe them and in the fields that hold the
// results.
struct Side {
    const char* count_call;
    const char* name_call;
    const char* type_call;
    decltype(&OrtApi::SessionGetInputCount) get_count;
    decltype(&OrtApi::SessionGetInputName) get_name;
    decltype(&OrtApi::SessionGetInputTypeInfo) get_type;
    uint64_t InferenceSession::*count;
    Name (InferenceSession::*names)[kMaxNames];
    char (InferenceSession::*json)[kDescriptionCapacity];
};

constexpr Side kInputs = {
    "SessionGetInputCount",         "SessionGetInputName",
    "SessionGetInputTypeInfo",      &OrtApi::SessionGetInputCount,
    &OrtApi::SessionGetInputName,   &OrtApi::SessionGetInputTypeInfo,
    &InferenceSession::input_count, &InferenceSession::input_names,
    &InferenceSession::inputs_json,
};

constexpr Side kOutputs = {
    "SessionGetOutputCount",         "SessionGetOutputName",
    "SessionGetOutputTypeInfo",      &OrtApi::SessionGetOutputCount,
    &OrtApi::SessionGetOutputName,   &OrtApi::SessionGetOutputTypeInfo,
    &InferenceSession::output_count, &InferenceSession::output_names,
    &InferenceSession::outputs_json,
};

// The dimensions' symbolic names, each in quotes.
void append_symbols(BoundedText& text, const OrtTensorTypeAndShapeInfo* info, uint64_t rank) {
    const char* symbols[kMaxDescribedRank] = {};
    if (!vnort_status_ok(g_api->GetSymbolicDimensions(info, symbols, rank),
                         "GetSymbolicDimensions")) {
        return;
    }
    for (uint64_t i = 0; i < rank; ++i) {
        vnort_append(text, i > 0 ? ",\"" : "\"");
        vnort_json_escape_append(text, symbols[i]);
        vnort_append(text, "\"");
    }
}

// Appends the dimensions and returns the rank; appends nothing and returns 0 if the rank is unknown
// or above 16.
uint64_t append_described_dims(BoundedText& text, const OrtTensorTypeAndShapeInfo* info) {
    size_t rank = 0;
    if (!vnort_status_ok(g_api->GetDimensionsCount(info, &rank), "GetDimensionsCount")) return 0;
    if (rank > kMaxDescribedRank) return 0;
    int64_t dims[kMaxDescribedRank];
    if (vnort_status_ok(g_api->GetDimensions(info, dims, rank), "GetDimensions")) {
        append_dims(text, {dims, rank});
    }
    return rank;
}

void append_dtype(BoundedText& text, const OrtTensorTypeAndShapeInfo* info) {
    ONNXTensorElementDataType code = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    bool is_known =
        vnort_status_ok(g_api->GetTensorElementType(info, &code), "GetTensorElementType");
    vnort_json_escape_append(text, is_known ? vnort_dtype_name(code) : "unknown");
}

void vnort_append_tensor_description_json(BoundedText& text, const char* name,
                                          const OrtTensorTypeAndShapeInfo* info) {
    vnort_append(text, "{\"name\":\"");
    vnort_json_escape_append(text, name);
    vnort_append(text, "\",\"type\":\"tensor\",\"dtype\":\"");
    if (info == nullptr) {
        vnort_append(text, "unknown\",\"shape\":[],\"shape_symbols\":[]}");
        return;
    }
    append_dtype(text, info);
    vnort_append(text, "\",\"shape\":[");
    uint64_t rank = append_described_dims(text, info);
    vnort_append(text, "],\"shape_symbols\":[");
    if (rank > 0) append_symbols(text, info, rank);
    vnort_append(text, "]}");
}

// Appends one entry, preceded by a comma unless it is the first. An entry whose name ONNX Runtime
// does not return is left out, comma included.
void vnort_describe_one_io(InferenceSession* session, const Side& side, uint64_t index,
                           OrtAllocator* allocator, BoundedText& text) {
    char* given_name = nullptr;
    if (!vnort_status_ok((g_api->*side.get_name)(session->session, index, allocator, &given_name),
                         side.name_call)) {
        return;
    }
    AllocatorOwned<char> name(given_name, {allocator});
    if (index < kMaxNames) copy_text((session->*side.names)[index], name.get());

    OwnedTypeInfo type;
    const OrtTensorTypeAndShapeInfo* info = nullptr;  // owned by `type`
    vnort_status_ok((g_api->*side.get_type)(session->session, index, Receive(type)),
                    side.type_call);
    if (type != nullptr) {
        vnort_status_ok(g_api->CastTypeInfoToTensorInfo(type.get(), &info),
                        "CastTypeInfoToTensorInfo");
    }
    if (text.length > 1) vnort_append(text, ",");
    vnort_append_tensor_description_json(text, name.get(), info);
}

// False if ONNX Runtime does not even return the number of inputs (or outputs).
bool describe_side(InferenceSession* session, const Side& side, OrtAllocator* allocator) {
    size_t count = 0;
    if (!vnort_status_ok((g_api->*side.get_count)(session->session, &count), side.count_call)) {
        return false;
    }
    session->*side.count = count < kMaxNames ? count : kMaxNames;
    BoundedText text = {session->*side.json, sizeof(session->*side.json), 0};
    vnort_append(text, "[");
    // The last few bytes are reserved for the closing bracket; entries that no longer fit are left
    // out.
    for (uint64_t i = 0; i < count && text.length + 8 < text.capacity; ++i) {
        vnort_describe_one_io(session, side, i, allocator, text);
    }
    if (text.length + 2 < text.capacity) vnort_append(text, "]");
    return true;
}

}  // namespace

void vornic::describe_inputs_and_outputs(InferenceSession* session) {
    copy_text(session->inputs_json, "[]");
    copy_text(session->outputs_json, "[]");
    OrtAllocator* allocator = default_allocator();
    if (allocator == nullptr) return;
    if (describe_side(session, kInputs, allocator)) describe_side(session, kOutputs, allocator);
}
