// Operations on sixteen bytes at a time for arm64: NEON, which every arm64 processor has. The header of
// the same name for x64 declares the same functions. The operators &, |, ^ and ~ work on Bytes,
// arithmetic ones on Doubles and Floats.
#pragma once

#include <arm_neon.h>
#include <stdint.h>

namespace vornic {

using Bytes = uint8x16_t;
using Eights = uint32x4_t;  // each the value of eight digits
using Words = uint64x2_t;
using Doubles = float64x2_t;
using Floats = float32x4_t;

// How many aligned blocks of 16 bytes a scan may load at once if one of them may hold the end of the
// text: memory tagging (MTE) checks granules of 16 bytes.
inline constexpr int kScanBlocks = 1;

inline Bytes load(const void* from) { return vld1q_u8(static_cast<const uint8_t*>(from)); }
inline Bytes load_aligned(const void* from) { return load(from); }
inline void store(Bytes bytes, void* to) { vst1q_u8(static_cast<uint8_t*>(to), bytes); }

// Eight bytes from each of two addresses.
inline Bytes load_halves(const void* a, const void* b) {
    return vcombine_u8(vld1_u8(static_cast<const uint8_t*>(a)),
                       vld1_u8(static_cast<const uint8_t*>(b)));
}

// The first eight bytes of two entries of sixteen, and their second eight.
struct Columns {
    Bytes first, second;
};
inline Columns load_columns(const void* a, const void* b) {
    const Words x = vreinterpretq_u64_u8(load(a)), y = vreinterpretq_u64_u8(load(b));
    return {vreinterpretq_u8_u64(vzip1q_u64(x, y)), vreinterpretq_u8_u64(vzip2q_u64(x, y))};
}

inline Bytes broadcast(char byte) { return vdupq_n_u8(static_cast<uint8_t>(byte)); }
inline Bytes minimum(Bytes a, Bytes b) { return vminq_u8(a, b); }
inline Bytes maximum(Bytes a, Bytes b) { return vmaxq_u8(a, b); }

// A byte of a vector register as a word. It is already zero-extended; GCC 12 would do so again.
inline uint32_t widen(uint8_t byte) {
    uint32_t word = byte;
    __asm__("" : "+r"(word));
    return word;
}

inline bool has_zero(Bytes bytes) { return widen(vminvq_u8(bytes)) == 0; }

// A bit for each of 16 bytes, the lowest for the first: set if the byte equals `byte`.
inline uint64_t match_mask(char byte, Bytes bytes) {
    const Bytes index_bits = vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201));
    Bytes bits = vceqq_u8(bytes, broadcast(byte)) & index_bits;
    for (int i = 0; i < 3; ++i) bits = vpaddq_u8(bits, bits);
    return vgetq_lane_u16(vreinterpretq_u16_u8(bits), 0);
}

// The same for 64 bytes, and the number of bits set. LD4 deals them out to four registers, so that
// bytes 4i to 4i + 3 share lane i; shifting and inserting turns their four bits into a nibble.
struct Matches {
    uint64_t bits;
    int64_t count;
};

inline Matches match_64(char byte, const char* at) {
    const uint8x16x4_t text = vld4q_u8(reinterpret_cast<const uint8_t*>(at));
    const auto found = [=](int i) { return vceqq_u8(text.val[i], broadcast(byte)); };
    const Bytes lower = vsriq_n_u8(found(1), found(0), 1),
                upper = vsriq_n_u8(found(3), found(2), 1);
    const Bytes all = vsriq_n_u8(upper, lower, 2);  // four bits at the top of each lane
    const uint8x8_t bits = vshrn_n_u16(vreinterpretq_u16_u8(vsriq_n_u8(all, all, 4)), 4);
    return {vget_lane_u64(vreinterpret_u64_u8(bits), 0), vaddv_u8(vcnt_u8(bits))};
}

// Undefined for 0.
inline uint64_t lowest_bit_index(uint64_t bits) {
    return static_cast<uint64_t>(__builtin_ctzll(bits));
}

// The indices of the bits set in a word, the lowest first; undefined after the last one. The word is
// reversed once, because arm64 has an instruction for leading zeros only.
class BitIndices {
public:
    explicit BitIndices(uint64_t bits) { __asm__("rbit\t%0, %1" : "=r"(bits_) : "r"(bits)); }
    uint64_t next() {
        uint64_t index;
        __asm__("clz\t%0, %1" : "=r"(index) : "r"(bits_));
        bits_ &= ~(uint64_t{1} << 63 >> (index & 63));
        return index;
    }

private:
    uint64_t bits_;
};

