// Owning types for ONNX Runtime's objects and for heap blocks, one line each.
#pragma once

#include <stdlib.h>

#include <memory>

#include "core/runtime.h"

namespace vornic {

// Releases an object through a member of the function table.
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

// A block on the C heap.
struct BlockFree {
    void operator()(void* block) const { free(block); }
};

template <typename Element>
using HeapBlock = std::unique_ptr<Element, BlockFree>;

// A zeroed block of `count` elements, or of one if `count` is 0. Null if out of memory or if the
// size overflows size_t.
template <typename Element>
HeapBlock<Element> allocate_zeroed(uint64_t count) {
    return HeapBlock<Element>(
        static_cast<Element*>(calloc(count > 0 ? count : 1, sizeof(Element))));
}

// Adapts an owner to a function that returns an object through an out-parameter. The owner takes
// the object at the end of the full expression, not before.
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
