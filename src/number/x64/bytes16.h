// Sixteen bytes at a time, on x64: SSE2, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <emmintrin.h>
#include <stdint.h>

namespace vornic {

using Bytes = __m128i;

// How many aligned blocks a scan may load at once when one of them is known to hold a byte of a text:
// a cache line, which never crosses a page.
inline constexpr int kScanBlocks = 4;

inline Bytes load(const void* from) { return _mm_loadu_si128(static_cast<const Bytes*>(from)); }

inline Bytes load_aligned(const void* from) {
    return _mm_load_si128(static_cast<const Bytes*>(from));
}

inline Bytes broadcast(char byte) { return _mm_set1_epi8(byte); }
inline Bytes bit_and(Bytes a, Bytes b) { return _mm_and_si128(a, b); }
inline Bytes and_not(Bytes a, Bytes b) { return _mm_andnot_si128(b, a); }  // a without b
inline Bytes bit_or(Bytes a, Bytes b) { return _mm_or_si128(a, b); }
inline Bytes bit_xor(Bytes a, Bytes b) { return _mm_xor_si128(a, b); }
inline Bytes add(Bytes a, Bytes b) { return _mm_add_epi8(a, b); }
inline Bytes subtract(Bytes a, Bytes b) { return _mm_sub_epi8(a, b); }
inline Bytes minimum(Bytes a, Bytes b) { return _mm_min_epu8(a, b); }
inline Bytes maximum(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }

// 255 where the bytes are equal, otherwise 0.
inline Bytes equal_bytes(Bytes a, Bytes b) { return _mm_cmpeq_epi8(a, b); }

inline bool has_zero(Bytes bytes) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0;
}

// Where 64 bytes are a certain one: a bit for each, the first one's lowest, and how many there are.
struct Places {
    uint64_t bits;
    int64_t count;
};

inline Places match_mask(char byte, const char* at) {
    Bytes found[4];
    uint64_t bits = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        found[i] = _mm_cmpeq_epi8(load(at + 16 * i), _mm_set1_epi8(byte));  // 0 or -1
        bits |= static_cast<uint64_t>(_mm_movemask_epi8(found[i])) << 16 * i;
    }
    const Bytes sums =
        _mm_add_epi8(_mm_add_epi8(found[0], found[1]), _mm_add_epi8(found[2], found[3]));
    const Bytes halves = _mm_sad_epu8(_mm_sub_epi8(_mm_setzero_si128(), sums), _mm_setzero_si128());
    return {bits, _mm_cvtsi128_si64(_mm_add_epi64(halves, _mm_srli_si128(halves, 8)))};
}

// A bit for each of 16 bytes that is this one, the first one's lowest.
inline uint64_t match_mask(char byte, Bytes bytes) {
    return static_cast<uint64_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte))));
}

// The place of the lowest bit; any number where there is none. As 64 bits, where the compiler's own
// would be widened by another instruction.
inline uint64_t lowest_bit_index(uint64_t places) {
    uint64_t place;
    __asm__("rep bsfq\t%1, %0" : "=r"(place) : "r"(places) : "cc");
    return place;
}

// The places of all bits, the lowest one first; any number after the last one.
class PlaceList {
public:
    explicit PlaceList(uint64_t places) : places_(places) {}
    uint64_t next() {
        const uint64_t place = lowest_bit_index(places_);
        places_ &= places_ - 1;
        return place;
    }

private:
    uint64_t places_;
};

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
inline Bytes load_halves(const void* a, const void* b) {
    return _mm_castpd_si128(
        _mm_loadh_pd(_mm_load_sd(static_cast<const double*>(a)), static_cast<const double*>(b)));
}

// Whether no byte is above 9.
inline bool are_digits(Bytes bytes) {
    return _mm_movemask_epi8(_mm_adds_epu8(bytes, _mm_set1_epi8(127 - 9))) == 0;
}

