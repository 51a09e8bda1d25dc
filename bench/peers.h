// The field's readers and writers of numbers, each used as its documentation advises for an array. They
// read well-formed arrays only, with at most one blank after a comma.
#pragma once

#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <rapidjson/reader.h>
#include <simdjson.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <charconv>
#include <string>
#include <type_traits>

#include "kernels.h"

// Reads each number by `one`, which returns where it ends.
template <typename Number, typename One>
uint64_t read_each(const std::string& text, Number* to, One one) {
    const char* at = text.data() + 1;
    const char* const end = text.data() + text.size();
    for (Number* const first = to;;) {
        at = one(at, end, *to++);
        if (*at != ',') return static_cast<uint64_t>(to - first);
        if (*++at == ' ') ++at;
    }
}

template <typename Number>
uint64_t read_by_strtod(const std::string& text, Number* to) {
    return read_each(text, to, [](const char* at, const char*, Number& number) {
        char* end = nullptr;
        if constexpr (std::is_integral_v<Number>) {
            number = strtoll(at, &end, 10);
        } else {
            number = static_cast<Number>(strtod(at, &end));
        }
        return static_cast<const char*>(end);
    });
}

template <typename Number>
uint64_t read_by_from_chars(const std::string& text, Number* to) {
    return read_each(text, to, [](const char* at, const char* end, Number& number) {
        return std::from_chars(at, end, number).ptr;
    });
}

template <typename Number>
uint64_t read_by_fast_float(const std::string& text, Number* to) {
    return read_each(text, to, [](const char* at, const char* end, Number& number) {
        return fast_float::from_chars(at, end, number).ptr;
    });
}

// On demand, with one parser for all documents and the padding inside the string's capacity.
template <typename Number>
uint64_t read_by_simdjson(const std::string& text, Number* to) {
    static simdjson::ondemand::parser parser;
    const simdjson::padded_string_view padded(text.data(), text.size(), text.capacity());
    simdjson::ondemand::document document = parser.iterate(padded);
    Number* const first = to;
    for (auto value : document.get_array()) {
        if constexpr (std::is_integral_v<Number>) {
            *to++ = value.get_int64();
        } else {
            *to++ = static_cast<Number>(double(value.get_double()));
        }
    }
    return static_cast<uint64_t>(to - first);
}

template <typename Number>
struct RapidjsonHandler
    : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, RapidjsonHandler<Number>> {
    Number* to;
    explicit RapidjsonHandler(Number* numbers) : to(numbers) {}
    template <typename Value>
    bool take(Value value) {
        *to++ = static_cast<Number>(value);
        return true;
    }
    bool Int(int value) { return take(value); }
    bool Uint(unsigned value) { return take(value); }
    bool Double(double value) { return take(value); }
};

// By events, without a document. Only with full precision does it round correctly.
template <typename Number>
uint64_t read_by_rapidjson(const std::string& text, Number* to) {
    RapidjsonHandler<Number> handler(to);
    rapidjson::StringStream stream(text.c_str());
    rapidjson::Reader().Parse<rapidjson::kParseFullPrecisionFlag>(stream, handler);
    return static_cast<uint64_t>(handler.to - to);
}

// Writes each number by `one`, which returns where it ends, and a comma after it.
template <typename Number, typename One>
char* write_each(char* to, const Number* numbers, uint64_t count, One one) {
    for (const Number* number = numbers; number != numbers + count; ++number) {
        to = one(to, *number);
        *to++ = ',';
    }
    return to;
}

template <typename Number>
inline constexpr int kDigits = std::is_same_v<Number, float> ? 9 : 17;

template <typename Number>
char* write_by_printf(char* to, const char* end, const Number* numbers, uint64_t count) {
    return write_each(to, numbers, count, [end](char* at, Number number) {
        const auto room = static_cast<size_t>(end - at);
        if constexpr (std::is_integral_v<Number>) {
            return at + snprintf(at, room, "%lld", static_cast<long long>(number));
        } else {
            return at + snprintf(at, room, "%.*g", kDigits<Number>, static_cast<double>(number));
        }
    });
}

template <typename Number>
char* write_by_to_chars(char* to, const char* end, const Number* numbers, uint64_t count) {
    return write_each(to, numbers, count, [end](char* at, Number number) {
        char* const last = at + (end - at);
        if constexpr (std::is_integral_v<Number>) {
            return std::to_chars(at, last, number).ptr;
        } else {
            return std::to_chars(at, last, number, std::chars_format::general, kDigits<Number>).ptr;
        }
    });
}

template <typename Number>
char* write_by_fmt(char* to, const char*, const Number* numbers, uint64_t count) {
    return write_each(to, numbers, count, [](char* at, Number number) {
        if constexpr (std::is_integral_v<Number>) {
            return fmt::format_to(at, FMT_COMPILE("{}"), number);
        } else if constexpr (kDigits<Number> == 9) {
            return fmt::format_to(at, FMT_COMPILE("{:.9g}"), number);
        } else {
            return fmt::format_to(at, FMT_COMPILE("{:.17g}"), number);
        }
    });
}
