// Numbers are read in two steps. The first finds the commas of 64 bytes at a time and lists them:
//
//     text      3.25,-0.5,7, 12.125,0.1,0     a window (of 64 bytes)
//     commas    ....^....^.^.......^...^.     bits of a word, the lowest for the first byte
//     ends          *    * *       *   *      the list
//
// The second reads the numbers between them in groups of four. Because of the list, no number waits until
// the end of the one before it has been found.
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
constexpr int64_t kLookahead =
    kWindow + kBytesAfter;  // bytes read from the start of the last window

// The commas found but not yet consumed.
class CommaList {
public:
    CommaList(const char* at, const char* last) : at_(at), last_(last) {}

    // Adds the commas of the next windows until there are kMany. A window's commas are listed four at a
    // time: the end of a loop over single ones would be mispredicted. Surplus entries are overwritten.
    void extend() {
        const char *at = at_, *const last = last_;
        const char** to = commas_ + count_;
        for (; at <= last && to < commas_ + kMany; at += kWindow) {
            const Matches found = match_64(',', at);
            const char** const next = to + found.count;
            BitIndices indices(found.bits);
            do {
#pragma GCC unroll 4
                for (int i = 0; i < 4; ++i) to[i] = at + indices.next();
                to += 4;
            } while (to < next);
            to = next;
        }
        if (at > last && at < last + kWindow) {
            // The remaining bytes, from a window that starts at the last possible position.
            uint64_t bits = match_64(',', last).bits >> (at - last) << (at - last);
            for (; bits != 0; bits &= bits - 1) *to++ = last + lowest_bit_index(bits);
            at = last + kWindow;
        }
        at_ = at;
        count_ = to - commas_;
    }

    void drop(int64_t consumed) {
        count_ -= consumed;
        memmove(commas_, commas_ + consumed, static_cast<size_t>(count_) * sizeof *commas_);
    }

    void restart(const char* at) {
        at_ = at;
        count_ = 0;
    }

    const char* const* commas() const { return commas_; }
    int64_t count() const { return count_; }

private:
    static constexpr int64_t kMany = 128;

    const char* at_;          // of the next window
    const char* const last_;  // the last position where a window may start
    int64_t count_ = 0;
    const char* commas_[kMany + 2 * kWindow];
};

// A pattern of eight bytes: '0' matches any digit, '_' a space, any other byte itself. Adding `limits` to
// the difference carries into the top bit of each byte that does not match (SWAR).
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

// With `none`, numbers are read one by one.
enum class Kernel { integers, pointed, long_pointed, decimals, none };

template <typename Number>
int64_t read_groups(Kernel kernel, const NumberRow& row, Number* to) {
    switch (kernel) {
        case Kernel::integers: return read_integers(row, to);
        case Kernel::pointed: return read_pointed(row, to);
        case Kernel::long_pointed: return read_long_pointed(row, to);
        case Kernel::decimals: return read_decimals(row, to);
        default: return 0;
    }
}

// The fastest kernel that may be able to read the number at the start of a row.
Kernel first_kernel(const NumberRow& row) {
    const char* const number = row.at + row.gap;
    if (number[*number == '-' ? 2 : 1] == '.') return Kernel::pointed;
    return *row.ends - number <= 9 ? Kernel::integers : Kernel::decimals;
}

// The next kernel to try for numbers that this one cannot read.
Kernel wider_kernel(Kernel kernel) {
    return kernel == Kernel::pointed ? Kernel::long_pointed : Kernel::decimals;
}

template <typename Number>
class Block {
public:
    Block(const char* at, const char* last, Number* to, int64_t max_count)
        : at_(at), last_(last), list_(at, last), to_(to), end_(to + max_count) {}

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
    // Reads groups of four numbers of one digit each, such as "0,1,0,1,", without listing their commas.
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
        *at_ == ' ' ? read_single_digits<1>() : read_single_digits<0>();
        if (at_ != from) list_.restart(at_);
    }

    // Reads the groups in the list. False if there are none, or at anything but a number. A kernel that
    // stops early is replaced by a wider one until the end of the list. Numbers that none can read are
    // read one by one, and after a few such groups, so is the rest of the list.
    bool read_list() {
        constexpr int64_t kFew = 4;
        const int64_t groups = (list_.count() < end_ - to_ ? list_.count() : end_ - to_) / kGroup;
        if (groups == 0) return false;
        const char* const* ends = list_.commas();
        const char* const* const last = ends + kGroup * groups;
        Kernel kernel = first_kernel({at_, ends, groups, *at_ == ' '});
        for (int64_t misses = 0; ends != last;) {
            const NumberRow row{at_, ends, (last - ends) / kGroup, *at_ == ' '};
            const int64_t read = read_groups(kernel, row, to_);
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

    // Reads one number of any form with blanks around it. False if the text up to `end` is anything else.
    bool read_one(const char* end) {
        const char* const first = skip_blanks(at_);
        const NumberRead read = read_number(first);
        if (read.end == first || skip_blanks(read.end) != end) return false;
        *to_++ = static_cast<Number>(read.value);
        at_ = end + 1;
        return true;
    }

    const char* at_;  // after the last comma consumed
    const char* const last_;
    CommaList list_;
    Number* to_;
    Number* const end_;
};

}  // namespace

template <typename Number>
NumberBlock read_number_block(const char* at, const char* end, Number* numbers, int64_t max_count) {
    if (end - at < kLookahead) return {at, 0};
    Block block(at, end - kLookahead, numbers, max_count);
    block.read();
    return {block.at(), block.to() - numbers};
}
template NumberBlock read_number_block(const char*, const char*, float*, int64_t);
template NumberBlock read_number_block(const char*, const char*, double*, int64_t);

}  // namespace vornic
