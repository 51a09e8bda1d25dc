// An input tensor read from JSON.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/limits.h"
#include "json/feed.h"

namespace vornic {

// Owns `data` and `strings`. `value` belongs to run/input_values, which creates and releases it.
struct InputTensor {
    Name name;
    int64_t shape[kMaxRank];  // 0 beyond the rank
    uint64_t rank;            // 0 for a scalar
    void* data;               // the packed elements; null for strings
    char** strings;           // 65,536 slots, of which element_count are used; null for numbers
    uint64_t element_count;
    uint64_t byte_size;  // of the elements; 0 for strings
    uint32_t element_type;
    OrtValue* value;  // null until created; a numeric one wraps `data`
};

using InputTensorSet = InputTensor[kMaxInputs];

// Resets an entry and reads a feed item into it. 1 if the entry is complete; 0 if not, in which
// case it owns nothing and the last-error text has the reason, unless a key or its array is
// missing.
int32_t vnort_parse_input_tensor_body(const FeedItem& item, const char* name, InputTensor* entry);

// Frees the data or strings of an entry. Its fields keep their stale pointers.
void free_elements(const InputTensor& entry);

}  // namespace vornic
