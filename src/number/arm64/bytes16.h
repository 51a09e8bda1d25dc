// Sixteen bytes at a time, on arm64: NEON, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <arm_neon.h>
#include <stdint.h>

namespace vornic {

using Bytes = uint8x16_t;

// How many aligned blocks a scan may load at once when one of them is known to hold a byte of a text:
// memory tagging checks granules of 16 bytes.
inline constexpr int kScanBlocks = 1;

inline Bytes load(const void* from) { return vld1q_u8(static_cast<const uint8_t*>(from)); }

inline Bytes load_aligned(const void* from) { return load(from); }

inline Bytes broadcast(char byte) { return vdupq_n_u8(static_cast<uint8_t>(byte)); }
inline Bytes bit_and(Bytes a, Bytes b) { return vandq_u8(a, b); }
inline Bytes and_not(Bytes a, Bytes b) { return vbicq_u8(a, b); }  // a without b
inline Bytes bit_or(Bytes a, Bytes b) { return vorrq_u8(a, b); }
inline Bytes bit_xor(Bytes a, Bytes b) { return veorq_u8(a, b); }
inline Bytes add(Bytes a, Bytes b) { return vaddq_u8(a, b); }
inline Bytes subtract(Bytes a, Bytes b) { return vsubq_u8(a, b); }
inline Bytes minimum(Bytes a, Bytes b) { return vminq_u8(a, b); }
inline Bytes maximum(Bytes a, Bytes b) { return vmaxq_u8(a, b); }

// 255 where the bytes are equal, otherwise 0.
inline Bytes equal_bytes(Bytes a, Bytes b) { return vceqq_u8(a, b); }

inline bool has_zero(Bytes bytes) { return vminvq_u8(bytes) == 0; }

// Of bytes that are 0 or 255, each becomes the bit of its place among eight.
inline Bytes index_bits(Bytes found) {
    return vandq_u8(found, vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201)));
}

// Where 64 bytes are a certain one: a bit for each, the first one's lowest, and how many there are.
struct Places {
    uint64_t bits;
    int64_t count;
};

inline Places match_mask(char byte, const char* at) {
    const Bytes wanted = broadcast(byte);
    const auto places = [=](int i) { return index_bits(vceqq_u8(load(at + i), wanted)); };
    const Bytes halves =
        vpaddq_u8(vpaddq_u8(places(0), places(16)), vpaddq_u8(places(32), places(48)));
    const uint8x8_t bits = vget_low_u8(vpaddq_u8(halves, halves));
    return {vget_lane_u64(vreinterpret_u64_u8(bits), 0), vaddv_u8(vcnt_u8(bits))};
}

// A bit for each of 16 bytes that is this one, the first one's lowest.
inline uint64_t match_mask(char byte, Bytes bytes) {
    Bytes bits = index_bits(vceqq_u8(bytes, broadcast(byte)));
    for (int i = 0; i < 3; ++i) bits = vpaddq_u8(bits, bits);
    return vgetq_lane_u16(vreinterpretq_u16_u8(bits), 0);
}

// The place of the lowest bit; there is one.
inline uint64_t lowest_bit_index(uint64_t places) {
    return static_cast<uint64_t>(__builtin_ctzll(places));
}

// The places of all bits, the lowest one first; any number after the last one. The bits are reversed
// once, since there is an instruction that counts leading zeros alone.
class PlaceList {
public:
    explicit PlaceList(uint64_t places) { __asm__("rbit\t%0, %1" : "=r"(places_) : "r"(places)); }
    uint64_t next() {
        uint64_t place;
        __asm__("clz\t%0, %1" : "=r"(place) : "r"(places_));
        places_ &= ~(uint64_t{1} << 63 >> (place & 63));
        return place;
    }

private:
    uint64_t places_;
};

// Sums of bytes over many blocks.
class ByteSums {
public:
    void add(Bytes bytes) { sums_ = vpadalq_u32(sums_, vpaddlq_u16(vpaddlq_u8(bytes))); }
    uint64_t total() const { return vaddvq_u64(sums_); }

private:
    uint64x2_t sums_ = vdupq_n_u64(0);
};

// Eight bytes from each of two places.
inline Bytes load_halves(const void* a, const void* b) {
    return vcombine_u8(vld1_u8(static_cast<const uint8_t*>(a)),
                       vld1_u8(static_cast<const uint8_t*>(b)));
}

// Whether no byte is above 9.
inline bool are_digits(Bytes bytes) { return vmaxvq_u8(bytes) <= 9; }

