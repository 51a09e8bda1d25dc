#include "json/feed.h"

#include <string.h>

#include "json/scan.h"

using namespace vornic;

namespace {

// The search for one input: first for its quoted name, then for the next brace, then for the keys
// after it.
struct Search {
    const char* name;
    size_t name_length;
    const char* after_name;  // the position after the quoted name
    FeedItem* item;

    bool wants_name() const { return item->name == nullptr; }
    bool wants_brace() const { return item->name != nullptr && item->brace == nullptr; }
    bool wants_keys() const { return item->brace != nullptr && !is_complete(); }
    bool is_complete() const {
        return item->dtype != nullptr && item->shape != nullptr && item->data != nullptr;
    }
};

// Whether `quoted`, which points to a double quote, continues with this text and a closing quote.
bool is_quoted(const char* quoted, const char* text, size_t length) {
    return strncmp(quoted + 1, text, length) == 0 && quoted[1 + length] == '"';
}

const char* FeedItem::*key_at(const char* quote) {
    if (is_quoted(quote, "dtype", 5)) return &FeedItem::dtype;
    if (is_quoted(quote, "shape", 5)) return &FeedItem::shape;
    if (is_quoted(quote, "data", 4)) return &FeedItem::data;
    return nullptr;
}

void take_quote(const char* quote, Search* searches, uint64_t count) {
    const char* FeedItem::*key = key_at(quote);
    for (uint64_t i = 0; i < count; ++i) {
        Search& search = searches[i];
        if (search.wants_name()) {
            if (!is_quoted(quote, search.name, search.name_length)) continue;
            search.item->name = quote;
            search.after_name = quote + search.name_length + 2;
        } else if (key != nullptr && search.wants_keys() && search.item->*key == nullptr) {
            search.item->*key = quote;
        }
    }
}

void take_brace(const char* brace, Search* searches, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        Search& search = searches[i];
        if (search.wants_brace() && brace >= search.after_name) search.item->brace = brace;
    }
}

bool all_complete(const Search* searches, uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        if (!searches[i].is_complete()) return false;
    }
    return true;
}

void find_all(const char* text, Search* searches, uint64_t count) {
    for (const char* at = find_delimiter(text); *at != '\0'; at = find_delimiter(at + 1)) {
        if (*at == '"') {
            take_quote(at, searches, count);
            if (all_complete(searches, count)) return;
        } else {
            take_brace(at, searches, count);
        }
    }
}

}  // namespace

void vornic::find_feed_items(const char* feed, const Name* names, uint64_t count, FeedItem* items) {
    Search searches[kMaxInputs];
    for (uint64_t i = 0; i < count; ++i) {
        items[i] = {};
        searches[i] = {names[i], strlen(names[i]), nullptr, &items[i]};
    }
    if (count > 0) find_all(feed, searches, count);
}

FeedItem vornic::find_feed_item(const char* brace) {
    FeedItem item = {brace, brace, nullptr, nullptr, nullptr};
    Search search = {"", 0, nullptr, &item};
    find_all(brace, &search, 1);
    return item;
}
