// Reading the numbers of an array many at a time.
#pragma once

#include <stdint.h>

// How many bytes before and behind a number the block reader looks at: it starts no nearer to the
// ends of the text that it is given.
inline constexpr int64_t kNumberBlockBefore = 17;
inline constexpr int64_t kNumberBlockBehind = 65;

struct NumberBlockRead {
    const char* at;  // behind the last comma taken
    int64_t count;   // of the numbers stored
    bool is_worth;   // false when one by one would have been as fast
};

// Reads numbers into an array, each up to and with the comma behind it, blanks around them or not:
// those that vnort_read_number reads, to the same doubles. Stops when `most` are read, too near to
// the end, before what is no number followed by a comma, and when the numbers are of kinds that it
// has no quick way for. What it leaves, somebody else reads or refuses.
//
// Looks at no byte before `text` and at none at or behind `end`. `at` is at least kNumberBlockBefore
// bytes behind `text`.
NumberBlockRead vnort_read_number_block(const char* at, const char* end, double* numbers,
                                        int64_t most);

// The numbers of one array, block by block.
class NumberBlocks {
public:
    // The array ends at `end`, within the text. Null when that is not known: there are no blocks then.
    NumberBlocks(const char* text, const char* end) : end_(end) { plan(text, kNumberBlockBefore); }

    // Whether a block is to be tried at `at`. Until then, somebody else reads one by one.
    bool is_due(const char* at) const { return next_ != nullptr && at >= next_; }

    // Reads some numbers from `at`, moves on behind them and gives their number, which may be 0.
    int64_t read(const char** at, int64_t most) {
        const NumberBlockRead read =
            vnort_read_number_block(*at, end_, numbers_, most < kRoom ? most : kRoom);
        if (!read.is_worth) pause_ *= 2;
        plan(read.at, read.count > 0 && read.is_worth ? 0 : pause_);
        *at = read.at;
        return read.count;
    }

    // Those that were read last. Who reads others has the room meanwhile.
    static constexpr int64_t kRoom = 128;
    double* numbers() { return numbers_; }

private:
    void plan(const char* from, int64_t distance) {
        const bool is_reached = end_ != nullptr && end_ - from >= distance + kNumberBlockBehind;
        next_ = is_reached ? from + distance : nullptr;
    }

    const char* end_;
    const char* next_;      // null when no further block fits
    int64_t pause_ = 2048;  // in bytes; longer each time, so that what is in vain stays small
    double numbers_[kRoom];
};
