#include "kernels.h"

#include "json/array_reader.h"
#include "json/number_conversion.h"
#if __has_include("number/number_writer.h")
#include "number/number_writer.h"
#else  // commits before that folder
#include "json/number_writer.h"
#endif
#if __has_include("core/shape.h")
using namespace vornic;
#else  // commits before the namespace
#define convert_all vnort_convert_all
#define number_array_extent vnort_number_array_extent
#define read_numbers vnort_read_numbers
#define write_int64 vnort_write_int64
#define write_numbers vnort_write_numbers
#define write_uint64 vnort_write_uint64
#endif

namespace {

template <typename Element>
uint64_t read(const char* text, Element* to) {
    const NumberArrayExtent extent = number_array_extent(text);
    const auto capacity = static_cast<int64_t>(extent.bound);
    uint64_t count = 0;
    // Some types are read without a sink, in commits that can.
    if constexpr (requires { read_numbers(text, extent.end, capacity, &count, to); }) {
        read_numbers(text, extent.end, capacity, &count, to);
    } else {
        read_numbers(text, extent.end, capacity, &count, NumberSink{convert_all<Element>, to});
    }
    return count;
}

template <typename Float>
char* write(char* to, const char* end, const Float* numbers, uint64_t count) {
    return write_numbers(to, end, numbers, count).end;
}

char* write_integers(char* to, const char*, const int64_t* numbers, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        to = write_int64(to, numbers[i]);
        *to++ = ',';
    }
    return to;
}

}  // namespace

const Kernels vornic_kernels = {read<float>,  read<double>,  read<int64_t>,
                                write<float>, write<double>, write_integers};
