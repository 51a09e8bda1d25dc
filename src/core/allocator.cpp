#include "core/allocator.h"

#include "core/runtime.h"
#include "core/status.h"

namespace vornic {

OrtAllocator* default_allocator() {
    OrtAllocator* allocator = nullptr;
    if (!vnort_status_ok(g_api->GetAllocatorWithDefaultOptions(&allocator),
                         "GetAllocatorWithDefaultOptions")) {
        return nullptr;
    }
    return allocator;
}

}  // namespace vornic
