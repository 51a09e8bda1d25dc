// An input tensor read from JSON, with all that a runtime value made over it needs.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "json/feed.h"

namespace vornic {

// Owns data, the strings and value. A numeric value is made over data without a copy, so it is
// released first.
struct InputTensor {
    Name name;
    int64_t shape[kMaxRank];  // entries past rank are 0
    uint64_t rank;            // 0 is a scalar
    void* data;               // the packed elements; null for strings
    char** strings;           // 65,536 slots, element_count of them used; null for numbers
    uint64_t element_count;
    uint64_t byte_size;  // of the elements; 0 for strings
    uint32_t element_type;
    OrtValue* value;  // made by the entry's user
};

using InputTensorSet = InputTensor[kMaxInputs];

// Reads a feed item into an entry, which it resets first. 1 when the entry is complete; 0 when it
// owns nothing, with the reason in the last-error text except where a key or its array is missing.
int32_t vnort_parse_input_tensor_body(const FeedItem& item, const char* name, InputTensor* entry);

// Releases what count consecutive entries own; the fields stay as they are.
void vnort_free_input_tensors(InputTensor* entries, uint64_t count);

}  // namespace vornic
