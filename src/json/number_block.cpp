// Numbers are taken in groups of four, found by the commas in 64 bytes.
#include "json/number_block.h"

#include <string.h>

#include <bit>

#include "json/scan.h"
#include "number/decimal_rounding.h"
#include "number/number_reader.h"
#include "number/plain_number.h"

namespace {

// More than 16 digits of which a word still holds all: either a digit, a point and up to 31 more, or
// no point at all. False for every other number.
[[gnu::always_inline]] inline bool read_long(const char* first, const char* end, double* to) {
    first += *first == ' ';
    const bool negative = *first == '-';
    first += int{negative};
    const bool has_point = first[1] == '.';
    const uint64_t more = static_cast<uint64_t>(end - first) - 17 - has_point;  // above the last 16
    if (more > (has_point ? 15 : 2)) return false;
    const Bytes behind = vnort_last_bytes(more);
    const Bytes leading = vnort_and_not(vnort_last_bytes(more + 1), behind);
    const Bytes low = vnort_minus_zeros(vnort_load(end - 16));
    const Bytes high =
        vnort_or(vnort_and(vnort_minus_zeros(vnort_load(end - 32)), behind),
                 vnort_and(vnort_minus_zeros(vnort_load(end - 32 - has_point)), leading));
    const uint64_t top = vnort_number(vnort_fours(high));
    if (!vnort_are_digits(vnort_greatest(low, high)) || top > 1843) return false;
    const uint64_t word = top * 10000000000000000 + vnort_number(vnort_fours(low));
    const int64_t fraction = has_point ? static_cast<int64_t>(more) + 16 : 0;
    const RoundedWord rounded = vnort_round_word(word, -fraction, false);
    *to = std::bit_cast<double>(rounded.bits | static_cast<uint64_t>(negative) << 63);
    return rounded.is_certain;
}

// Any number and the blanks around it. False when there is none or something else before its end.
bool read_odd(const char* first, const char* end, double* to) {
    first = vnort_skip_blanks(first);
    const NumberRead read = vnort_read_number(first);
    *to = read.value;
    return read.end != first && vnort_skip_blanks(read.end) == end;
}

// Without the first one.
uint64_t rest_of(uint64_t commas) { return commas & (commas - 1); }

// What a group of four has come to.
enum class Group { plain, partly_plain, unread };

// The ends of four numbers.
struct Ends {
    const char* end[4];
};

// False when there are not as many commas.
[[gnu::always_inline]] inline bool find_ends(const char* at, uint64_t commas, Ends* ends) {
    const uint64_t from_2 = rest_of(commas), from_3 = rest_of(from_2), from_4 = rest_of(from_3);
    if (from_4 == 0) return false;
    *ends = {at + vnort_first(commas), at + vnort_first(from_2), at + vnort_first(from_3),
             at + vnort_first(from_4)};
    return true;
}

// Four numbers, with as many blanks before each. If not all are plain, the others have wrong values.
template <int kBlanks>
[[gnu::always_inline]] inline Group read_four(const char* first, const Ends& ends, double* to) {
    const char* const* const end = ends.end;
    if (kBlanks > 0 && (end[0][1] != ' ' || end[1][1] != ' ' || end[2][1] != ' ')) {
        return Group::unread;
    }
    constexpr int kNext = 1 + kBlanks;  // behind the comma
    const Worst lower = vnort_read_two(first + kBlanks, end[0], end[0] + kNext, end[1], to);
    const Worst upper = vnort_read_two(end[1] + kNext, end[2], end[2] + kNext, end[3], to + 2);
    return vnort_worst(lower, upper).is_plain() ? Group::plain : Group::partly_plain;
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
template <int kBlanks>
[[gnu::always_inline]] inline bool read_four_digits(const char* at, double* to) {
    constexpr Pattern dense("0,0,0,0,"), upper("_0,_0,_0"), lower("0,_0,_0,");
    if (kBlanks == 0 ? !dense.is_at(at) : !upper.is_at(at) || !lower.is_at(at + 4)) return false;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) to[i] = at[i * (kBlanks + 2) + kBlanks] - '0';
    return true;
}

// 64 bytes of an array and the commas in them.
struct Window {
    const char* at;
    uint64_t commas;
};

// How far a block has come.
struct Progress {
    Window window;
    Window ahead;  // one of those that come next
    double* to;
    const char* last;  // no group begins behind it
    double* last_to;   // nor has one its numbers behind it

    bool has_group(const char* at, const double* numbers) const {
        return at <= last && numbers <= last_to;
    }
    bool goes_on() const { return has_group(window.at, to); }

