// ONNX Runtime's default allocator, and the memory that it gives out.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include <memory>

namespace vornic {

// Never released; null, with the reason in the last-error text, when it cannot be had.
OrtAllocator* default_allocator();

struct AllocatorFree {
    OrtAllocator* allocator;
    void operator()(void* memory) const { allocator->Free(allocator, memory); }
};

template <typename Element>
using AllocatorOwned = std::unique_ptr<Element, AllocatorFree>;

template <typename Element>
AllocatorOwned<Element> allocator_owned(OrtAllocator* allocator, Element* memory) {
    return AllocatorOwned<Element>(memory, AllocatorFree{allocator});
}

// An array that the allocator gave out and the elements in it, handed back at the end of a scope:
// first the elements, then the array.
template <typename Element, typename ElementRelease>
class AllocatorArray {
public:
    AllocatorArray(OrtAllocator* allocator, ElementRelease release)
        : array_(nullptr, AllocatorFree{allocator}), release_(release) {}
    AllocatorArray(const AllocatorArray&) = delete;
    AllocatorArray& operator=(const AllocatorArray&) = delete;
    ~AllocatorArray() {
        for (uint64_t i = 0; i < count_; ++i) {
            if (elements()[i] != nullptr) release_(elements()[i]);
        }
    }

    void take(Element** elements, uint64_t count) {
        array_.reset(elements);
        count_ = elements != nullptr ? count : 0;
    }

    Element* const* elements() const { return array_.get(); }
    uint64_t count() const { return count_; }

private:
    AllocatorOwned<Element*> array_;
    ElementRelease release_;
    uint64_t count_ = 0;
};

}  // namespace vornic
