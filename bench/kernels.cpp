#include "kernels.h"

#include "json/array_reader.h"
#include "json/number_conversion.h"
#if __has_include("number/number_writer.h")
#include "number/number_writer.h"
#else  // commits before that folder
#include "json/number_writer.h"
#endif

namespace {

template <typename Element>
uint64_t read(const char* text, Element* to) {
    const NumberArrayExtent extent = vnort_number_array_extent(text);
    const auto capacity = static_cast<int64_t>(extent.bound);
    uint64_t count = 0;
    // Some types are read without a sink, in commits that can.
    if constexpr (requires { vnort_read_numbers(text, extent.end, capacity, &count, to); }) {
        vnort_read_numbers(text, extent.end, capacity, &count, to);
    } else {
        vnort_read_numbers(text, extent.end, capacity, &count,
                           NumberSink{vnort_convert_all<Element>, to});
    }
    return count;
}

template <typename Float>
char* write(char* to, const char* end, const Float* numbers, uint64_t count) {
    return vnort_write_numbers(to, end, numbers, count).end;
}

char* write_integers(char* to, const char*, const int64_t* numbers, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        to = vnort_write_int64(to, numbers[i]);
        *to++ = ',';
    }
    return to;
}

}  // namespace

const Kernels vornic_kernels = {read<float>,  read<double>,  read<int64_t>,
                                write<float>, write<double>, write_integers};
