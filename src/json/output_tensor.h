// The members of an output's JSON body: dtype, shape and data.
#pragma once

#include <onnxruntime_c_api.h>
#include <stdint.h>

#include "core/bounded_text.h"
#include "core/shape.h"

namespace vornic {

// Appends the dimensions, separated by commas, without brackets.
void append_dims(BoundedText& text, Shape shape);

// Appends "dtype", "shape" and "data" of count packed elements of a numeric type; for a type
// without a numeric form nothing is read and each element is null.
void vnort_append_tensor_data_json(BoundedText& text, uint32_t element_type, Shape shape,
                                   const void* elements, uint64_t count);

// The same for a string tensor of count elements. 1 when the body is written; 0, with the text as
// it was, when the strings cannot be had.
int32_t vnort_append_string_tensor_json(BoundedText& text, const OrtValue* value, Shape shape,
                                        uint64_t count);

}  // namespace vornic
