// Owning types for the objects of ONNX Runtime and for heap blocks: one line a kind.
#pragma once

#include <stdlib.h>

#include <memory>

#include "core/runtime.h"

namespace vornic {

// Releases through a member of the function table.
template <auto member>
struct RuntimeRelease {
    template <typename Object>
    void operator()(Object* object) const {
        (g_api->*member)(object);
    }
};

template <typename Object, auto member>
using Owned = std::unique_ptr<Object, RuntimeRelease<member>>;

using OwnedMemoryInfo = Owned<OrtMemoryInfo, &OrtApi::ReleaseMemoryInfo>;
using OwnedMetadata = Owned<OrtModelMetadata, &OrtApi::ReleaseModelMetadata>;
using OwnedTensorInfo = Owned<OrtTensorTypeAndShapeInfo, &OrtApi::ReleaseTensorTypeAndShapeInfo>;
using OwnedTypeInfo = Owned<OrtTypeInfo, &OrtApi::ReleaseTypeInfo>;
using OwnedValue = Owned<OrtValue, &OrtApi::ReleaseValue>;

// A block of the C library's heap.
struct BlockFree {
    void operator()(void* block) const { free(block); }
};

template <typename Element>
using HeapBlock = std::unique_ptr<Element, BlockFree>;

// A block of count zeroed elements, at least one; null when there is no memory for it or its size
// does not fit in a size_t.
template <typename Element>
HeapBlock<Element> allocate_zeroed(uint64_t count) {
    return HeapBlock<Element>(
        static_cast<Element*>(calloc(count > 0 ? count : 1, sizeof(Element))));
}

// Hands an owner to a function that stores the object through a pointer to a pointer. The owner
// takes the object at the end of the full expression, and not before.
template <typename Owner>
class Receive {
public:
    explicit Receive(Owner& owner) : owner_(owner) {}
    Receive(const Receive&) = delete;
    Receive& operator=(const Receive&) = delete;
    ~Receive() { owner_.reset(object_); }
    operator typename Owner::element_type **() { return &object_; }

private:
    Owner& owner_;
    typename Owner::element_type* object_ = nullptr;
};

}  // namespace vornic
