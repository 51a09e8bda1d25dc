#include "core/allocator.h"

#include "core/last_error.h"
#include "core/runtime.h"

OrtAllocator* vnort_default_allocator() {
    OrtAllocator* allocator = nullptr;
    if (!vnort_status_ok(g_api->GetAllocatorWithDefaultOptions(&allocator),
                         "GetAllocatorWithDefaultOptions")) {
        return nullptr;
    }
    return allocator;
}
