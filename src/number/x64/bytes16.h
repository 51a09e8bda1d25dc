// Sixteen bytes at a time, on x64: SSE2, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <emmintrin.h>
#include <stdint.h>

using Bytes = __m128i;

// How many aligned blocks a scan may load at once when one of them is known to hold a byte of a text:
// a cache line, which never crosses a page.
inline constexpr int kScanBlocks = 4;

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

// Where 64 bytes are a certain one: a bit for each, the first one's lowest, and how many there are.
struct Places {
    uint64_t bits;
    int64_t count;
};

inline Places vnort_places_of(char byte, const char* at) {
    Bytes found[4];
    uint64_t bits = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        found[i] = _mm_cmpeq_epi8(vnort_load(at + 16 * i), _mm_set1_epi8(byte));  // 0 or -1
        bits |= static_cast<uint64_t>(_mm_movemask_epi8(found[i])) << 16 * i;
    }
    const Bytes sums =
        _mm_add_epi8(_mm_add_epi8(found[0], found[1]), _mm_add_epi8(found[2], found[3]));
    const Bytes halves = _mm_sad_epu8(_mm_sub_epi8(_mm_setzero_si128(), sums), _mm_setzero_si128());
    return {bits, _mm_cvtsi128_si64(_mm_add_epi64(halves, _mm_srli_si128(halves, 8)))};
}

// A bit for each of 16 bytes that is this one, the first one's lowest.
inline uint64_t vnort_places_of(char byte, Bytes bytes) {
    return static_cast<uint64_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte))));
}

// The place of the lowest bit; any number where there is none. As 64 bits, where the compiler's own
// would be widened by another instruction.
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

// Eight bytes from each of two places.
inline Bytes vnort_load_halves(const void* a, const void* b) {
    return _mm_castpd_si128(
        _mm_loadh_pd(_mm_load_sd(static_cast<const double*>(a)), static_cast<const double*>(b)));
}

// Whether no byte is above 9.
inline bool vnort_are_digits(Bytes bytes) {
    return _mm_movemask_epi8(_mm_adds_epu8(bytes, _mm_set1_epi8(127 - 9))) == 0;
}

// Whether no byte is above 9 and the second one is 0.
inline bool vnort_are_pointed_digits(Bytes bytes) {
    constexpr char k = 127 - 9;
    const Bytes limits = _mm_setr_epi8(k, 127, k, k, k, k, k, k, k, k, k, k, k, k, k, k);
    return _mm_movemask_epi8(_mm_adds_epu8(bytes, limits)) == 0;
}

// The four numbers of four digits that sixteen digits are, one to a byte.
using Fours = __m128i;

inline Fours vnort_weigh(Bytes digits, __m128i tens) {
    // Kept from the compiler, which would take five instructions to do without the multiplication.
    __asm__("" : "+x"(tens));
    const __m128i twos = _mm_srli_epi16(_mm_mullo_epi16(digits, tens), 8);
    return _mm_madd_epi16(twos, _mm_set1_epi32(1 << 16 | 100));
}

inline Fours vnort_fours(Bytes digits) { return vnort_weigh(digits, _mm_set1_epi16(10 * 256 + 1)); }

// The same for a digit, a byte that does not count, and fourteen more digits: fifteen in all.
inline Fours vnort_pointed_fours(Bytes digits) {
    constexpr short k = 10 * 256 + 1;
    return vnort_weigh(digits, _mm_setr_epi16(256, k, k, k, k, k, k, k));
}

// Two numbers of sixteen digits each as four of eight.
using Eights = __m128i;

inline Eights vnort_eights(Fours a, Fours b) {
    return _mm_madd_epi16(_mm_packs_epi32(a, b), _mm_set1_epi32(1 << 16 | 10000));
}

inline void vnort_store_eights(Eights eights, uint32_t* to) {
    _mm_storeu_si128(static_cast<Eights*>(static_cast<void*>(to)), eights);
}

// Two integers of 64 bits.
using Words = __m128i;

inline Words vnort_words(Eights eights) {
    return _mm_add_epi64(_mm_mul_epu32(eights, _mm_set1_epi32(100000000)),
                         _mm_srli_epi64(eights, 32));
}

inline void vnort_store_words(Words words, uint64_t* to) {
    _mm_storeu_si128(static_cast<Words*>(static_cast<void*>(to)), words);
}

// Operators on these work on all numbers in them.
using Doubles = __m128d;
using Floats = __m128;

inline Doubles vnort_all(double number) { return _mm_set1_pd(number); }

inline Doubles vnort_two(const double& a, const double& b) {
    return _mm_loadh_pd(_mm_load_sd(&a), &b);
}

// Exact for words below 2^52, which are put together as bits of a double.
inline Doubles vnort_small_doubles(Words words) {
    Doubles two_to_52 = _mm_set1_pd(0x1p52);
    __asm__("" : "+x"(two_to_52));
    return _mm_sub_pd(_mm_or_pd(_mm_castsi128_pd(words), two_to_52), two_to_52);
}

// Two numbers of sixteen digits, each rounded once.
inline Doubles vnort_doubles(Eights eights) {
    const Eights upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
    const Eights lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
    return _mm_cvtepi32_pd(upper) * _mm_set1_pd(1e8) + _mm_cvtepi32_pd(lower);
}

// Of four numbers of eight digits the first and the last two.
inline Doubles vnort_first_doubles(Eights eights) { return _mm_cvtepi32_pd(eights); }
inline Doubles vnort_last_doubles(Eights eights) {
    return _mm_cvtepi32_pd(_mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 2, 3, 2)));
}
inline Floats vnort_floats(Eights eights) { return _mm_cvtepi32_ps(eights); }

inline Floats vnort_floats(Doubles a, Doubles b) {
    return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
}

// 255 in all bytes of those that are not equal, otherwise 0.
inline Bytes vnort_differ(Floats a, Floats b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }

// Changes the sign of those whose `signs` is -0.0.
inline void vnort_store_signed(Doubles numbers, const double* signs, double* to) {
    _mm_storeu_pd(to, _mm_xor_pd(numbers, _mm_load_pd(signs)));
}
inline void vnort_store_signed(Floats numbers, const float* signs, float* to) {
    _mm_storeu_ps(to, _mm_xor_ps(numbers, _mm_load_ps(signs)));
}
