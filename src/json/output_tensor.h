// The members of an output's JSON body: dtype, shape and data.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/bounded_text.h"
#include "core/shape.h"

namespace vornic {

// Appends the dimensions, separated by commas, without brackets.
void append_dims(BoundedText& text, Shape shape);

// Appends "dtype", "shape" and "data" of `count` packed elements. For a type that is not numeric,
// no element is read and each is written as null.
void vnort_append_tensor_data_json(BoundedText& text, uint32_t element_type, Shape shape,
                                   const void* elements, uint64_t count);

// The same for a string tensor of `count` elements. 1 if the body is written; 0, with the text
// unchanged, if ONNX Runtime does not return the strings.
int32_t vnort_append_string_tensor_json(BoundedText& text, const OrtValue* value, Shape shape,
                                        uint64_t count);

}  // namespace vornic
