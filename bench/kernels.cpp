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

template <typename Number>
char* write(char* to, const char* end, const Number* numbers, uint64_t count) {
    return write_numbers(to, end, numbers, count).end;
}

}  // namespace

const Kernels vornic_kernels = {read<float*>, read<double*>, read_integers,
                                write<float>, write<double>, write<int64_t>};
