// ONNX Runtime's default allocator, and the memory that it gives out.
#pragma once

#include <onnxruntime_c_api.h>

#include <memory>

// Never released; null, with the reason in the last-error text, when it cannot be had.
OrtAllocator* vnort_default_allocator();

struct AllocatorFree {
    OrtAllocator* allocator;
    void operator()(void* memory) const { allocator->Free(allocator, memory); }
};

template <typename Element>
using AllocatorOwned = std::unique_ptr<Element, AllocatorFree>;

template <typename Element>
AllocatorOwned<Element> vnort_allocator_owned(OrtAllocator* allocator, Element* memory) {
    return AllocatorOwned<Element>(memory, AllocatorFree{allocator});
}
