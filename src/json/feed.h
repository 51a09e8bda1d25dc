// Where the tensors stand in a feed text. A feed is searched, not parsed: a name or a key is found
// at its first occurrence between double quotes.
#pragma once

#include <stdint.h>

#include "core/limits.h"

namespace vornic {

// Where one input's parts are in a text that outlives it; null for what is missing.
struct FeedItem {
    const char* name;   // the opening quote of the input's quoted name
    const char* brace;  // the first '{' after that name
    const char* dtype;  // the opening quotes of the three keys, each the first after the brace
    const char* shape;
    const char* data;
};

// Finds the items of count inputs (at most 16) in one pass over the feed, however many inputs there
// are and wherever their tensors stand.
void find_feed_items(const char* feed, const Name* names, uint64_t count, FeedItem* items);

// Finds the keys of the one tensor that begins at a brace.
FeedItem find_feed_item(const char* brace);

}  // namespace vornic
