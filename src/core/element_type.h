// The element types that cross the interface, in one table: ONNX Runtime's code, the name written
// to JSON, an alias accepted in input, and the size of an element.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

namespace vornic {

struct ElementType {
    uint32_t code;
    const char* name;
    const char* alias;  // null if there is none
    uint32_t size;      // in bytes; 0 for strings
};

inline constexpr uint32_t kFloat32 = ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT;
inline constexpr uint32_t kString = ONNX_TENSOR_ELEMENT_DATA_TYPE_STRING;

inline constexpr ElementType kElementTypes[] = {
    {kFloat32, "float32", "float", 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT8, "uint8", nullptr, 1},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT8, "int8", nullptr, 1},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT16, "uint16", nullptr, 2},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT16, "int16", nullptr, 2},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT32, "int32", "int", 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64, "int64", nullptr, 8},
    {kString, "string", "str", 0},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_BOOL, "bool", "boolean", 1},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_DOUBLE, "float64", "double", 8},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT32, "uint32", nullptr, 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT64, "uint64", nullptr, 8},
};

// The name of a code; "unknown" for a code that is not in the table.
const char* vnort_dtype_name(uint32_t code);

// The row whose name or alias equals a dtype text, case-sensitively; null for no match.
const ElementType* find_dtype(const char* name);

// A bool element of a tensor: one byte, true for every value but 0.
enum class Bool8 : uint8_t {};

// Calls visit with a value of the element's C++ type and returns true. Returns false, without a
// call, for strings, float16 and every other type that is not read or written as numbers.
template <typename Visitor>
bool visit_numeric(uint32_t code, Visitor&& visit) {
    switch (code) {
        case kFloat32: visit(float()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT8: visit(uint8_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT8: visit(int8_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT16: visit(uint16_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT16: visit(int16_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT32: visit(int32_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64: visit(int64_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_BOOL: visit(Bool8()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_DOUBLE: visit(double()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT32: visit(uint32_t()); return true;
        case ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT64: visit(uint64_t()); return true;
        default: return false;
    }
}

inline bool is_numeric(uint32_t code) {
    return visit_numeric(code, [](auto) {});
}

}  // namespace vornic
