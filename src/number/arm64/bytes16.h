// Sixteen bytes at a time, on arm64: NEON, which every one has. The same functions stand in a file for
// each processor.
#pragma once

#include <arm_neon.h>
#include <stdint.h>

using Bytes = uint8x16_t;

inline Bytes vnort_load(const void* from) { return vld1q_u8(static_cast<const uint8_t*>(from)); }

inline Bytes vnort_load_aligned(const void* from) { return vnort_load(from); }

inline Bytes vnort_all(char byte) { return vdupq_n_u8(static_cast<uint8_t>(byte)); }
inline Bytes vnort_and(Bytes a, Bytes b) { return vandq_u8(a, b); }
inline Bytes vnort_and_not(Bytes a, Bytes b) { return vbicq_u8(a, b); }  // a without b
inline Bytes vnort_or(Bytes a, Bytes b) { return vorrq_u8(a, b); }
inline Bytes vnort_xor(Bytes a, Bytes b) { return veorq_u8(a, b); }
inline Bytes vnort_add(Bytes a, Bytes b) { return vaddq_u8(a, b); }
inline Bytes vnort_subtract(Bytes a, Bytes b) { return vsubq_u8(a, b); }
inline Bytes vnort_least(Bytes a, Bytes b) { return vminq_u8(a, b); }
inline Bytes vnort_greatest(Bytes a, Bytes b) { return vmaxq_u8(a, b); }

// 255 where the bytes are equal, otherwise 0.
inline Bytes vnort_equal(Bytes a, Bytes b) { return vceqq_u8(a, b); }

inline bool vnort_has_zero(Bytes bytes) { return vminvq_u8(bytes) == 0; }

// Of bytes that are 0 or 255, each becomes the bit of its place among eight.
inline Bytes vnort_place_bits(Bytes found) {
    return vandq_u8(found, vreinterpretq_u8_u64(vdupq_n_u64(0x8040201008040201)));
}

// A bit for each of 64 bytes that is this one, the first one's lowest.
inline uint64_t vnort_places_of(char byte, const char* at) {
    const Bytes wanted = vnort_all(byte);
    const auto places = [=](int i) {
        return vnort_place_bits(vceqq_u8(vnort_load(at + i), wanted));
    };
    const Bytes halves =
        vpaddq_u8(vpaddq_u8(places(0), places(16)), vpaddq_u8(places(32), places(48)));
    return vgetq_lane_u64(vreinterpretq_u64_u8(vpaddq_u8(halves, halves)), 0);
}

// The same for 16 bytes that are loaded already.
inline uint64_t vnort_places_of(char byte, Bytes bytes) {
    Bytes bits = vnort_place_bits(vceqq_u8(bytes, vnort_all(byte)));
    for (int i = 0; i < 3; ++i) bits = vpaddq_u8(bits, bits);
    return vgetq_lane_u16(vreinterpretq_u16_u8(bits), 0);
}

// The place of the lowest bit; there is one.
inline uint64_t vnort_first(uint64_t places) {
    return static_cast<uint64_t>(__builtin_ctzll(places));
}

// Sums of bytes over many blocks.
class ByteSums {
public:
    void add(Bytes bytes) { sums_ = vpadalq_u32(sums_, vpaddlq_u16(vpaddlq_u8(bytes))); }
    uint64_t total() const { return vaddvq_u64(sums_); }

private:
    uint64x2_t sums_ = vdupq_n_u64(0);
};

// Whether no byte is above 9.
inline bool vnort_are_digits(Bytes bytes) { return vmaxvq_u8(bytes) <= 9; }

// The four numbers of four digits that sixteen digits are, one to a byte.
using Fours = uint32x4_t;

inline Fours vnort_fours(Bytes digits) {
    const Bytes tens = vreinterpretq_u8_u16(vdupq_n_u16(1 << 8 | 10));
    const uint16x8_t hundreds = vreinterpretq_u16_u32(vdupq_n_u32(1 << 16 | 100));
    const uint16x8_t twos = vpaddlq_u8(vmulq_u8(digits, tens));
    return vpaddlq_u16(vmulq_u16(twos, hundreds));
}

// Two numbers of sixteen digits each as two of eight, 64 bits for each of the sixteen.
inline uint32x4_t vnort_eights(Fours a, Fours b) {
    const uint32x4_t thousands = vreinterpretq_u32_u64(vdupq_n_u64(uint64_t{1} << 32 | 10000));
    return vpaddq_u32(vmulq_u32(a, thousands), vmulq_u32(b, thousands));
}

// Two numbers of up to sixteen digits, each divided: rounded once for fifteen digits. Sixteen the sum
// may round already: their divisors have to be 1 or -1.
inline void vnort_divide_sixteen(Fours a, Fours b, const double* a_divisor, const double* b_divisor,
                                 double* to) {
    const uint64x2_t both = vreinterpretq_u64_u32(vnort_eights(a, b));  // the upper eight are low
    const float64x2_t upper = vcvtq_f64_u64(vandq_u64(both, vdupq_n_u64(0xffffffff)));
    const float64x2_t lower = vcvtq_f64_u64(vshrq_n_u64(both, 32));
    const float64x2_t words = vaddq_f64(vmulq_f64(upper, vdupq_n_f64(1e8)), lower);
    const float64x2_t divisors = vcombine_f64(vld1_f64(a_divisor), vld1_f64(b_divisor));
    vst1q_f64(to, vdivq_f64(words, divisors));
}

inline void vnort_divide(Fours a, Fours b, const double* a_divisor, const double* b_divisor,
                         double* to) {
    vnort_divide_sixteen(a, b, a_divisor, b_divisor, to);
}

inline uint64_t vnort_number(Fours digits) {
    const uint64_t both = vgetq_lane_u64(vreinterpretq_u64_u32(vnort_eights(digits, digits)), 0);
    return (both & 0xffffffff) * 100000000 + (both >> 32);
}
