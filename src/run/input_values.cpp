#include "run/input_values.h"

#include "core/allocator.h"
#include "core/element_type.h"
#include "core/status.h"

using namespace vornic;

namespace {

int32_t make_string_value(InputTensor* entry) {
    OrtAllocator* allocator = default_allocator();
    if (allocator == nullptr) return 0;
    return vnort_status_ok(
               g_api->CreateTensorAsOrtValue(allocator, entry->shape, entry->rank,
                                             ONNX_TENSOR_ELEMENT_DATA_TYPE_STRING, &entry->value),
               "CreateTensorAsOrtValue") &&
           vnort_status_ok(
               g_api->FillStringTensor(entry->value, entry->strings, entry->element_count),
               "FillStringTensor");
}

int32_t make_numeric_value(const OrtMemoryInfo* memory, InputTensor* entry) {
    auto type = static_cast<ONNXTensorElementDataType>(entry->element_type);
    return vnort_status_ok(
        g_api->CreateTensorWithDataAsOrtValue(memory, entry->data, entry->byte_size, entry->shape,
                                              entry->rank, type, &entry->value),
        "CreateTensorWithDataAsOrtValue");
}

}  // namespace

OwnedMemoryInfo vornic::cpu_memory() {
    OwnedMemoryInfo memory;
    vnort_status_ok(
        g_api->CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, Receive(memory)),
        "CreateCpuMemoryInfo");
    return memory;
}

int32_t vornic::make_input_values(InputTensor* entries, uint64_t count) {
    OwnedMemoryInfo memory = cpu_memory();
    if (memory == nullptr) return 0;
    for (InputTensor* entry = entries; entry != entries + count; ++entry) {
        int32_t made = entry->element_type == kString ? make_string_value(entry)
                                                      : make_numeric_value(memory.get(), entry);
        if (!made) return 0;
    }
    return 1;
}

void vornic::vnort_free_input_tensors(InputTensor* entries, uint64_t count) {
    for (InputTensor* entry = entries; entry != entries + count; ++entry) {
        if (entry->value != nullptr && g_api != nullptr) g_api->ReleaseValue(entry->value);
        free_elements(*entry);
    }
}