    void move(const char* at, int64_t count) {
        to += count;
        window.at = at;
        if (at == ahead.at) {
            window.commas = ahead.commas;
        } else if (goes_on()) {
            window.commas = vnort_places_of(',', at);
        }
    }
};

// Whether the commas are those of four numbers of one digit.
bool may_be_single_digits(uint64_t commas) {
    return (commas & 0xff) == 0xaa || (commas & 0xfff) == 0x924;
}

template <int kBlanks>
void read_single_digits(Progress* progress) {
    const char* at = progress->window.at;
    double* to = progress->to;
    while (progress->has_group(at, to) && read_four_digits<kBlanks>(at, to)) {
        at += 4 * (kBlanks + 2);
        to += 4;
    }
    progress->move(at, to - progress->to);
}

// Numbers of one digit, four by four, as long as they come. False when there were none.
[[gnu::noinline]] bool read_single_digits(Progress* progress) {
    const double* const before = progress->to;
    if (*progress->window.at == ' ') {
        read_single_digits<1>(progress);
    } else {
        read_single_digits<0>(progress);
    }
    return progress->to != before;
}

// Groups of plain numbers, as long as they come. The commas behind a group are looked for before its
// numbers are read, since all that comes next waits for them.
[[gnu::always_inline]] inline Group read_plain_groups(Progress* progress) {
    const char* at = progress->window.at;
    uint64_t commas = progress->window.commas;
    double* to = progress->to;
    Group state = Group::plain;
    for (;;) {
        Ends ends;
        if (!find_ends(at, commas, &ends)) {
            state = Group::unread;
            break;
        }
        const char* const next = ends.end[3] + 1;
        if (may_be_single_digits(commas)) [[unlikely]] {
            progress->window = {at, commas};
            progress->to = to;
            if (read_single_digits(progress)) {
                at = progress->window.at;
                commas = progress->window.commas;
                to = progress->to;
                if (!progress->goes_on()) break;
                continue;
            }
        }
        const bool goes_on = progress->has_group(next, to + 4);
        uint64_t next_commas = goes_on ? vnort_places_of(',', next) : 0;
        __asm__ volatile("" : "+r"(next_commas));  // here, not later
        state = *at == ' ' ? read_four<1>(at, ends, to) : read_four<0>(at, ends, to);
        if (state != Group::plain) [[unlikely]] {
            progress->ahead = {next, next_commas};
            break;
        }
        at = next;
        commas = next_commas;
        to += 4;
        if (!goes_on) break;
    }
    progress->window = {at, commas};
    progress->to = to;
    return state;
}

// How the numbers of a group that are not all plain were read.
struct OddGroup {
    const char* at;  // behind them
    int count = 0;
    int long_ones = 0;
    int slow_ones = 0;
    bool has_failed = false;
};

// The first numbers of a window, at most four, one by one.
[[gnu::noinline]] OddGroup read_odd_group(const Window& window, Group state, double* to) {
    uint64_t commas = window.commas;
    const int blank = *window.at == ' ';
    OddGroup group{window.at};
    for (; group.count < 4 && commas != 0; ++group.count, ++to, commas = rest_of(commas)) {
        const char* const end = window.at + vnort_first(commas);
        if (state == Group::unread || !vnort_is_plain(group.at + blank, end)) {
            const bool is_long = read_long(group.at, end, to);
            group.has_failed = !is_long && !read_odd(group.at, end, to);
            if (group.has_failed) return group;
            group.long_ones += int{is_long};
            group.slow_ones += int{!is_long};
        }
        group.at = end + 1;
    }
    group.has_failed = group.count == 0;
    return group;
}

}  // namespace

NumberBlockRead vnort_read_number_block(const char* at, const char* end, double* numbers,
                                        int64_t most) {
    constexpr int64_t kPatience = 8;
    if (most < 4 || end - at < kNumberBlockBehind) return {at, 0, true};
    Progress progress{{at, vnort_places_of(',', at)},
                      {},
                      numbers,
                      end - kNumberBlockBehind,
                      numbers + (most - 4)};
    int64_t waste = 0;  // numbers that were read one by one, less those that were not
    bool are_long = false;
    bool is_worth = true;
    while (is_worth && progress.goes_on()) {
        double* const before = progress.to;
        Group state = Group::unread;
        if (!are_long) {
            state = read_plain_groups(&progress);
            if (state == Group::plain) continue;
        }
        const OddGroup group = read_odd_group(progress.window, state, progress.to);
        are_long = group.long_ones == group.count;
        const int64_t rest = waste - (progress.to - before) / 2;
        waste = (rest > 0 ? rest : 0) + group.slow_ones - group.long_ones;
        is_worth = !group.has_failed && waste < kPatience;
        progress.move(group.at, group.count);
    }
    return {progress.window.at, progress.to - numbers, is_worth};
}
