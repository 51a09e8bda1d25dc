// Numbers are read in two steps. The first finds commas, 64 bytes at a time, and lists where they are:
//
//     text      3.25,-0.5,7, 12.125,0.1,0     a window (of 64 bytes)
//     commas    ....^....^.^.......^...^.     bits of a word, the first byte's lowest: little-endian
//     ends          *    * *       *   *      the list
//
// The second reads the numbers between them in groups of four. As the list is made ahead, no number
// waits until the end of the one before has been found.
#include "json/number_block.h"

#include <string.h>

#include "bytes16.h"
#include "json/scan.h"
#include "number/number_reader.h"
#include "number/number_row.h"

namespace vornic {
namespace {

constexpr int64_t kWindow = 64;
constexpr int64_t kGroup = 4;
constexpr int64_t kAfter = kWindow + kRowAfter;  // bytes after a window's start that are looked at

// The commas that have been found and not passed yet.
class CommaList {
public:
    CommaList(const char* at, const char* last) : at_(at), last_(last) {}

    // Adds those of the next windows, until there are many. The bits of a window are listed by fours,
    // since a loop over each would be left at another turn every time; what is listed too much is
    // overwritten.
    void extend() {
        const char** to = commas_ + count_;
        for (; at_ <= last_ && to < commas_ + kMany; at_ += kWindow) {
            const Places places = match_mask(',', at_);
            const char** const next = to + places.count;
            for (PlaceList list(places.bits); to < next; to += 4) {
#pragma GCC unroll 4
                for (int i = 0; i < 4; ++i) to[i] = at_ + list.next();
            }
            to = next;
        }
        if (at_ > last_ && at_ < last_ + kWindow) {
            // What is left, from a window that ends where the last one may.
            uint64_t bits = match_mask(',', last_).bits >> (at_ - last_) << (at_ - last_);
            for (; bits != 0; bits &= bits - 1) *to++ = last_ + lowest_bit_index(bits);
            at_ = last_ + kWindow;
        }
        count_ = to - commas_;
    }

    void drop(int64_t passed) {
        count_ -= passed;
        memmove(commas_, commas_ + passed, static_cast<size_t>(count_) * sizeof *commas_);
    }

    // Starts again, from here.
    void restart(const char* at) {
        at_ = at;
        count_ = 0;
    }

    const char* const* commas() const { return commas_; }
    int64_t count() const { return count_; }

private:
    static constexpr int64_t kMany = 128;

    const char* at_;          // of the next window
    const char* const last_;  // no window starts after it
    int64_t count_ = 0;
    const char* commas_[kMany + 2 * kWindow];
};

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

template <int kBlanks>
bool are_single_digits(const char* at) {
    constexpr Pattern dense("0,0,0,0,"), upper("_0,_0,_0"), lower("0,_0,_0,");
    return kBlanks == 0 ? dense.is_at(at) : upper.is_at(at) && lower.is_at(at + 4);
}

// The kernels, and none of them: numbers one by one.
enum class Kernel { integers, pointed, long_pointed, decimals, none };

template <typename Number>
int64_t read_row(Kernel kernel, const NumberRow& row, Number* to) {
    switch (kernel) {
        case Kernel::integers: return read_integers(row, to);
        case Kernel::pointed: return read_pointed(row, to);
        case Kernel::long_pointed: return read_long_pointed(row, to);
        case Kernel::decimals: return read_decimals(row, to);
        default: return 0;
    }
}

// The quickest one that may suit the number at the start of a row.
Kernel first_kernel(const NumberRow& row) {
    const char* const number = row.at + row.gap;
    if (number[*number == '-' ? 2 : 1] == '.') return Kernel::pointed;
    return *row.ends - number <= 9 ? Kernel::integers : Kernel::decimals;
}

// The next one that may suit numbers that do not suit this one.
Kernel wider_kernel(Kernel kernel) {
    return kernel == Kernel::pointed ? Kernel::long_pointed : Kernel::decimals;
}

template <typename Number>
class Block {
public:
    Block(const char* at, const char* last, Number* to, int64_t most)
        : at_(at), last_(last), list_(at, last), to_(to), end_(to + most) {}

    // Reads until the last window.
    void read() {
        do {
            if (list_.count() < kGroup) read_single_digits();
            if (end_ - to_ < kGroup) return;
            list_.extend();
        } while (read_list());
    }

    const char* at() const { return at_; }
    Number* to() const { return to_; }

private:
    // Four numbers of one digit, such as "0,1,0,1,", again and again: shorter than the list of their
    // commas.
    template <int kBlanks>
    void read_single_digits() {
        constexpr int kEach = kBlanks + 2;
        const char* at = at_;
        Number* to = to_;
        for (; at <= last_ && end_ - to >= kGroup && are_single_digits<kBlanks>(at); to += kGroup) {
#pragma GCC unroll 4
            for (int i = 0; i < kGroup; ++i)
                to[i] = static_cast<Number>(at[i * kEach + kBlanks] - '0');
            at += kGroup * kEach;
        }
        at_ = at;
        to_ = to;
    }

    void read_single_digits() {
        const char* const from = at_;
        if (*at_ == ' ') {
            read_single_digits<1>();
        } else {
            read_single_digits<0>();
        }
        if (at_ != from) list_.restart(at_);
    }

    // Reads the groups in the list. False when there are none, or at what is no number. A kernel that
    // stops early gives way to a wider one until the list is read; numbers that none can read are read
    // one by one, and all the rest of the list after a few groups of these.
    bool read_list() {
        constexpr int64_t kFew = 4;
        const int64_t groups = (list_.count() < end_ - to_ ? list_.count() : end_ - to_) / kGroup;
        if (groups == 0) return false;
        const char* const* ends = list_.commas();
        const char* const* const last = ends + kGroup * groups;
        Kernel kernel = first_kernel({at_, ends, groups, *at_ == ' '});
        for (int64_t misses = 0; ends != last;) {
            const NumberRow row{at_, ends, (last - ends) / kGroup, *at_ == ' '};
            const int64_t read = read_row(kernel, row, to_);
            ends += kGroup * read;
            to_ += kGroup * read;
            if (read > 0) at_ = ends[-1] + 1;
            if (ends == last) break;
            if (kernel < Kernel::decimals) {
                kernel = wider_kernel(kernel);
                continue;
            }
            if (read < kFew && ++misses == kFew) kernel = Kernel::none;
            for (int i = 0; i < kGroup; ++i) {
                if (!read_one(*ends++)) return false;
            }
        }
        list_.drop(ends - list_.commas());
        return true;
    }

    // One number of any form, with blanks around it. False when the text up to its end is anything else.
    bool read_one(const char* end) {
        const char* const first = skip_blanks(at_);
        const NumberRead read = read_number(first);
        if (read.end == first || skip_blanks(read.end) != end) return false;
        *to_++ = static_cast<Number>(read.value);
        at_ = end + 1;
        return true;
    }

    const char* at_;  // after the last comma passed
    const char* const last_;
    CommaList list_;
    Number* to_;
    Number* const end_;
};

template <typename Number>
NumberBlockRead read_block(const char* at, const char* end, Number* numbers, int64_t most) {
    if (end - at < kAfter) return {at, 0};
    Block block(at, end - kAfter, numbers, most);
    block.read();
    return {block.at(), block.to() - numbers};
}

}  // namespace

NumberBlockRead read_number_block(const char* at, const char* end, double* numbers, int64_t most) {
    return read_block(at, end, numbers, most);
}

NumberBlockRead read_number_block(const char* at, const char* end, float* numbers, int64_t most) {
    return read_block(at, end, numbers, most);
}

}  // namespace vornic
