// Reading a number from text.
#pragma once

namespace vornic {

struct NumberRead {
    double value;
    const char* end;  // after the number; the start, with a value of 0, if there is none
};

// Reads the number at the start of a zero-terminated text: strtod of the C locale, rounded to the
// nearest double, ties to even, except that leading blanks are not skipped.
//
// A sign, then digits with an optional point and exponent, "0x" with hexadecimal digits, an
// optional point and an optional binary exponent, "inf", "infinity", "nan" or "nan(...)" around
// letters, digits and underscores; all in either case. The number is as long as it can be: "1e" ends
// after the 1 and "0x" after the 0. Overflow gives an infinity, underflow a subnormal or a zero, with the
// number's sign. A NaN is quiet and keeps the sign, but no payload.
//
// Takes time linear in the length of any number, allocates nothing and reads no byte after the terminator.
NumberRead read_number(const char* first);

}  // namespace vornic
