// Operations on sixteen bytes at a time for x64: SSE2, which every x64 processor has. The header of the
// same name for arm64 declares the same functions. The operators &, |, ^ and ~ work on Bytes, arithmetic
// ones on Doubles and Floats.
#pragma once

#include <emmintrin.h>
#include <stdint.h>

namespace vornic {

using Bytes = __m128i;
using Eights = __m128i;  // four 32-bit integers, each the value of eight digits
using Words = __m128i;   // two 64-bit integers
using Doubles = __m128d;
using Floats = __m128;

// How many aligned blocks of 16 bytes a scan may load at once if one of them may hold the end of the
// text: the four of a cache line, which never crosses a page.
inline constexpr int kScanBlocks = 4;

inline Bytes load(const void* from) { return _mm_loadu_si128(static_cast<const Bytes*>(from)); }
inline Bytes load_aligned(const void* from) {
    return _mm_load_si128(static_cast<const Bytes*>(from));
}
inline void store(Bytes bytes, void* to) { _mm_storeu_si128(static_cast<Bytes*>(to), bytes); }

// Eight bytes from each of two addresses.
inline Bytes load_halves(const void* a, const void* b) {
    // Not _mm_load_sd, which in GCC dereferences an aligned double.
    const Doubles first = _mm_castsi128_pd(_mm_loadu_si64(a));
    return _mm_castpd_si128(_mm_loadh_pd(first, static_cast<const double*>(b)));
}

// The first eight bytes of two entries of sixteen, and their second eight.
struct Columns {
    Bytes first, second;
};
inline Columns load_columns(const void* a, const void* b) {
    return {load_halves(a, b),
            load_halves(static_cast<const char*>(a) + 8, static_cast<const char*>(b) + 8)};
}

inline Bytes broadcast(char byte) { return _mm_set1_epi8(byte); }
inline Bytes minimum(Bytes a, Bytes b) { return _mm_min_epu8(a, b); }
inline Bytes maximum(Bytes a, Bytes b) { return _mm_max_epu8(a, b); }

inline bool has_zero(Bytes bytes) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0;
}

inline int64_t add_halves(Bytes words) {
    return _mm_cvtsi128_si64(_mm_add_epi64(words, _mm_srli_si128(words, 8)));
}

// A bit for each of 16 bytes, the lowest for the first: set if the byte equals `byte`.
inline uint64_t match_mask(char byte, Bytes bytes) {
    return static_cast<uint64_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte))));
}

// The same for 64 bytes, and the number of bits set.
struct Matches {
    uint64_t bits;
    int64_t count;
};

inline Matches match_64(char byte, const char* at) {
    Bytes found[4];
    uint64_t bits = 0;
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        found[i] = _mm_cmpeq_epi8(load(at + 16 * i), _mm_set1_epi8(byte));  // 0 or -1
        bits |= static_cast<uint64_t>(_mm_movemask_epi8(found[i])) << 16 * i;
    }
    const Bytes sums =
        _mm_add_epi8(_mm_add_epi8(found[0], found[1]), _mm_add_epi8(found[2], found[3]));
    return {bits,
            add_halves(_mm_sad_epu8(_mm_sub_epi8(_mm_setzero_si128(), sums), _mm_setzero_si128()))};
}

// Undefined for 0. Inline assembly, because GCC 12 widens the result of __builtin_ctzll with another
// instruction.
inline uint64_t lowest_bit_index(uint64_t bits) {
    uint64_t index;
    __asm__("rep bsfq\t%1, %0" : "=r"(index) : "r"(bits) : "cc");
    return index;
}

// The indices of the bits set in a word, the lowest first; undefined after the last one.
class BitIndices {
public:
    explicit BitIndices(uint64_t bits) : bits_(bits) {}
    uint64_t next() {
        const uint64_t index = lowest_bit_index(bits_);
        bits_ &= bits_ - 1;
        return index;
    }

private:
    uint64_t bits_;
};

// The index of the first of 16 bytes that equals `byte`, or `limit`, whichever is less.
inline int64_t find_byte(char byte, Bytes bytes, int64_t limit) {
    return static_cast<int64_t>(lowest_bit_index(match_mask(byte, bytes) | uint64_t{1} << limit));
}

