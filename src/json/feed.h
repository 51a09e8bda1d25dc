// Locates the tensors in a feed text. A feed is searched, not parsed: a name or key is found at its
// first occurrence in double quotes.
#pragma once

#include <stdint.h>

#include "core/limits.h"

namespace vornic {

// Pointers into the text to the parts of one input; null for a part that is missing.
struct FeedItem {
    const char* name;   // the opening quote of the input's quoted name
    const char* brace;  // the first '{' after that name
    const char* dtype;  // the opening quote of each key, at its first occurrence after the brace
    const char* shape;
    const char* data;
};

// Finds the items of `count` inputs (at most 16) in one pass over the feed, whatever the order of
// its members.
void find_feed_items(const char* feed, const Name* names, uint64_t count, FeedItem* items);

// Finds the keys of the single tensor that starts at `brace`.
FeedItem find_feed_item(const char* brace);

}  // namespace vornic
