// Compares the array reader with the C library's strtod over whole arrays, some of them malformed.
// scripts/verify-numbers builds and runs this. Arrays are read to doubles and to floats, all except
// those of floats and midpoints also one number at a time and in parts. The numbers, the count and
// the error must be what strtod and a cast give.
//
//   verify_arrays fraction [part parts]

#include <vector>

#include "core/last_error.h"
#include "json/array_reader.h"
#include "support/platform.h"
#include "verification.h"

namespace {

constexpr size_t kTextCapacity = 1 << 17;
constexpr uint64_t kMaxNumbers = 2500;  // in an array
constexpr uint64_t kKinds = 16;
constexpr uint64_t kFloats = 0x7f7fffff;  // from 0 on, with a finite next one
constexpr uint64_t kFloatArrays = kFloats / 1000 + 1;

constexpr std::string_view kSpecial =
    "nan,-inf,.5,-.5,-0,+7,1e5,1e-7,2.5E-9,1e+020,-0.0,16777217,9007199254740993,"
    "9.007199254740993,NaN(x_1),123456789012345678901234567890";

// One of the numbers of kSpecial.
std::string special(uint64_t choice) {
    const size_t start = kSpecial.rfind(',', choice % kSpecial.size()) + 1;
    return std::string(kSpecial.substr(start, kSpecial.find(',', start) - start));
}

std::string any_number(uint64_t kind, Random& random) {
    const double unit = ldexp(static_cast<double>(static_cast<int64_t>(random())), -63);
    const unsigned long long integer = any_integer(random);
    const int digits = 1 + static_cast<int>(random() % 20);
    switch (kind) {
        case 0: return printed("%.9g", static_cast<double>(static_cast<float>(unit)));
        case 1: return printed("%.*f", digits % 8, unit * 100);
        case 2: return printed("%.17g", unit);
        case 3: return printed("%.*g", digits, ldexp(unit, static_cast<int>(integer % 64)));
        case 4: return printed("%llu", integer % 2);
        case 5: return printed("%llu", integer % 30522);
        case 6: return printed("-%llu", integer);
        case 7: return printed("%.9g", std::bit_cast<double>(uint64_t{integer}));
        case 8: return printed("%llu.%llu", integer % 100, random() + 0ull);
        case 9: return printed("%0*llu", digits, integer);
        case 10: return printed("%.*e", digits % 18, unit);
        case 11: return printed("0x%llxp-%d", integer, digits);
        case 12: return printed("%.*f", 10 + digits, unit);
        case 13: return printed("%llu.", integer % 1000) + std::string(random() % 3, '0');
        case 14: return printed("0.%0*d%llu", digits % 9, 0, integer);
        default: return special(random());
    }
}

template <typename Item>
std::string array_of(uint64_t count, const char* separator, Item item) {
    std::string text = "{\"data\":[";
    for (uint64_t i = 0; i < count; ++i) (text += i > 0 ? separator : "") += item();
    return text + "]";
}

// Numbers of one kind or several, between the same separators or with extra blanks. One array in
// four is damaged.
std::string any_array(Random& random) {
    static const char* const separators[] = {",", ",", ", ", ", ", " ,", ",\n ", ",  "};
    const uint64_t mixed = random() % 4, kind = random() % kKinds;
    const uint64_t count = random() % (random() % 64 == 0 ? kMaxNumbers : 200);
    const auto item = [&] {
        const bool is_other = mixed == 0 && random() % 2 == 0;
        const char* const blanks = mixed == 1 && random() % 8 == 0 ? " \t" : "";
        return blanks + any_number(is_other ? random() % kKinds : kind, random) + blanks;
    };
    std::string text = array_of(count, separators[random() % std::size(separators)], item);
    if (random() % 2 == 0) text.erase(0, text.find('['));
    if (random() % 4 == 0) text.insert(text.size() - 1, ",");
    for (uint64_t changes = random() % 4 == 0 ? 1 + random() % 2 : 0; changes > 0; --changes) {
        static const char bytes[] = "0123456789.-+eE, ]\t\"xn[";
        text[random() % text.size()] = bytes[random() % sizeof bytes];
    }
    return text;
}

// Many numbers of one kind, with a byte inserted or overwritten.
std::string like_array(uint64_t kind, char byte, Random& random) {
    const char* const separator = random() % 2 != 0 ? ", " : ",";
    std::string text = array_of(160, separator, [&] { return any_number(kind, random); });
    const size_t start = text.find('[') + 1, at = start + random() % (text.size() - start);
    return random() % 2 != 0 ? text.insert(at, 1, byte) : text.replace(at, 1, 1, byte);
}

// A float, or the midpoint between it and the next one, with 9 to 18 digits, mostly 17. In every
// other text the last digit is off by one.
std::string near_float(uint32_t bits, Random& random) {
    const double number = static_cast<double>(std::bit_cast<float>(bits));
    const double next = static_cast<double>(std::bit_cast<float>(bits + 1));
    const uint64_t chance = random();
    double value = chance % 4 == 0 ? number : number / 2 + next / 2;
    if (chance & 4) value = -value;
    const int digits = chance & 8 ? 17 : 9 + static_cast<int>((chance >> 8) % 10);
    std::string text = chance & 0x30 ? written(value) : printed("%#.*g", digits, value);
    if (chance & 0x40) text[text.find_last_of("0123456789", text.find('e') - 1)] ^= 1;
    return text;
}

struct Element {
    double value;
    std::string_view text;
};

struct Expected {
    const char* text;
    std::vector<Element> elements = {};  // with an error, those before it
    std::string outcome = "";
};

std::string outcome_of(bool is_read, uint64_t count, const char* error) {
    return printed("%s, %llu numbers, error '%s'", is_read ? "true" : "false", count + 0ull, error);
}

// Reads an array with strtod, which skips more kinds of blanks than the array reader. Returns the
// error.
const char* read_elements(const char* at, uint64_t capacity, std::vector<Element>& elements) {
    const auto skip_blanks = [](const char* from) { return from + strspn(from, " \t\n\r"); };
    do {
        at = skip_blanks(at + 1);
        if (*at == ']') return "";
        if (elements.size() == capacity) return "JSON numeric array is too large";
        char* end = nullptr;
        const double value = strtod(at, &end);
        if (end == at || *at == '\v' || *at == '\f') return "failed to parse JSON numeric array";
        elements.push_back({value, {at, end}});
        at = skip_blanks(end);
    } while (*at == ',');
    return *at == ']' ? "" : "malformed JSON numeric array";
}

Expected expect(const char* text, uint64_t capacity) {
    Expected result = {text};
    const char* const start = strchr(text, '[');
    const char* const error = start ? read_elements(start, capacity, result.elements) : "";
    const bool is_read = start != nullptr && *error == '\0';
    result.outcome = outcome_of(is_read, is_read ? result.elements.size() : 0, error);
    return result;
}

// read(numbers, &count) reads the array.
template <typename Number, typename Read>
void check_reader(const char* how, const Expected& expected, Read read) {
    static std::vector<Number> numbers(kMaxNumbers + 2);
    const std::vector<Element>& elements = expected.elements;
    uint64_t count = 0;
    clear_error();
    const bool is_read = read(numbers.data(), &count) != 0;
    const std::string outcome = outcome_of(is_read, count, g_error);
    if (outcome != expected.outcome) {
        const char* const from = elements.empty() ? expected.text : elements.back().text.data();
        fail(printed("reading an array %s; input from byte %td on", how, from - expected.text),
             escaped(std::string_view(from).substr(0, 100)), expected.outcome, outcome);
    }
    for (size_t i = 0; i < count; ++i) {
        const auto number = static_cast<Number>(elements[i].value);
        if (bits_of(number) == bits_of(numbers[i])) continue;
        fail(printed("reading an array %s, element %zu of %zu", how, i, elements.size()),
             escaped(elements[i].text), shown(number), shown(numbers[i]));
    }
}

// Reads the array of a text whose end is known, or null.
auto whole_reader(const char* text, const char* end, uint64_t capacity) {
    return [=](auto* numbers, uint64_t* count) {
        return read_numbers(text, end, static_cast<int64_t>(capacity), count, numbers);
    };
}

void check_in_every_way(const char* text, uint64_t capacity, const Expected& expected) {
    const NumberArrayExtent extent = number_array_extent(text);
    if (const char* const start = strchr(text, '[')) {
        const char* const end = start + strcspn(start, "]");
        const auto bound = static_cast<uint64_t>(1 + std::count(start, end, ','));
        const auto length = [&](const char* at) { return static_cast<uint64_t>(at - text); };
        check_range("bound of an array", text, bound, bound, extent.bound);
        check_range("end of an array", text, length(end), length(end), length(extent.end));
    }
    check_reader<double>("to doubles", expected, whole_reader(text, extent.end, capacity));
    check_reader<float>("to floats", expected, whole_reader(text, extent.end, capacity));
    check_reader<double>("one by one", expected, whole_reader(text, nullptr, capacity));
    check_reader<double>("in parts", expected, [&](double* numbers, uint64_t* count) {
        const auto take = [](void* to, int64_t first, const double* part, int64_t taken) {
            std::copy(part, part + taken, static_cast<double*>(to) + first);
        };
        return read_numbers(text, extent.end, static_cast<int64_t>(capacity), count,
                            {take, numbers});
    });
}

// Directly before an unreadable page, and directly after one.
void check_fenced(const std::string& text, uint64_t capacity) {
    static char* const memory = fenced_memory(kTextCapacity);
    const size_t size = text.size() + 1;
    if (size > kTextCapacity) abort();
    const Expected expected = expect(text.c_str(), capacity);
    for (char* const at : {memory + kTextCapacity - size, memory}) {
        check_in_every_way(static_cast<char*>(memcpy(at, text.c_str(), size)), capacity, expected);
    }
}

// One in eight has a capacity that may be too small.
void check_any_array(uint64_t, Random& random) {
    const uint64_t capacity = random() % 8 == 0 ? random() % 200 : kMaxNumbers + 1;
    check_fenced(any_array(random), capacity);
}

void check_like_array(uint64_t index, Random& random) {
    const char byte = static_cast<char>(1 + index / kKinds % 255);
    check_fenced(like_array(index % kKinds, byte, random), kMaxNumbers);
}

// The floats of an array follow each other, so that groups of four are of one kind. The factor is
// coprime to the number of arrays: a fraction of the indices covers the whole range.
void check_near_floats(uint64_t index, Random& random) {
    uint64_t i = index * 0x9e3779b1 % kFloatArrays * 1000;
    const uint64_t end = std::min(i + 1000, kFloats);
    const std::string text = array_of(1100, random() % 2 != 0 ? ", " : ",", [&] {
        if (i == end) return any_number(random() % kKinds, random);
        return near_float(static_cast<uint32_t>(i++), random);
    });
    const Expected expected = expect(text.c_str(), kMaxNumbers);
    const auto read = whole_reader(text.c_str(), text.c_str() + text.size() - 1, kMaxNumbers);
    check_reader<double>("to doubles", expected, read);
    check_reader<float>("to floats", expected, read);
}

constexpr Verification kVerifications[] = {
    {"arrays of all kinds of numbers, some damaged", 4e5, 300, check_any_array},
    {"arrays of one kind with a byte inserted", 400 * 16 * 255, 2 * 16 * 255, check_like_array},
    {"arrays of a thousand floats and midpoints", kFloatArrays, 1, check_near_floats},
};

}  // namespace

int main(int argc, char** argv) { return verify(argc, argv, kVerifications); }
