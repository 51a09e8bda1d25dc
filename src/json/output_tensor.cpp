#include "json/output_tensor.h"

#include "core/element_type.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "core/status.h"
#include "number/number_writer.h"

using namespace vornic;

namespace {

using vornic::write_numbers;

// The same for bools.
NumbersWritten write_numbers(char* first, const char* end, const Bool8* bools, uint64_t count) {
    uint64_t i = 0;
    for (; i < count && end - first > static_cast<int64_t>(kNumberCapacity); ++i) {
        const std::string_view word = bools[i] != Bool8(0) ? "true," : "false,";
        memcpy(first, word.data(), word.size());
        first += word.size();
    }
    return {first, i};
}

// Appends elements separated by commas: directly while the longest possible one fits, then, near the
// end of the array, one at a time through a buffer from which each is cut to fit.
template <typename Element>
void append_elements(BoundedText& text, const Element* elements, uint64_t count) {
    const char* const end = text.buffer + text.capacity;
    NumbersWritten written = write_numbers(text.buffer + text.length, end, elements, count);
    uint64_t i = written.count;
    text.length = static_cast<uint64_t>(written.end - text.buffer) - (i > 0 && i == count);
    vnort_append(text, "");
    for (; i < count && !is_full(text); ++i) {
        char buffer[kNumberCapacity + 1];
        written = write_numbers(buffer, buffer + sizeof buffer, elements + i, 1);
        const size_t length = static_cast<size_t>(written.end - buffer) - (i + 1 == count);
        vnort_append(text, {buffer, length});
    }
}

void append_nulls(BoundedText& text, uint64_t count) {
    for (uint64_t i = 0; i < count && !is_full(text); ++i) {
        vnort_append(text, i > 0 ? ",null" : "null");
    }
}

// The strings of a tensor as ONNX Runtime returns them: their bytes concatenated, and the offset of
// each string.
struct StringContent {
    HeapBlock<char> bytes;
    HeapBlock<size_t> offsets;
    size_t total = 0;

    bool fetch(const OrtValue* value, uint64_t count) {
        if (!vnort_status_ok(g_api->GetStringTensorDataLength(value, &total),
                             "GetStringTensorDataLength")) {
            return false;
        }
        bytes = allocate_zeroed<char>(total);
        offsets = allocate_zeroed<size_t>(count);
        if (bytes == nullptr || offsets == nullptr) return fail("out of memory");
        return vnort_status_ok(
            g_api->GetStringTensorContent(value, bytes.get(), total, offsets.get(), count),
            "GetStringTensorContent");
    }
};

void append_strings(BoundedText& text, const StringContent& content, uint64_t count) {
    const size_t* offsets = content.offsets.get();
    for (uint64_t i = 0; i < count && !is_full(text); ++i) {
        size_t start = offsets[i];
        size_t end = i + 1 < count ? offsets[i + 1] : content.total;
        vnort_append(text, i > 0 ? ",\"" : "\"");
        if (start <= end && end <= content.total) {
            vnort_json_escape_append(text, content.bytes.get() + start, end - start);
        }
        vnort_append(text, "\"");
    }
}

}  // namespace

void vornic::append_dims(BoundedText& text, Shape shape) {
    append_elements(text, shape.dims, shape.rank);
}

void vornic::vnort_append_tensor_data_json(BoundedText& text, uint32_t element_type, Shape shape,
                                           const void* elements, uint64_t count) {
    vnort_append(text, "\"dtype\":\"");
    vnort_json_escape_append(text, vnort_dtype_name(element_type));
    vnort_append(text, "\",\"shape\":[");
    append_dims(text, shape);
    vnort_append(text, "],\"data\":[");
    bool is_numeric = visit_numeric(element_type, [&](auto element) {
        append_elements(text, static_cast<const decltype(element)*>(elements), count);
    });
    if (!is_numeric) append_nulls(text, count);
    vnort_append(text, "]");
}

int32_t vornic::vnort_append_string_tensor_json(BoundedText& text, const OrtValue* value,
                                                Shape shape, uint64_t count) {
    StringContent content;
    if (!content.fetch(value, count)) return 0;
    vnort_append(text, "\"dtype\":\"string\",\"shape\":[");
    append_dims(text, shape);
    vnort_append(text, "],\"data\":[");
    append_strings(text, content, count);
    vnort_append(text, "]");
    return 1;
}
