// The two scans over whole texts read aligned windows of four blocks of 16 bytes. They load a block, or on x64
// a window, only after finding no terminator before it. Each such load is therefore within one page, on arm64
// within one granule of memory tagging, and holds at least one byte of the text. Other bytes of the first and
// the last block are ignored; the address sanitizer is told so.
#include "json/scan.h"

#include "bytes16.h"

namespace vornic {
namespace {

constexpr uintptr_t kBlockSize = sizeof(Bytes);
constexpr int kWindowBlocks = 4;

const Bytes* block_of(const char* at) {
    return reinterpret_cast<const Bytes*>(reinterpret_cast<uintptr_t>(at) & ~(kBlockSize - 1));
}

// A bit for each byte of the text's first block that belongs to the text.
uint64_t first_block_mask(const char* text) {
    return ~uint64_t{0} << (reinterpret_cast<uintptr_t>(text) & (kBlockSize - 1));
}

const char* byte_of(const Bytes* block, uint64_t index) {
    return reinterpret_cast<const char*>(block) + index;
}

__attribute__((no_sanitize("address"))) Bytes load(const Bytes* block) { return *block; }

// Each scan turns its delimiters, and no other bytes, into zero; the terminator already is.
constexpr auto zero_marks = [](Bytes bytes) {
    return minimum(bytes, minimum(bytes ^ broadcast('"'), bytes ^ broadcast('{')));
};
constexpr auto zero_array_end = [](Bytes bytes) { return minimum(bytes, bytes ^ broadcast(']')); };

// Loads a window up to its first kScanBlocks blocks with a delimiter. False if there are any.
template <typename Zero>
bool load_plain_window(const Bytes* at, Zero zero_delimiters, Bytes (&window)[kWindowBlocks]) {
#pragma GCC unroll 4
    for (int i = 0; i < kWindowBlocks; i += kScanBlocks) {
        Bytes least = zero_delimiters(window[i] = load(at + i));
#pragma GCC unroll 4
        for (int k = i + 1; k < i + kScanBlocks; ++k) {
            least = minimum(least, zero_delimiters(window[k] = load(at + k)));
        }
        if (has_zero(least)) [[unlikely]]
            return false;
    }
    return true;
}

// The first block with a delimiter. The blocks before it are passed to `skip` as windows, single ones
// padded with zeros.
template <typename Zero, typename Skip>
const Bytes* find_block(const Bytes* at, Zero zero_delimiters, Skip skip) {
    const auto skip_single = [&] {
        const Bytes zeros = broadcast('\0'), block = load(at);
        if (has_zero(zero_delimiters(block))) return false;
        skip({block, zeros, zeros, zeros});
        ++at;
        return true;
    };
    while (reinterpret_cast<uintptr_t>(at) % (kWindowBlocks * kBlockSize) != 0) {
        if (!skip_single()) return at;
    }
    Bytes window[kWindowBlocks];
    for (; load_plain_window(at, zero_delimiters, window); at += kWindowBlocks) skip(window);
    __asm__("" : "+r"(at));  // keeps the loop free of the next check's work
    while (skip_single()) continue;
    return at;
}

uint64_t count_bits(uint64_t bits) {
    uint64_t count = 0;
    for (; bits != 0; bits &= bits - 1) ++count;
    return count;
}

}  // namespace

const char* find_delimiter(const char* text) {
    const Bytes* block = block_of(text);
    uint64_t marks = match_mask('\0', zero_marks(load(block))) & first_block_mask(text);
    if (marks == 0) {
        block = find_block(block + 1, zero_marks, [](const Bytes(&)[kWindowBlocks]) {});
        marks = match_mask('\0', zero_marks(load(block)));
    }
    return byte_of(block, lowest_bit_index(marks));
}

CommaCount count_commas(const char* text) {
    const Bytes* block = block_of(text);
    const auto ends_in = [](Bytes bytes) { return match_mask('\0', zero_array_end(bytes)); };
    uint64_t ends = ends_in(load(block)) & first_block_mask(text);
    uint64_t commas = match_mask(',', load(block)) & first_block_mask(text);
    uint64_t count = 0;
    if (ends == 0) {
        ByteCount skipped(',');
        block = find_block(block + 1, zero_array_end,
                           [&](const Bytes(&window)[kWindowBlocks]) { skipped.add(window); });
        count = count_bits(commas) + skipped.total();
        ends = ends_in(load(block));
        commas = match_mask(',', load(block));
    }
    const uint64_t end = lowest_bit_index(ends);
    commas &= (uint64_t{1} << end) - 1;
    return {count + count_bits(commas), byte_of(block, end)};
}

}  // namespace vornic