// Whether no byte of either is above 9 and the second one of `pointed` is 0.
inline bool are_pointed_digits(Bytes pointed, Bytes others) {
    constexpr char k = 127 - 9;
    const Bytes limits = _mm_setr_epi8(k, 127, k, k, k, k, k, k, k, k, k, k, k, k, k, k);
    const Bytes either =
        _mm_or_si128(_mm_adds_epu8(pointed, limits), _mm_adds_epu8(others, _mm_set1_epi8(k)));
    return _mm_movemask_epi8(either) == 0;
}

// The four numbers of four digits that sixteen digits are, one to a byte.
using Fours = __m128i;

inline Fours weigh(Bytes digits, __m128i tens) {
    // Kept from the compiler, which would take five instructions to do without the multiplication.
    __asm__("" : "+x"(tens));
    const __m128i twos = _mm_srli_epi16(_mm_mullo_epi16(digits, tens), 8);
    return _mm_madd_epi16(twos, _mm_set1_epi32(1 << 16 | 100));
}

inline Fours to_fours(Bytes digits) { return weigh(digits, _mm_set1_epi16(10 * 256 + 1)); }

// The same for a digit, a byte that does not count, and fourteen more digits: fifteen in all.
inline Fours to_pointed_fours(Bytes digits) {
    constexpr short k = 10 * 256 + 1;
    return weigh(digits, _mm_setr_epi16(256, k, k, k, k, k, k, k));
}

// Two numbers of sixteen digits each as four of eight.
using Eights = __m128i;

inline Eights to_eights(Fours a, Fours b) {
    return _mm_madd_epi16(_mm_packs_epi32(a, b), _mm_set1_epi32(1 << 16 | 10000));
}

inline void store_eights(Eights eights, uint32_t* to) {
    _mm_storeu_si128(static_cast<Eights*>(static_cast<void*>(to)), eights);
}

// Two integers of 64 bits.
using Words = __m128i;

inline Words to_words(Eights eights) {
    return _mm_add_epi64(_mm_mul_epu32(eights, _mm_set1_epi32(100000000)),
                         _mm_srli_epi64(eights, 32));
}

inline void store_words(Words words, uint64_t* to) {
    _mm_storeu_si128(static_cast<Words*>(static_cast<void*>(to)), words);
}

// Operators on these work on all numbers in them.
using Doubles = __m128d;
using Floats = __m128;

inline Doubles broadcast(double number) { return _mm_set1_pd(number); }

inline Doubles two(const double& a, const double& b) { return _mm_loadh_pd(_mm_load_sd(&a), &b); }

// Exact for words below 2^52, which are put together as bits of a double.
inline Doubles small_to_doubles(Words words) {
    Doubles two_to_52 = _mm_set1_pd(0x1p52);
    __asm__("" : "+x"(two_to_52));
    return _mm_sub_pd(_mm_or_pd(_mm_castsi128_pd(words), two_to_52), two_to_52);
}

// Two numbers of sixteen digits, each rounded once.
inline Doubles to_doubles(Eights eights) {
    const Eights upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
    const Eights lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
    return _mm_cvtepi32_pd(upper) * _mm_set1_pd(1e8) + _mm_cvtepi32_pd(lower);
}

// Of four numbers of eight digits the first and the last two.
inline Doubles first_to_doubles(Eights eights) { return _mm_cvtepi32_pd(eights); }
inline Doubles last_to_doubles(Eights eights) {
    return _mm_cvtepi32_pd(_mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 2, 3, 2)));
}
inline Floats to_floats(Eights eights) { return _mm_cvtepi32_ps(eights); }

inline Floats to_floats(Doubles a, Doubles b) {
    return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
}

// 255 in all bytes of those that are not equal, otherwise 0.
inline Bytes differ(Floats a, Floats b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }

// Changes the sign of those whose `signs` is -0.0.
inline void store_signed(Doubles numbers, const double* signs, double* to) {
    _mm_storeu_pd(to, _mm_xor_pd(numbers, _mm_load_pd(signs)));
}
inline void store_signed(Floats numbers, const float* signs, float* to) {
    _mm_storeu_ps(to, _mm_xor_ps(numbers, _mm_load_ps(signs)));
}

}  // namespace vornic
