#include "run/float_tensor.h"

#include <stdlib.h>
#include <string.h>

#include <utility>

#include "core/float_state.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "json/array_reader.h"
#include "json/number_conversion.h"
#include "onnxruntime_vornic.h"

using namespace vornic;

namespace {

using OwnedTensor = HeapBlock<FloatTensor>;

// A tensor with validated arguments, still without data; null with the reason in the last-error
// text.
OwnedTensor new_tensor(const float* data, int32_t data_count, const int64_t* shape, int32_t rank) {
    if (data == nullptr || data_count < 1 || shape == nullptr || rank < 1 ||
        rank > static_cast<int32_t>(kMaxRank)) {
        return OwnedTensor(fail("invalid float32 tensor input"));
    }
    OwnedTensor tensor = allocate_zeroed<FloatTensor>(1);
    if (tensor == nullptr) return OwnedTensor(fail("out of memory"));
    tensor->rank = rank;
    uint64_t product = 1;
    bool fits = true;
    for (int32_t i = 0; i < rank; ++i) {
        if (shape[i] < 1) return OwnedTensor(fail("tensor shape dimensions must be positive"));
        tensor->dims[i] = shape[i];
        uint64_t dimension = static_cast<uint64_t>(shape[i]);
        fits = fits && !__builtin_mul_overflow(product, dimension, &product);
    }
    if (!fits || product != static_cast<uint64_t>(data_count)) {
        return OwnedTensor(fail("tensor data_count does not match shape"));
    }
    tensor->count = product;
    return tensor;
}

FloatTensor* hand_over(OwnedTensor tensor, float* data) {
    tensor->data = data;
    clear_error();
    return tensor.release();
}

// Reads the dimensions of a shape and their product, which is 0 if it overflows. False with the
// reason in the last-error text.
bool read_shape(const char* shape_json, int64_t (&dims)[kMaxRank], uint64_t* rank, int32_t* count) {
    double numbers[kMaxRank];
    if (!vnort_parse_number_array_double(shape_json, numbers, kMaxRank, rank) || *rank == 0) {
        return fail("invalid shape_json");
    }
    int32_t product = 1;
    bool fits = true;
    for (uint64_t i = 0; i < *rank; ++i) {
        if (!(numbers[i] > 0)) return fail("tensor shape dimensions must be positive");
        dims[i] = truncate_to_int64(numbers[i]);
        fits = fits && dims[i] > 0 && !__builtin_mul_overflow(product, dims[i], &product);
    }
    *count = fits ? product : 0;
    return true;
}

}  // namespace

FloatTensor* onnxruntime_vn_tensor_from_f32(const float* data, int32_t data_count,
                                            const int64_t* shape, int32_t rank) {
    OwnedTensor tensor = new_tensor(data, data_count, shape, rank);
    if (tensor == nullptr) return nullptr;
    size_t bytes = tensor->count * sizeof(float);
    float* copy = static_cast<float*>(malloc(bytes));
    if (copy == nullptr) return fail("out of memory");
    memcpy(copy, data, bytes);
    return hand_over(std::move(tensor), copy);
}

FloatTensor* onnxruntime_vn_tensor_adopt_f32(float* data, int32_t data_count, const int64_t* shape,
                                             int32_t rank) {
    OwnedTensor tensor = new_tensor(data, data_count, shape, rank);
    return tensor != nullptr ? hand_over(std::move(tensor), data) : nullptr;
}

FloatTensor* onnxruntime_vn_tensor_zeros_f32(const char* shape_json) {
    const DefaultFloatState float_state;
    int64_t dims[kMaxRank];
    uint64_t rank = 0;
    int32_t count = 0;
    if (!read_shape(shape_json, dims, &rank, &count)) return nullptr;
    if (count == 0) return fail("invalid float32 tensor input");
    HeapBlock<float> zeros = allocate_zeroed<float>(static_cast<uint64_t>(count));
    if (zeros == nullptr) return fail("out of memory");
    OwnedTensor tensor = new_tensor(zeros.get(), count, dims, static_cast<int32_t>(rank));
    return tensor != nullptr ? hand_over(std::move(tensor), zeros.release()) : nullptr;
}

void onnxruntime_vn_release_tensor(FloatTensor* tensor) {
    if (tensor == nullptr) return;
    free(tensor->data);
    free(tensor);
}
