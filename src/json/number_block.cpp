// Numbers are read in two steps:
#include "json/number_block.h"

#include <string.h>

#include "bytes16.h"
#include "json/scan.h"
#include "number/four_numbers.h"
#include "number/number_reader.h"

namespace {

// One number of any form, with blanks around it. False when the text up to `end` is anything else.
template <typename Number>
bool read_one(const char* first, const char* end, Number* to) {
    first = vnort_skip_blanks(first);
    const NumberRead read = vnort_read_number(first);
    *to = static_cast<Number>(read.value);
    return read.end != first && vnort_skip_blanks(read.end) == end;
}

// Eight bytes of text: any digit where this one has a 0, a blank where it has a line. A byte's limit,
// added to a difference that is too great, sets its highest bit.
struct Pattern {
    uint64_t text;
    uint64_t limits;

    constexpr explicit Pattern(const char* bytes) : text(0), limits(0) {
        for (int i = 7; i >= 0; --i) {
            text = text << 8 | static_cast<uint8_t>(bytes[i] == '_' ? ' ' : bytes[i]);
            limits = limits << 8 | (bytes[i] == '0' ? 127 - 9 : 127);
        }
    }

    bool is_at(const char* at) const {
        uint64_t word;
        memcpy(&word, at, sizeof word);
        const uint64_t difference = word ^ text;
        return ((difference | (difference + limits)) & 0x8080808080808080) == 0;
    }
};

// Four numbers of one digit, such as "0,1,0,1,".
template <int kBlanks, typename Number>
[[gnu::always_inline]] inline bool read_four_digits(const char* at, Number* to) {
    constexpr Pattern dense("0,0,0,0,"), upper("_0,_0,_0"), lower("0,_0,_0,");
    if (kBlanks == 0 ? !dense.is_at(at) : !upper.is_at(at) || !lower.is_at(at + 4)) return false;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) to[i] = static_cast<Number>(at[i * (kBlanks + 2) + kBlanks] - '0');
    return true;
}

// The ends of numbers that were found and are not read yet.
class Commas {
public:
    Commas(const char* at, const char* last) : scanned_(at), last_(last) {}

    void find() {
        const char** to = end_ + count_;
        const char* at = scanned_;
        while (at <= last_ && to < end_ + kMany) {
            const Places places = vnort_places_of(',', at);
            uint64_t commas = places.bits;
            const char** const behind = to + places.count;
            while (to < behind) {
#pragma GCC unroll 4
                for (int k = 0; k < 4; ++k) {
                    to[k] = at + vnort_first(commas);
                    commas &= commas - 1;
                }
                to += 4;
            }
            to = behind;
            at += 64;
        }
        scanned_ = at;
        count_ = to - end_;
    }

    const char* const* all() const { return end_; }
    int64_t count() const { return count_; }

    void drop(int64_t taken) {
        count_ -= taken;
        memmove(end_, end_ + taken, static_cast<size_t>(count_) * sizeof *end_);
    }
    void restart(const char* at) {
        scanned_ = at;
        count_ = 0;
    }

private:
    static constexpr int64_t kMany = 128;
    const char* scanned_;
    const char* const last_;
    int64_t count_ = 0;
    const char* end_[kMany + 64 + 4];
};

template <typename Number>
NumberBlockRead read_block(const char* at, const char* end, Number* numbers, int64_t most) {
    if (end - at < kNumberBlockBehind) return {at, 0};
    const char* const last = end - kNumberBlockBehind;
    Commas commas(at, last);
    int64_t count = 0;
    for (;;) {
        if (commas.count() < 4) {
            int64_t n = 0;
            if (*at == ' ') {
                while (at <= last && n + 4 <= most - count &&
                       read_four_digits<1>(at, numbers + count + n)) {
                    n += 4;
                    at += 12;
                }
            } else {
                while (at <= last && n + 4 <= most - count &&
                       read_four_digits<0>(at, numbers + count + n)) {
                    n += 4;
                    at += 8;
                }
            }
            if (n > 0) commas.restart(at);
            count += n;
        }
        commas.find();
        int64_t groups = commas.count() < most - count ? commas.count() / 4 : (most - count) / 4;
        if (groups == 0) return {at, count};
        const char* const* ends = commas.all();
        int level = -1;
        int64_t misses = 0;
        while (groups > 0) {
            const NumberRow row{at, ends, groups, *at == ' '};
            if (level < 0) {
                const char* const first = at + row.gap + (at[row.gap] == '-');
                level = first[1] == '.' ? 1 : ends[0] - at <= 9 ? 0 : 3;
            }
            int64_t done = 0;
            switch (level) {
                case 0: done = vnort_read_integers(row, numbers + count); break;
                case 1: done = vnort_read_pointed(row, numbers + count); break;
                case 2: done = vnort_read_long(row, numbers + count); break;
                case 3: done = vnort_read_any(row, numbers + count); break;
                default: break;
            }
            count += 4 * done;
            groups -= done;
            ends += 4 * done;
            if (done > 0) at = ends[-1] + 1;
            if (groups == 0) break;
            if (level < 3) {
                level = level == 0 ? 3 : level + 1;
                continue;
            }
            if (level == 3 && done < 4 && ++misses == 4) level = 4;
            for (int k = 0; k < 4; ++k) {
                if (!read_one(at, ends[k], numbers + count)) return {at, count};
                ++count;
                at = ends[k] + 1;
            }
            ends += 4;
            --groups;
        }
        commas.drop(ends - commas.all());
    }
}

}  // namespace

NumberBlockRead vnort_read_number_block(const char* at, const char* end, double* numbers,
                                        int64_t most) {
    return read_block(at, end, numbers, most);
}

NumberBlockRead vnort_read_number_block(const char* at, const char* end, float* numbers,
                                        int64_t most) {
    return read_block(at, end, numbers, most);
}