// Counts the occurrences of a byte in many blocks.
class ByteCount {
public:
    explicit ByteCount(char byte) : byte_(broadcast(byte)) {}
    void add(const Bytes (&blocks)[4]) {
        Bytes found = _mm_setzero_si128();  // a count for each of 16 indices
#pragma GCC unroll 4
        for (const Bytes block : blocks) found = _mm_sub_epi8(found, _mm_cmpeq_epi8(block, byte_));
        sums_ = _mm_add_epi64(sums_, _mm_sad_epu8(found, _mm_setzero_si128()));
    }
    uint64_t total() const { return static_cast<uint64_t>(add_halves(sums_)); }

private:
    Bytes byte_;
    Bytes sums_ = _mm_setzero_si128();  // for the lower and the upper eight bytes
};

// Whether no byte is above 9.
inline bool are_digits(Bytes bytes) {
    return _mm_movemask_epi8(_mm_adds_epu8(bytes, _mm_set1_epi8(127 - 9))) == 0;
}

// Whether no byte of either is above 9 and the second byte of `pointed` is 0.
inline bool are_pointed_digits(Bytes pointed, Bytes others) {
    constexpr char k = 127 - 9;
    const Bytes limits = _mm_setr_epi8(k, 127, k, k, k, k, k, k, k, k, k, k, k, k, k, k);
    return _mm_movemask_epi8(_mm_adds_epu8(pointed, limits) |
                             _mm_adds_epu8(others, _mm_set1_epi8(k))) == 0;
}

inline __m128i sum_fours(Bytes digits, __m128i tens) {
    // Opaque to the compiler, which would replace the multiplication by five instructions.
    __asm__("" : "+x"(tens));
    const __m128i pairs = _mm_srli_epi16(_mm_mullo_epi16(digits, tens), 8);
    return _mm_madd_epi16(pairs, _mm_set1_epi32(1 << 16 | 100));
}

inline Eights sum_eights(Bytes a, Bytes b, __m128i tens) {
    return _mm_madd_epi16(_mm_packs_epi32(sum_fours(a, tens), sum_fours(b, tens)),
                          _mm_set1_epi32(1 << 16 | 10000));
}

// The values of two groups of eight digits in `a`, then of two in `b`; each byte is a digit.
inline Eights to_eights(Bytes a, Bytes b) { return sum_eights(a, b, _mm_set1_epi16(10 << 8 | 1)); }

// The same, but the second byte of each is ignored: seven digits, then eight.
inline Eights pointed_to_eights(Bytes a, Bytes b) {
    constexpr short k = 10 << 8 | 1;
    return sum_eights(a, b, _mm_setr_epi16(1 << 8, k, k, k, k, k, k, k));
}

// The values of two groups of sixteen digits.
inline Words to_words(Eights eights) {
    return _mm_add_epi64(_mm_mul_epu32(eights, _mm_set1_epi32(100000000)),
                         _mm_srli_epi64(eights, 32));
}

// The same as doubles, each rounded once.
inline Doubles to_doubles(Eights eights) {
    const Eights upper = _mm_shuffle_epi32(eights, _MM_SHUFFLE(2, 0, 2, 0));
    const Eights lower = _mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 1, 3, 1));
    return _mm_cvtepi32_pd(upper) * _mm_set1_pd(1e8) + _mm_cvtepi32_pd(lower);
}

// Exact for words below 2^52: they become the fraction of a double between 2^52 and 2^53.
inline Doubles small_to_doubles(Words words) {
    Doubles two_to_52 = _mm_set1_pd(0x1p52);
    __asm__("" : "+x"(two_to_52));
    return _mm_sub_pd(_mm_or_pd(_mm_castsi128_pd(words), two_to_52), two_to_52);
}

// The first two, the last two or all of four integers.
inline Doubles first_to_doubles(Eights eights) { return _mm_cvtepi32_pd(eights); }
inline Doubles last_to_doubles(Eights eights) {
    return _mm_cvtepi32_pd(_mm_shuffle_epi32(eights, _MM_SHUFFLE(3, 2, 3, 2)));
}
inline Floats to_floats(Eights eights) { return _mm_cvtepi32_ps(eights); }

inline Floats to_floats(Doubles a, Doubles b) {
    return _mm_movelh_ps(_mm_cvtpd_ps(a), _mm_cvtpd_ps(b));
}

// 255 in all bytes of the lanes that are unequal or unordered, otherwise 0.
inline Bytes not_equal(Floats a, Floats b) { return _mm_castps_si128(_mm_cmpneq_ps(a, b)); }

}  // namespace vornic
