// Other readers and writers of numbers, each used as its documentation advises for an array. They read
// well-formed arrays only, with at most one space after a comma.
#pragma once

#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <rapidjson/reader.h>
#include <simdjson.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <charconv>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

inline constexpr size_t kMaxNumberLength = 40;  // with its comma

// A library that reads or writes arrays of a type; either function may be missing.
template <typename Number>
struct Peer {
    std::string name;
    // Returns the count.
    std::function<uint64_t(const std::string& text, Number* to)> read;
    // Writes each number with a comma after it and returns the end of the text.
    std::function<char*(char* to, const char* end, const Number* numbers, uint64_t count)> write;
};

// Makes a reader of arrays from a reader of single numbers, which returns the end of the number.
template <typename Number, typename ReadOne>
auto read_each(ReadOne read_one) {
    return [read_one](const std::string& text, Number* to) {
        const char* at = text.data() + 1;
        const char* const end = text.data() + text.size();
        for (Number* const first = to;;) {
            at = read_one(at, end, to++);
            if (*at != ',') return static_cast<uint64_t>(to - first);
            if (*++at == ' ') ++at;
        }
    };
}

// Makes a writer of arrays from a writer of single numbers, which returns the end of the text.
template <typename Number, typename WriteOne>
auto write_each(WriteOne write_one) {
    return [write_one](char* to, const char*, const Number* numbers, uint64_t count) {
        for (const Number* number = numbers; number != numbers + count; ++number) {
            to = write_one(to, *number);
            *to++ = ',';
        }
        return to;
    };
}

// On demand, with one parser for all documents and the padding inside the string's capacity.
template <typename Number>
uint64_t read_by_simdjson(const std::string& text, Number* to) {
    using Wide = std::conditional_t<std::is_integral_v<Number>, int64_t, double>;
    static simdjson::ondemand::parser parser;
    const simdjson::padded_string_view padded(text.data(), text.size(), text.capacity());
    simdjson::ondemand::document document = parser.iterate(padded);
    Number* const first = to;
    for (auto value : document.get_array()) *to++ = static_cast<Number>(Wide(value.get<Wide>()));
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

// By events, without a document. It rounds correctly with full precision only.
template <typename Number>
uint64_t read_by_rapidjson(const std::string& text, Number* to) {
    RapidjsonHandler<Number> handler(to);
    rapidjson::StringStream stream(text.c_str());
    rapidjson::Reader().Parse<rapidjson::kParseFullPrecisionFlag>(stream, handler);
    return static_cast<uint64_t>(handler.to - to);
}

// The digits that identify a float32 or a float64.
template <typename Number>
inline constexpr int kDigits = std::is_same_v<Number, float> ? 9 : 17;

template <typename Number>
char* read_by_strtod(const char* at, const char*, Number* to) {
    char* end = nullptr;
    if constexpr (std::is_integral_v<Number>) {
        *to = strtoll(at, &end, 10);
    } else {
        *to = static_cast<Number>(strtod(at, &end));
    }
    return end;
}

template <typename Number>
char* write_by_printf(char* at, Number number) {
    if constexpr (std::is_integral_v<Number>) {
        return at + snprintf(at, kMaxNumberLength, "%lld", static_cast<long long>(number));
    } else {
        const auto wide = static_cast<double>(number);
        return at + snprintf(at, kMaxNumberLength, "%.*g", kDigits<Number>, wide);
    }
}

template <typename Number>
char* write_by_to_chars(char* at, Number number) {
    char* const end = at + kMaxNumberLength;
    if constexpr (std::is_integral_v<Number>) {
        return std::to_chars(at, end, number).ptr;
    } else {
        return std::to_chars(at, end, number, std::chars_format::general, kDigits<Number>).ptr;
    }
}

template <typename Number>
char* write_by_fmt(char* at, Number number) {
    if constexpr (std::is_integral_v<Number>) {
        return fmt::format_to(at, FMT_COMPILE("{}"), number);
    } else if constexpr (kDigits<Number> == 9) {
        return fmt::format_to(at, FMT_COMPILE("{:.9g}"), number);
    } else {
        return fmt::format_to(at, FMT_COMPILE("{:.17g}"), number);
    }
}

template <typename Number>
std::vector<Peer<Number>> peers() {
    const auto from_chars = [](const char* at, const char* end, Number* to) {
        return std::from_chars(at, end, *to).ptr;
    };
    const auto fast_float = [](const char* at, const char* end, Number* to) {
        return fast_float::from_chars(at, end, *to).ptr;
    };
    return {
        {"strtod", read_each<Number>(read_by_strtod<Number>), nullptr},
        {"printf", nullptr, write_each<Number>(write_by_printf<Number>)},
        {"charconv", read_each<Number>(from_chars), write_each<Number>(write_by_to_chars<Number>)},
        {"fast_float", read_each<Number>(fast_float), nullptr},
        {"simdjson", read_by_simdjson<Number>, nullptr},
        {"RapidJSON", read_by_rapidjson<Number>, nullptr},
        {"{fmt}", nullptr, write_each<Number>(write_by_fmt<Number>)},
    };
}
