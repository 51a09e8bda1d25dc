// The two scans that pass over whole arrays take aligned windows of kScanBlocks * 16 bytes, and load one
// only after finding no terminator in the one before. So every window that is read holds at least one
// byte of the text and lies within one page. Bytes of the first window before the text and of the last
// one after it are loaded and ignored, which the address checker is told.
#include "json/scan.h"

#include "bytes16.h"

namespace vornic {
namespace {

constexpr uintptr_t kBlockSize = sizeof(Bytes);
constexpr uintptr_t kWindowSize = kScanBlocks * kBlockSize;

const Bytes* block_of(const char* at) {
    return reinterpret_cast<const Bytes*>(reinterpret_cast<uintptr_t>(at) & ~(kBlockSize - 1));
}

// The bytes of the text's first block that belong to it, a bit each.
uint64_t first_block_mask(const char* text) {
    return ~uint64_t{0} << (reinterpret_cast<uintptr_t>(text) & (kBlockSize - 1));
}

const char* byte_of(const Bytes* block, uint64_t index) {
    return reinterpret_cast<const char*>(block) + index;
}

__attribute__((no_sanitize("address"))) Bytes load(const Bytes* block) { return *block; }

// Makes every byte that equals `byte` zero, and no other.
Bytes zero_at(Bytes bytes, char byte) { return bit_xor(bytes, broadcast(byte)); }

// Makes the delimiters of each scan zero; a terminator is one already.
Bytes zero_at_mark(Bytes bytes) {
    return minimum(bytes, minimum(zero_at(bytes, '"'), zero_at(bytes, '{')));
}

Bytes zero_at_array_end(Bytes bytes) { return minimum(bytes, zero_at(bytes, ']')); }

// The first block with a delimiter: a byte that `change` makes zero. Those before it are handed to
// `pass`, one or kScanBlocks at a time.
template <typename Change, typename Pass>
const Bytes* find_block(const Bytes* at, Change change, Pass pass) {
    const auto has_delimiter = [=](const Bytes* block) { return has_zero(change(load(block))); };
    for (; reinterpret_cast<uintptr_t>(at) % kWindowSize != 0; ++at) {
        if (has_delimiter(at)) return at;
        pass(at, 1);
    }
    for (;; at += kScanBlocks) {
        Bytes least = change(load(at));
#pragma GCC unroll 4
        for (int i = 1; i < kScanBlocks; ++i) least = minimum(least, change(load(at + i)));
        if (has_zero(least)) break;
        pass(at, kScanBlocks);
    }
    for (; !has_delimiter(at); ++at) pass(at, 1);
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
    uint64_t marks = match_mask('\0', zero_at_mark(load(block))) & first_block_mask(text);
    if (marks == 0) {
        block = find_block(block + 1, zero_at_mark, [](const Bytes*, int) {});
        marks = match_mask('\0', zero_at_mark(load(block)));
    }
    return byte_of(block, lowest_bit_index(marks));
}

CommaCount count_commas(const char* text) {
    const Bytes* block = block_of(text);
    const auto ends_in = [](Bytes bytes) { return match_mask('\0', zero_at_array_end(bytes)); };
    uint64_t ends = ends_in(load(block)) & first_block_mask(text);
    uint64_t commas = match_mask(',', load(block)) & first_block_mask(text);
    uint64_t count = 0;
    if (ends == 0) {
        ByteSums sums;
        block = find_block(block + 1, zero_at_array_end, [&sums](const Bytes* at, int blocks) {
            Bytes found = broadcast('\0');  // commas at each of 16 indices
#pragma GCC unroll 4
            for (int i = 0; i < blocks; ++i) {
                found = subtract(found, equal_bytes(load(at + i), broadcast(',')));
            }
            sums.add(found);
        });
        count = count_bits(commas) + sums.total();
        ends = ends_in(load(block));
        commas = match_mask(',', load(block));
    }
    const uint64_t end = lowest_bit_index(ends);
    commas &= (uint64_t{1} << end) - 1;
    return {count + count_bits(commas), byte_of(block, end)};
}

}  // namespace vornic
