// Sixteen bytes at a time, on x64: SSE2, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <emmintrin.h>
#include <stdint.h>

using Bytes = __m128i;

inline Bytes vnort_load(const void* from) {
    return _mm_loadu_si128(static_cast<const Bytes*>(from));
}

inline Bytes vnort_all(char byte) { return _mm_set1_epi8(byte); }
inline Bytes vnort_and(Bytes a, Bytes b) { return _mm_and_si128(a, b); }
inline Bytes vnort_and_not(Bytes a, Bytes b) { return _mm_andnot_si128(b, a); }  // a without b
inline Bytes vnort_or(Bytes a, Bytes b) { return _mm_or_si128(a, b); }
inline Bytes vnort_xor(Bytes a, Bytes b) { return _mm_xor_si128(a, b); }
inline Bytes vnort_add(Bytes a, Bytes b) { return _mm_add_epi8(a, b); }
inline Bytes vnort_subtract(Bytes a, Bytes b) { return _mm_sub_epi8(a, b); }
inline Bytes vnort_least(Bytes a, Bytes b) { return _mm_min_epu8(a, b); }

// 255 where the bytes are equal, otherwise 0.
inline Bytes vnort_equal(Bytes a, Bytes b) { return _mm_cmpeq_epi8(a, b); }

inline bool vnort_has_zero(Bytes bytes) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0;
}

// A bit for each of 64 bytes that is this one, the first one's lowest.
inline uint64_t vnort_places_of(char byte, const char* at) {
    const auto places = [=](int i) {
        const Bytes found = _mm_cmpeq_epi8(vnort_load(at + i), _mm_set1_epi8(byte));
        return static_cast<uint64_t>(_mm_movemask_epi8(found)) << i;
    };
    return places(0) | places(16) | places(32) | places(48);
}

// The same for 16 bytes that are loaded already.
inline uint64_t vnort_places_of(char byte, Bytes bytes) {
    return static_cast<uint64_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte))));
}

// Sums of bytes over many blocks.
class ByteSums {
public:
    void add(Bytes bytes) {
        sums_ = _mm_add_epi64(sums_, _mm_sad_epu8(bytes, _mm_setzero_si128()));
    }
    uint64_t total() const {
        uint64_t halves[2];
        _mm_storeu_si128(static_cast<Bytes*>(static_cast<void*>(halves)), sums_);
        return halves[0] + halves[1];
    }

private:
    Bytes sums_ = _mm_setzero_si128();  // of the lower and of the upper eight bytes
};

// Sixteen digits, one to a byte, and their four numbers of four digits.
struct DigitBlock {
    Bytes fours;
    Bytes odd;  // a byte's highest bit is set where there was no digit
};

inline DigitBlock vnort_sum_digits(Bytes digits) {
    const Bytes twos = _mm_srli_epi16(_mm_mullo_epi16(digits, _mm_set1_epi16(10 * 256 + 1)), 8);
    return {_mm_madd_epi16(twos, _mm_set1_epi32(1 << 16 | 100)),
            _mm_adds_epu8(digits, _mm_set1_epi8(127 - 9))};
}

inline bool vnort_are_digits(const DigitBlock& a, const DigitBlock& b) {
    return _mm_movemask_epi8(_mm_or_si128(a.odd, b.odd)) == 0;
}

// Two numbers of sixteen digits, each divided. Exact up to the division for those below 2^53.
inline void vnort_divide(const DigitBlock& a, const DigitBlock& b, const double* a_divisor,
                         const double* b_divisor, double* to) {
    const Bytes eights =
        _mm_madd_epi16(_mm_packs_epi32(a.fours, b.fours), _mm_set1_epi32(1 << 16 | 10000));
    const Bytes upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
    const Bytes lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
    const __m128d words =
        _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(upper), _mm_set1_pd(1e8)), _mm_cvtepi32_pd(lower));
    const __m128d divisors = _mm_loadh_pd(_mm_load_sd(a_divisor), b_divisor);
    _mm_storeu_pd(to, _mm_div_pd(words, divisors));
}

inline uint64_t vnort_number(const DigitBlock& digits) {
    const Bytes eights = _mm_madd_epi16(_mm_packs_epi32(digits.fours, digits.fours),
                                        _mm_set1_epi32(1 << 16 | 10000));
    const uint64_t both = static_cast<uint64_t>(_mm_cvtsi128_si64(eights));
    return (both & 0xffffffff) * 100000000 + (both >> 32);
}
