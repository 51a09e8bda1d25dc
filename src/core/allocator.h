// ONNX Runtime's default allocator, and owners of the memory it allocates.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include <memory>

namespace vornic {

// Must not be released. Null on failure, with the reason in the last-error text.
OrtAllocator* default_allocator();

struct AllocatorFree {
    OrtAllocator* allocator;
    void operator()(void* memory) const { allocator->Free(allocator, memory); }
};

template <typename Element>
using AllocatorOwned = std::unique_ptr<Element, AllocatorFree>;

// Owns an array that the allocator returned, and its elements. Releases the elements first, then
// the array.
template <typename Element, typename ElementRelease>
class AllocatorArray {
public:
    AllocatorArray(OrtAllocator* allocator, ElementRelease release, Element** elements,
                   uint64_t count)
        : array_(elements, {allocator}),
          release_(release),
          count_(elements != nullptr ? count : 0) {}
    ~AllocatorArray() {
        for (uint64_t i = 0; i < count_; ++i) {
            if (elements()[i] != nullptr) release_(elements()[i]);
        }
    }

    Element* const* elements() const { return array_.get(); }
    uint64_t count() const { return count_; }

private:
    AllocatorOwned<Element*> array_;
    ElementRelease release_;
    uint64_t count_;
};

}  // namespace vornic