// Whether no byte of either is above 9 and the second one of `pointed` is 0.
inline bool are_pointed_digits(Bytes pointed, Bytes others) {
    constexpr uint64_t k = 0x7676767676767676;  // 127 - 9 in each byte
    const uint64_t limits[] = {(k & ~uint64_t{0xff00}) | 0x7f00, k};
    const Bytes either =
        vmaxq_u8(vqaddq_u8(pointed, load(limits)), vqaddq_u8(others, broadcast(127 - 9)));
    return vmaxvq_u8(either) < 128;
}

// The four numbers of four digits that sixteen digits are, one to a byte.
using Fours = uint32x4_t;

inline Fours weigh(Bytes digits, Bytes tens) {
    const uint16x8_t hundreds = vreinterpretq_u16_u32(vdupq_n_u32(1 << 16 | 100));
    const uint16x8_t twos = vpaddlq_u8(vmulq_u8(digits, tens));
    return vpaddlq_u16(vmulq_u16(twos, hundreds));
}

inline Fours to_fours(Bytes digits) {
    return weigh(digits, vreinterpretq_u8_u16(vdupq_n_u16(1 << 8 | 10)));
}

// The same for a digit, a byte that does not count, and fourteen more digits: fifteen in all.
inline Fours to_pointed_fours(Bytes digits) {
    constexpr uint64_t k = 0x010a010a010a010a;
    const uint64_t tens[] = {(k & ~uint64_t{0xffff}) | 1, k};
    return weigh(digits, load(tens));
}

// Two numbers of sixteen digits each as four of eight.
using Eights = uint32x4_t;

inline Eights to_eights(Fours a, Fours b) {
    const Eights thousands = vreinterpretq_u32_u64(vdupq_n_u64(uint64_t{1} << 32 | 10000));
    return vpaddq_u32(vmulq_u32(a, thousands), vmulq_u32(b, thousands));
}

inline void store_eights(Eights eights, uint32_t* to) { vst1q_u32(to, eights); }

// Two integers of 64 bits.
using Words = uint64x2_t;

inline Words to_words(Eights eights) {
    const Words both = vreinterpretq_u64_u32(eights);  // the upper eight digits are low
    return vmlal_u32(vshrq_n_u64(both, 32), vmovn_u64(both), vdup_n_u32(100000000));
}

inline void store_words(Words words, uint64_t* to) { vst1q_u64(to, words); }

// Operators on these work on all numbers in them.
using Doubles = float64x2_t;
using Floats = float32x4_t;

inline Doubles broadcast(double number) { return vdupq_n_f64(number); }

inline Doubles two(const double& a, const double& b) {
    return vcombine_f64(vld1_f64(&a), vld1_f64(&b));
}

// Exact for words below 2^52.
inline Doubles small_to_doubles(Words words) { return vcvtq_f64_u64(words); }

// Two numbers of sixteen digits, each rounded once.
inline Doubles to_doubles(Eights eights) { return vcvtq_f64_u64(to_words(eights)); }

// Of four numbers of eight digits the first and the last two.
inline Doubles first_to_doubles(Eights eights) {
    return vcvtq_f64_u64(vmovl_u32(vget_low_u32(eights)));
}
inline Doubles last_to_doubles(Eights eights) { return vcvtq_f64_u64(vmovl_high_u32(eights)); }
inline Floats to_floats(Eights eights) { return vcvtq_f32_u32(eights); }

inline Floats to_floats(Doubles a, Doubles b) { return vcvt_high_f32_f64(vcvt_f32_f64(a), b); }

// 255 in all bytes of those that are not equal, otherwise 0.
inline Bytes differ(Floats a, Floats b) { return vreinterpretq_u8_u32(vmvnq_u32(vceqq_f32(a, b))); }

// Changes the sign of those whose `signs` is -0.0.
inline void store_signed(Doubles numbers, const double* signs, double* to) {
    const Words bits = vreinterpretq_u64_f64(vld1q_f64(signs));
    vst1q_f64(to, vreinterpretq_f64_u64(veorq_u64(vreinterpretq_u64_f64(numbers), bits)));
}
inline void store_signed(Floats numbers, const float* signs, float* to) {
    const uint32x4_t bits = vreinterpretq_u32_f32(vld1q_f32(signs));
    vst1q_f32(to, vreinterpretq_f32_u32(veorq_u32(vreinterpretq_u32_f32(numbers), bits)));
}

}  // namespace vornic
