// The two scans that pass over whole arrays take 64 bytes at a time. Windows begin at multiples of 64
// and only where the text has not ended yet, so that none reaches into a page that the text does not
// touch; a window may reach past the end of the text, which the address checker is told.
#include "json/scan.h"

#include "bytes16.h"

namespace {

constexpr uintptr_t kWindow = 64;

struct Window {
    Bytes a, b, c, d;
};

bool begins_window(const char* at) { return reinterpret_cast<uintptr_t>(at) % kWindow == 0; }

__attribute__((no_sanitize("address"))) Window load_window(const char* at) {
    const Bytes* const from = static_cast<const Bytes*>(static_cast<const void*>(at));
    return {from[0], from[1], from[2], from[3]};
}

// A byte is 0 where it was this one.
Bytes zero_at(Bytes bytes, char byte) { return vnort_xor(bytes, vnort_all(byte)); }

bool is_mark(char byte) { return byte == '"' || byte == '{' || byte == '\0'; }

bool ends_array(char byte) { return byte == ']' || byte == '\0'; }

Bytes zero_at_mark(Bytes bytes) {
    return vnort_least(bytes, vnort_least(zero_at(bytes, '"'), zero_at(bytes, '{')));
}

Bytes zero_at_array_end(Bytes bytes) { return vnort_least(bytes, zero_at(bytes, ']')); }

// Whether a window has a byte that is 0 after it was changed.
template <typename Change>
bool has_zero(const Window& window, Change change) {
    const Bytes least = vnort_least(vnort_least(change(window.a), change(window.b)),
                                    vnort_least(change(window.c), change(window.d)));
    return vnort_has_zero(least);
}

// How many commas there are in each of the sixteen places of a window's blocks.
Bytes count_commas(const Window& window) {
    const auto found = [](Bytes bytes) { return vnort_equal(bytes, vnort_all(',')); };  // 0 or -1
    const Bytes all = vnort_add(vnort_add(found(window.a), found(window.b)),
                                vnort_add(found(window.c), found(window.d)));
    return vnort_subtract(vnort_all('\0'), all);
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
    ByteSums sums;
    for (;; at += kWindow) {
        const Window window = load_window(at);
        if (has_zero(window, zero_at_array_end)) break;
        sums.add(count_commas(window));
    }
    for (; !ends_array(*at); ++at) commas += *at == ',';
    return {commas + sums.total(), at};
}
