// ONNX Runtime's values for input tensors: creation and release.
#pragma once

#include <stdint.h>

#include "core/owned.h"
#include "json/input_tensor.h"

namespace vornic {

// A description of CPU memory; null with the reason in the last-error text.
OwnedMemoryInfo cpu_memory();

// Creates the value of each of `count` entries: numeric ones wrap the entry's own data, string
// ones hold copies. 1 if all are created; 0 with the reason in the last-error text, the entries owning
// the values created so far.
int32_t make_input_values(InputTensor* entries, uint64_t count);

// Releases what `count` consecutive entries own: each value, then the data it may wrap. The
// fields keep their stale pointers.
void vnort_free_input_tensors(InputTensor* entries, uint64_t count);

// Input tensors and their values, released at the end of a scope.
class InputTensorScope {
public:
    InputTensorScope() = default;
    InputTensorScope(const InputTensorScope&) = delete;
    InputTensorScope& operator=(const InputTensorScope&) = delete;
    ~InputTensorScope() { vnort_free_input_tensors(entries_, count_); }

    // Reads one more tensor; at most 16 in all.
    int32_t read(const FeedItem& item, const char* name) {
        if (!vnort_parse_input_tensor_body(item, name, &entries_[count_])) return 0;
        ++count_;
        return 1;
    }

    InputTensor* entries() { return entries_; }
    uint64_t count() const { return count_; }

private:
    InputTensorSet entries_;  // an entry is reset when it is read
    uint64_t count_ = 0;
};

}  // namespace vornic