// The index of the first of 16 bytes that equals `byte`, or `limit`, whichever is less.
inline int64_t find_byte(char byte, Bytes bytes, int64_t limit) {
    const Bytes indices = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const int64_t index = widen(vminvq_u8(vornq_u8(indices, vceqq_u8(bytes, broadcast(byte)))));
    return index < limit ? index : limit;
}

// Counts the occurrences of a byte in many blocks.
class ByteCount {
public:
    explicit ByteCount(char byte) : byte_(broadcast(byte)) {}
    void add(const Bytes (&blocks)[4]) {
        const auto found = [&](int i) { return vceqq_u8(blocks[i], byte_); };  // 0 or -1
        const int8x16_t sums = vreinterpretq_s8_u8(
            vaddq_u8(vaddq_u8(found(0), found(1)), vaddq_u8(found(2), found(3))));
        sums_ = vpadalq_s32(sums_, vpaddlq_s16(vpaddlq_s8(sums)));
    }
    uint64_t total() const { return static_cast<uint64_t>(-vaddvq_s64(sums_)); }

private:
    Bytes byte_;
    int64x2_t sums_ = vdupq_n_s64(0);  // negated
};

// Whether no byte is above 9.
inline bool are_digits(Bytes bytes) { return widen(vmaxvq_u8(bytes)) <= 9; }

// Whether no byte of either is above 9 and the second byte of `pointed` is 0.
inline bool are_pointed_digits(Bytes pointed, Bytes others) {
    const Bytes limits = {9, 0, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
    return widen(vmaxvq_u8(vcgtq_u8(pointed, limits) | vcgtq_u8(others, broadcast(9)))) == 0;
}

// Each step adds neighbours and joins the two arguments: digits become pairs, fours, eights.
inline Eights sum_eights(Bytes a, Bytes b, Bytes tens) {
    const Bytes hundreds = vreinterpretq_u8_u16(vdupq_n_u16(1 << 8 | 100));
    const uint16x8_t thousands = vreinterpretq_u16_u32(vdupq_n_u32(1 << 16 | 10000));
    const Bytes pairs = vpaddq_u8(vmulq_u8(a, tens), vmulq_u8(b, tens));  // up to 99
    const uint16x8_t fours = vpaddq_u16(vmull_u8(vget_low_u8(pairs), vget_low_u8(hundreds)),
                                        vmull_high_u8(pairs, hundreds));
    return vpaddq_u32(vmull_u16(vget_low_u16(fours), vget_low_u16(thousands)),
                      vmull_high_u16(fours, thousands));
}

// The values of two groups of eight digits in `a`, then of two in `b`; each byte is a digit.
inline Eights to_eights(Bytes a, Bytes b) {
    return sum_eights(a, b, vreinterpretq_u8_u16(vdupq_n_u16(1 << 8 | 10)));
}

// The same, but the second byte of each is ignored: seven digits, then eight.
inline Eights pointed_to_eights(Bytes a, Bytes b) {
    return sum_eights(a, b, Bytes{1, 0, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1});
}

// The values of two groups of sixteen digits.
inline Words to_words(Eights eights) {
    const Words both = vreinterpretq_u64_u32(eights);  // the leading digits are the low half
    return vmlal_u32(vshrq_n_u64(both, 32), vmovn_u64(both), vdup_n_u32(100000000));
}

// The same as doubles, each rounded once.
inline Doubles to_doubles(Eights eights) { return vcvtq_f64_u64(to_words(eights)); }

// Exact for words below 2^52.
inline Doubles small_to_doubles(Words words) { return vcvtq_f64_u64(words); }

// The first two, the last two or all of four integers.
inline Doubles first_to_doubles(Eights eights) {
    return vcvtq_f64_u64(vmovl_u32(vget_low_u32(eights)));
}
inline Doubles last_to_doubles(Eights eights) { return vcvtq_f64_u64(vmovl_high_u32(eights)); }
inline Floats to_floats(Eights eights) { return vcvtq_f32_u32(eights); }

inline Floats to_floats(Doubles a, Doubles b) { return vcvt_high_f32_f64(vcvt_f32_f64(a), b); }

// 255 in all bytes of the lanes that are unequal or unordered, otherwise 0.
inline Bytes not_equal(Floats a, Floats b) { return ~vreinterpretq_u8_u32(vceqq_f32(a, b)); }

}  // namespace vornic
