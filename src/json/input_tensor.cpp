#include "json/input_tensor.h"

#include <stdlib.h>
#include <string.h>

#include <type_traits>

#include "core/bounded_text.h"
#include "core/element_type.h"
#include "core/last_error.h"
#include "core/owned.h"
#include "json/array_reader.h"
#include "json/number_conversion.h"

using namespace vornic;

namespace {

constexpr size_t kDtypeCapacity = 32;

// The strings of a tensor while they are being read.
class StringList {
public:
    StringList() : slots_(allocate_zeroed<char*>(kMaxElements)) {}
    ~StringList() {
        for (uint64_t i = 0; i < count_ && slots_ != nullptr; ++i) free(slots_.get()[i]);
    }

    bool is_allocated() const { return slots_ != nullptr; }
    bool is_full() const { return count_ == kMaxElements; }

    bool add(const char* text, size_t length) {
        char* copy = static_cast<char*>(malloc(length + 1));
        if (copy == nullptr) return false;
        memcpy(copy, text, length);
        copy[length] = '\0';
        slots_.get()[count_++] = copy;
        return true;
    }

    void give_to(InputTensor* entry) {
        entry->element_count = count_;
        entry->strings = slots_.release();
    }

private:
    HeapBlock<char*> slots_;
    uint64_t count_ = 0;
};

// The byte that a backslash and `byte` encode.
char unescaped(char byte) {
    switch (byte) {
        case 'n': return '\n';
        case 't': return '\t';
        case 'r': return '\r';
        default: return byte;
    }
}

// Reads the items after the opening bracket.
int32_t read_strings(const char* at, StringList* strings) {
    char decoded[kInputStringCapacity];
    AfterItem after = AfterItem::comma;
    while (after == AfterItem::comma) {
        at = skip_blanks(at);
        if (*at == ']') return 1;
        if (strings->is_full()) return fail("JSON string array is too large");
        if (*at != '"') return fail("JSON string array contains a non-string item");
        ++at;
        size_t length = 0;
        if (!read_quoted(&at, decoded, sizeof decoded, &length, unescaped)) {
            return fail("unterminated string in JSON string array");
        }
        if (!strings->add(decoded, length)) return fail("out of memory");
        after = after_item(&at);
        if (after == AfterItem::malformed) return fail("malformed JSON string array");
    }
    return 1;
}

int32_t read_string_data(const char* data_key, InputTensor* entry) {
    const char* bracket = data_key != nullptr ? strchr(data_key, '[') : nullptr;
    if (bracket == nullptr) return 0;
    StringList strings;
    if (!strings.is_allocated()) return fail("out of memory");
    if (!read_strings(bracket + 1, &strings)) return 0;
    strings.give_to(entry);
    return 1;
}

// Reads elements of the tensor's type: floats directly, all others converted from doubles.
int32_t read_elements(const char* data_key, const NumberArrayExtent& extent, uint32_t code,
                      void* elements, uint64_t* count) {
    const auto capacity = static_cast<int64_t>(extent.bound);
    int32_t is_read = 0;
    visit_numeric(code, [&](auto element) {
        using Element = decltype(element);
        if constexpr (std::is_floating_point_v<Element>) {
            is_read = read_numbers(data_key, extent.end, capacity, count,
                                   static_cast<Element*>(elements));
        } else {
            is_read = read_numbers(data_key, extent.end, capacity, count,
                                   {convert_all<Element>, elements});
        }
    });
    return is_read;
}

// Numbers are stored straight into the tensor's block. Counting commas gives its size; a trailing
// comma makes it one element too large.
int32_t read_numeric_data(const char* data_key, uint32_t element_size, InputTensor* entry) {
    const NumberArrayExtent extent = number_array_extent(data_key);
    if (extent.bound == 0) return 0;
    HeapBlock<void> data(malloc(extent.bound * element_size));
    if (data == nullptr) return fail("out of memory");
    uint64_t count = 0;
    if (!read_elements(data_key, extent, entry->element_type, data.get(), &count)) return 0;
    entry->element_count = count;
    entry->byte_size = count * element_size;
    entry->data = data.release();
    return 1;
}

// Reads the value of the dtype key. Null on failure, with the reason in the last-error text unless
// the key has no colon.
const ElementType* read_dtype(const char* dtype_key) {
    if (dtype_key == nullptr) return fail("input tensor is missing dtype");
    const char* colon = strchr(dtype_key, ':');
    if (colon == nullptr) return nullptr;
    const char* value = skip_blanks(colon + 1);
    if (*value != '"') return fail("input tensor dtype must be a string");
    ++value;
    char dtype[kDtypeCapacity];
    size_t length = 0;
    for (; length < kDtypeCapacity - 1 && value[length] != '"' && value[length] != '\0'; ++length) {
        dtype[length] = value[length];
    }
    dtype[length] = '\0';
    const ElementType* type = find_dtype(dtype);
    if (type == nullptr) format_error("unsupported input dtype '%s'", dtype);
    return type;
}

int32_t read_shape(const char* shape_key, InputTensor* entry) {
    double dims[kMaxRank];
    if (!vnort_parse_number_array_double(shape_key, dims, kMaxRank, &entry->rank)) return 0;
    for (uint64_t i = 0; i < entry->rank; ++i) entry->shape[i] = truncate_to_int64(dims[i]);
    return 1;
}

}  // namespace

int32_t vornic::vnort_parse_input_tensor_body(const FeedItem& item, const char* name,
                                              InputTensor* entry) {
    if (name == nullptr) return 0;
    *entry = {};
    copy_text(entry->name, name);
    const ElementType* type = read_dtype(item.dtype);
    if (type == nullptr) return 0;
    entry->element_type = type->code;
    if (!read_shape(item.shape, entry)) return 0;
    if (type->code == kString) return read_string_data(item.data, entry);
    return read_numeric_data(item.data, type->size, entry);
}

void vornic::free_elements(const InputTensor& entry) {
    if (entry.strings != nullptr) {
        for (uint64_t i = 0; i < entry.element_count; ++i) free(entry.strings[i]);
        free(entry.strings);
    }
    free(entry.data);
}
