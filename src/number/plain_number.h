// Plain numbers, of up to 15 digits and perhaps a minus and a point, or 16 digits and no point, from the
// 16 bytes before their end.
// The digits stand in a block, the last one at its end, and are summed up in pairs: to two digits a
// lane, to four, to eight. Two lanes of eight make a double exactly, and the one division by a power of
// ten rounds once.
#pragma once

#include <stdint.h>

#include "bytes16.h"

// Sixteen zeros, then ones: a load from behind the nth byte has its last n bytes set.
struct LastBytes {
    uint8_t bytes[48];
};
inline constexpr LastBytes kLastBytes = [] {
    LastBytes mask{};
    for (int i = 16; i < 48; ++i) mask.bytes[i] = 255;
    return mask;
}();

inline Bytes vnort_last_bytes(uint64_t count) { return vnort_load(kLastBytes.bytes + count); }

// What a number takes that is a digit, a point and more digits: masks for those in the last bytes and
// for the one before the point, zeros as text in both, and the divisor with its sign.
struct alignas(64) Form {
    uint8_t behind[16];
    uint8_t leading[16];
    uint8_t zeros[16];
    double divisor;
};

// By twice the length and the sign. Zeros that no digit fits stand where the digits would be more than
// 15 or none.
struct FormTable {
    static constexpr uint64_t kCount = 64;
    Form form[kCount];
};
inline constexpr FormTable kForms = [] {
    FormTable table{};
    for (Form& form : table.form) {
        for (uint8_t& zero : form.zeros) zero = 255;
    }
    double power = 1;
    for (int digits = 0; digits < 16; ++digits) {
        for (int sign = 0; sign < 2; ++sign) {
            Form& form = table.form[2 * (digits + 2 + sign) + sign];
            for (int i = 16 - digits; i < 16; ++i) form.behind[i] = 255;
            form.leading[15 - digits] = 255;
            form.divisor = sign != 0 ? -power : power;
            if (digits == 15) continue;
            for (int i = 0; i < 16; ++i) form.zeros[i] = i < 15 - digits ? 0 : '0';
        }
        power *= 10;
    }
    return table;
}();

// By the low bits of its length. An offset in bytes takes fewer instructions than an index.
inline const Form& vnort_form(uint64_t length, uint64_t negative) {
    const char* const table = reinterpret_cast<const char*>(kForms.form);
    return *reinterpret_cast<const Form*>(
        table + ((2 * length + negative) * sizeof(Form) & (FormTable::kCount - 1) * sizeof(Form)));
}

// A number as far as it is read by itself.
struct PlainDigits {
    Bytes bytes;  // above 9 where there was no digit
    const Form* form;
    uint64_t length;  // above kMostLength when the number is too long
};
inline constexpr uint64_t kMostLength = FormTable::kCount / 2 - 1;

inline Bytes vnort_minus_zeros(Bytes text) { return vnort_subtract(text, vnort_all('0')); }

// A digit, a point and up to 14 digits behind the sign; that the point is there has been seen.
[[gnu::always_inline]] inline PlainDigits vnort_take_pointed(const char* first, const char* end,
                                                             uint64_t negative) {
    const uint64_t length = static_cast<uint64_t>(end - first);
    const Form& form = vnort_form(length, negative);
    const Bytes text = vnort_or(vnort_and(vnort_load(end - 16), vnort_load_aligned(form.behind)),
                                vnort_and(vnort_load(end - 17), vnort_load_aligned(form.leading)));
    return {vnort_xor(text, vnort_load_aligned(form.zeros)), &form, length};
}

// Up to 16 bytes behind the sign: digits, perhaps a point before, among or behind them.
[[gnu::always_inline]] inline PlainDigits vnort_take_plain(const char* first, const char* end,
                                                           uint64_t negative) {
    const uint64_t length = static_cast<uint64_t>(end - first) - negative;
    const Bytes text = vnort_load(end - 16);
    const uint64_t point =
        vnort_places_of('.', text) >> ((16 - length) & 63);  // of the number alone
    const uint64_t has_point = point != 0;
    const uint64_t whole = vnort_first(point | uint64_t{1} << (length & 63));
    const uint64_t count = length - has_point;
    const Form& form = vnort_form(((count - whole) & 15) + 2 + negative, negative);
    const Bytes behind = vnort_load_aligned(form.behind);
    const Bytes joined =
        vnort_or(vnort_and(text, behind), vnort_and_not(vnort_load(end - 16 - has_point), behind));
    return {vnort_and(vnort_minus_zeros(joined), vnort_last_bytes(count & 31)), &form,
            2 * ((length - 1) | (count - 1))};
}

// What tells whether several numbers are plain: their greatest byte at each place and their lengths,
// all in one.
struct Worst {
    Bytes bytes;
    uint64_t length;

    bool is_plain() const { return length <= kMostLength && vnort_are_digits(bytes); }
};

inline Worst vnort_worst(const Worst& a, const Worst& b) {
    return {vnort_greatest(a.bytes, b.bytes), a.length | b.length};
}

// Two numbers, each up to its comma. When one of them is not plain, both values may be wrong.
[[gnu::always_inline]] inline Worst vnort_read_two(const char* a, const char* a_end, const char* b,
                                                   const char* b_end, double* to) {
    const uint64_t a_negative = *a == '-', b_negative = *b == '-';
    if (a[a_negative + 1] == '.' && b[b_negative + 1] == '.') [[likely]] {
        const PlainDigits x = vnort_take_pointed(a, a_end, a_negative);
        const PlainDigits y = vnort_take_pointed(b, b_end, b_negative);
        vnort_divide(vnort_fours(x.bytes), vnort_fours(y.bytes), &x.form->divisor, &y.form->divisor,
                     to);
        return vnort_worst({x.bytes, x.length}, {y.bytes, y.length});
    }
    const PlainDigits x = vnort_take_plain(a, a_end, a_negative);
    const PlainDigits y = vnort_take_plain(b, b_end, b_negative);
    vnort_divide_sixteen(vnort_fours(x.bytes), vnort_fours(y.bytes), &x.form->divisor,
                         &y.form->divisor, to);
    return vnort_worst({x.bytes, x.length}, {y.bytes, y.length});
}

inline bool vnort_is_plain(const char* first, const char* end) {
    const PlainDigits digits = vnort_take_plain(first, end, *first == '-');
    return Worst{digits.bytes, digits.length}.is_plain();
}
