#include "run/run_result.h"

#include <stdlib.h>
#include <string.h>

#include "core/last_error.h"
#include "core/owned.h"
#include "json/output_tensor.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

void ResultRelease::operator()(RunResult* result) const { onnxruntime_vn_release_result(result); }

OwnedResult vornic::new_result() {
    OwnedResult result(allocate_zeroed<RunResult>(1).release());
    if (result == nullptr) fail("out of memory");
    return result;
}

void vornic::vnort_capture_first_float_output(RunResult* result, Shape shape, const float* elements,
                                              uint64_t count) {
    if (result == nullptr || result->float_data != nullptr) return;
    if (shape.dims == nullptr || shape.rank == 0 || shape.rank > kMaxRank) return;
    if (elements == nullptr || count == 0 || count > SIZE_MAX / sizeof(float)) return;
    result->float_data = static_cast<float*>(malloc(count * sizeof(float)));
    if (result->float_data == nullptr) return;
    memcpy(result->float_data, elements, count * sizeof(float));
    result->float_rank = shape.rank;
    result->float_count = count;
    memcpy(result->float_shape, shape.dims, shape.rank * sizeof(int64_t));
    BoundedText text = {result->float_shape_json, sizeof result->float_shape_json, 0};
    vnort_append(text, "[");
    append_dims(text, shape);
    vnort_append(text, "]");
}

const char* onnxruntime_vn_result_json(const RunResult* result) {
    return result != nullptr ? result->json : "{}";
}

const char* onnxruntime_vn_result_float_shape_json(const RunResult* result) {
    if (result == nullptr || result->float_shape_json[0] == '\0') return "[]";
    return result->float_shape_json;
}

int32_t onnxruntime_vn_result_float_count(const RunResult* result) {
    if (result == nullptr || result->float_count > INT32_MAX) return 0;
    return static_cast<int32_t>(result->float_count);
}

float onnxruntime_vn_result_float_at(const RunResult* result, int32_t index) {
    if (result == nullptr || result->float_data == nullptr || index < 0) return 0;
    uint64_t position = static_cast<uint64_t>(index);
    return position < result->float_count ? result->float_data[position] : 0;
}

const float* onnxruntime_vn_result_float_data(const RunResult* result) {
    return result != nullptr ? result->float_data : nullptr;
}

void onnxruntime_vn_release_result(RunResult* result) {
    if (result == nullptr) return;
    free(result->float_data);
    free(result);
}
