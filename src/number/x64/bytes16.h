// Sixteen bytes at a time, on x64: SSE2, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <emmintrin.h>
#include <stdint.h>

using Bytes = __m128i;

inline Bytes vnort_load(const void* from) {
    return _mm_loadu_si128(static_cast<const Bytes*>(from));
}

inline Bytes vnort_load_aligned(const void* from) {
    return _mm_load_si128(static_cast<const Bytes*>(from));
}

inline Bytes vnort_all(char byte) { return _mm_set1_epi8(byte); }
inline Bytes vnort_and(Bytes a, Bytes b) { return _mm_and_si128(a, b); }
inline Bytes vnort_and_not(Bytes a, Bytes b) { return _mm_andnot_si128(b, a); }  // a without b
inline Bytes vnort_or(Bytes a, Bytes b) { return _mm_or_si128(a, b); }
inline Bytes vnort_xor(Bytes a, Bytes b) { return _mm_xor_si128(a, b); }
inline Bytes vnort_add(Bytes a, Bytes b) { return _mm_add_epi8(a, b); }
inline Bytes vnort_subtract(Bytes a, Bytes b) { return _mm_sub_epi8(a, b); }
inline Bytes vnort_least(Bytes a, Bytes b) { return _mm_min_epu8(a, b); }
inline Bytes vnort_greatest(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }

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

// The place of the lowest bit; there is one. As 64 bits, where the compiler's own would be widened by
// another instruction.
inline uint64_t vnort_first(uint64_t places) {
    uint64_t place;
    __asm__("rep bsfq\t%1, %0" : "=r"(place) : "r"(places) : "cc");
    return place;
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

// Whether no byte is above 9.
inline bool vnort_are_digits(Bytes bytes) {
    return _mm_movemask_epi8(_mm_adds_epu8(bytes, _mm_set1_epi8(127 - 9))) == 0;
}

// The four numbers of four digits that sixteen digits are, one to a byte.
using Fours = __m128i;

inline Fours vnort_fours(Bytes digits) {
    // Kept from the compiler, which would take five instructions to do without the multiplication.
    __m128i tens = _mm_set1_epi16(10 * 256 + 1);
    __asm__("" : "+x"(tens));
    const __m128i twos = _mm_srli_epi16(_mm_mullo_epi16(digits, tens), 8);
    return _mm_madd_epi16(twos, _mm_set1_epi32(1 << 16 | 100));
}

// Two numbers of sixteen digits each as two of eight, 64 bits for each of the sixteen.
inline __m128i vnort_eights(Fours a, Fours b) {
    return _mm_madd_epi16(_mm_packs_epi32(a, b), _mm_set1_epi32(1 << 16 | 10000));
}

inline void vnort_store_quotients(__m128d numbers, const double* a_divisor, const double* b_divisor,
                                  double* to) {
    const __m128d divisors = _mm_loadh_pd(_mm_load_sd(a_divisor), b_divisor);
    _mm_storeu_pd(to, _mm_div_pd(numbers, divisors));
}

// Two numbers of up to fifteen digits, each divided: rounded once. They are put together as bits of a
// double.
inline void vnort_divide(Fours a, Fours b, const double* a_divisor, const double* b_divisor,
                         double* to) {
    const __m128i eights = vnort_eights(a, b);
    const __m128i words =
        _mm_add_epi64(_mm_mul_epu32(eights, _mm_set1_epi32(100000000)), _mm_srli_epi64(eights, 32));
    __m128d two_to_52 = _mm_set1_pd(0x1p52);
    __asm__("" : "+x"(two_to_52));
    const __m128d numbers = _mm_sub_pd(_mm_or_pd(_mm_castsi128_pd(words), two_to_52), two_to_52);
    vnort_store_quotients(numbers, a_divisor, b_divisor, to);
}

// The same for up to sixteen, which the sum may round already: their divisors have to be 1 or -1.
inline void vnort_divide_sixteen(Fours a, Fours b, const double* a_divisor, const double* b_divisor,
                                 double* to) {
    const __m128i eights = vnort_eights(a, b);
    const __m128i upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
    const __m128i lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
    const __m128d numbers =
        _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(upper), _mm_set1_pd(1e8)), _mm_cvtepi32_pd(lower));
    vnort_store_quotients(numbers, a_divisor, b_divisor, to);
}

inline uint64_t vnort_number(Fours digits) {
    const uint64_t both = static_cast<uint64_t>(_mm_cvtsi128_si64(vnort_eights(digits, digits)));
    return (both & 0xffffffff) * 100000000 + (both >> 32);
}
