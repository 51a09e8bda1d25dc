#include "core/allocator.h"

#include "core/runtime.h"
#include "core/status.h"

OrtAllocator* vornic::default_allocator() {
    OrtAllocator* allocator = nullptr;
    return vnort_status_ok(g_api->GetAllocatorWithDefaultOptions(&allocator),
                           "GetAllocatorWithDefaultOptions")
               ? allocator
               : nullptr;
}
