// The two scans that pass over whole arrays take 16 bytes at a time. Blocks begin at multiples of
// 16 and only where the text has not ended yet, so that none reaches into a page that the text does
// not touch; a block may reach past the end of the text, which the address checker is told.
#include "json/scan.h"

#include <emmintrin.h>

namespace {

constexpr uintptr_t kBlock = 16;

bool begins_block(const char* at) { return reinterpret_cast<uintptr_t>(at) % kBlock == 0; }

__attribute__((no_sanitize("address"))) __m128i load_block(const char* at) {
    return *static_cast<const __m128i*>(static_cast<const void*>(at));
}

__m128i equals(__m128i block, char byte) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(byte)); }

bool is_mark(char byte) { return byte == '"' || byte == '{' || byte == '\0'; }

bool ends_array(char byte) { return byte == ']' || byte == '\0'; }

bool has_mark(__m128i block) {
    __m128i found =
        _mm_or_si128(_mm_or_si128(equals(block, '"'), equals(block, '{')), equals(block, '\0'));
    return _mm_movemask_epi8(found) != 0;
}

bool has_array_end(__m128i block) {
    return _mm_movemask_epi8(_mm_or_si128(equals(block, ']'), equals(block, '\0'))) != 0;
}

}  // namespace

const char* vnort_find_mark(const char* at) {
    for (; !begins_block(at); ++at) {
        if (is_mark(*at)) return at;
    }
    while (!has_mark(load_block(at))) at += kBlock;
    while (!is_mark(*at)) ++at;
    return at;
}

CommaCount vnort_count_commas(const char* at) {
    uint64_t commas = 0;
    for (; !begins_block(at); ++at) {
        if (ends_array(*at)) return {commas, at};
        commas += *at == ',';
    }
    __m128i sums = _mm_setzero_si128();  // of the lower and of the upper half of the blocks
    for (; !has_array_end(load_block(at)); at += kBlock) {
        __m128i ones = _mm_and_si128(equals(load_block(at), ','), _mm_set1_epi8(1));
        sums = _mm_add_epi64(sums, _mm_sad_epu8(ones, _mm_setzero_si128()));
    }
    uint64_t halves[2];
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(halves)), sums);
    for (; !ends_array(*at); ++at) commas += *at == ',';
    return {commas + halves[0] + halves[1], at};
}
