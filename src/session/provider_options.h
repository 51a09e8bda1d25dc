// The options of one execution provider, read from a flat JSON object.
#pragma once

#include <stdint.h>

#include "core/limits.h"

namespace vornic {

struct ProviderOptions {
    char keys[kMaxProviderOptions][kNameCapacity];
    char values[kMaxProviderOptions][kOptionValueCapacity];
    uint64_t count;
};

// Reads a text into a list. Values are strings or bare words. Bytes before the first '{' and after
// its '}' are ignored, and so is a trailing comma. 1 with the list filled; 0 with the reason in the
// last-error text and an undefined list.
int32_t vnort_parse_provider_options(const char* text, ProviderOptions* list);

}  // namespace vornic
