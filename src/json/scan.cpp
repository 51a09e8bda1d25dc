// The two scans that pass over whole arrays take 64 bytes at a time. Windows begin at multiples of 64
// and only where the text has not ended yet, so that none reaches into a page that the text does not
// touch; a window may reach past the end of the text, which the address checker is told.
#include "json/scan.h"

#include <emmintrin.h>

namespace {

using Bytes = __m128i;

constexpr uintptr_t kWindow = 64;

struct Window {
    Bytes a, b, c, d;
};

bool begins_window(const char* at) { return reinterpret_cast<uintptr_t>(at) % kWindow == 0; }

__attribute__((no_sanitize("address"))) Window load_window(const char* at) {
    const Bytes* const from = static_cast<const Bytes*>(static_cast<const void*>(at));
    return {from[0], from[1], from[2], from[3]};
}

Bytes equals(Bytes bytes, char byte) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte)); }

// A byte is 0 where it was this one.
Bytes zero_at(Bytes bytes, char byte) { return _mm_xor_si128(bytes, _mm_set1_epi8(byte)); }

bool is_mark(char byte) { return byte == '"' || byte == '{' || byte == '\0'; }

bool ends_array(char byte) { return byte == ']' || byte == '\0'; }

Bytes zero_at_mark(Bytes bytes) {
    return _mm_min_epu8(bytes, _mm_min_epu8(zero_at(bytes, '"'), zero_at(bytes, '{')));
}

Bytes zero_at_array_end(Bytes bytes) { return _mm_min_epu8(bytes, zero_at(bytes, ']')); }

// Whether a window has a byte that is 0 after it was changed.
template <typename Change>
bool has_zero(const Window& window, Change change) {
    const Bytes least = _mm_min_epu8(_mm_min_epu8(change(window.a), change(window.b)),
                                     _mm_min_epu8(change(window.c), change(window.d)));
    return _mm_movemask_epi8(equals(least, '\0')) != 0;
}

// The commas of a window, those of its halves of eight bytes apart.
Bytes count_commas(const Window& window) {
    // Each is 0 or -1 in a byte.
    const Bytes found = _mm_add_epi8(_mm_add_epi8(equals(window.a, ','), equals(window.b, ',')),
                                     _mm_add_epi8(equals(window.c, ','), equals(window.d, ',')));
    const Bytes zero = _mm_setzero_si128();
    return _mm_sad_epu8(_mm_sub_epi8(zero, found), zero);
}

}  // namespace

const char* vnort_find_mark(const char* at) {
    for (; !begins_window(at); ++at) {
        if (is_mark(*at)) return at;
    }
    while (!has_zero(load_window(at), zero_at_mark)) at += kWindow;
    while (!is_mark(*at)) ++at;
    return at;
}

CommaCount vnort_count_commas(const char* at) {
    uint64_t commas = 0;
    for (; !begins_window(at); ++at) {
        if (ends_array(*at)) return {commas, at};
        commas += *at == ',';
    }
    Bytes sums = _mm_setzero_si128();
    for (;; at += kWindow) {
        const Window window = load_window(at);
        if (has_zero(window, zero_at_array_end)) break;
        sums = _mm_add_epi64(sums, count_commas(window));
    }
    uint64_t halves[2];
    _mm_storeu_si128(static_cast<Bytes*>(static_cast<void*>(halves)), sums);
    for (; !ends_array(*at); ++at) commas += *at == ',';
    return {commas + halves[0] + halves[1], at};
}
