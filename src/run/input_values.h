// From input tensors to the values that ONNX Runtime runs on.
#pragma once

#include <stdint.h>

#include "core/owned.h"
#include "json/input_tensor.h"

namespace vornic {

// A description of CPU memory; null with the reason in the last-error text.
OwnedMemoryInfo cpu_memory();

// Makes the value of each of count entries: numbers in place, strings copied. 1 when all are made;
// 0 with the reason in the last-error text, and the entries still own what was made.
int32_t make_input_values(InputTensor* entries, uint64_t count);

// Input tensors that live as long as a scope.
class InputTensorScope {
public:
    InputTensorScope() = default;
    InputTensorScope(const InputTensorScope&) = delete;
    InputTensorScope& operator=(const InputTensorScope&) = delete;
    ~InputTensorScope() { vnort_free_input_tensors(entries_, count_); }

    // Reads one more tensor, at most 16 in all.
    int32_t read(const FeedItem& item, const char* name) {
        if (!vnort_parse_input_tensor_body(item, name, &entries_[count_])) return 0;
        ++count_;
        return 1;
    }

    InputTensor* entries() { return entries_; }
    uint64_t count() const { return count_; }

private:
    InputTensorSet entries_;  // each is reset when it is read
    uint64_t count_ = 0;
};

}  // namespace vornic
