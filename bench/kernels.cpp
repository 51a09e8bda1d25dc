#include "kernels.h"

#include "json/array_reader.h"
#include "json/number_conversion.h"
#include "number/number_writer.h"

using namespace vornic;

namespace {

template <typename Sink>
uint64_t read(const char* text, Sink to) {
    const NumberArrayExtent extent = number_array_extent(text);
    uint64_t count = 0;
    read_numbers(text, extent.end, static_cast<int64_t>(extent.bound), &count, to);
    return count;
}

uint64_t read_integers(const char* text, int64_t* to) {
    return read(text, NumberSink{convert_all<int64_t>, to});
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

const Kernels vornic_kernels = {read<float*>, read<double*>, read_integers,
                                write<float>, write<double>, write_integers};
