// Reading a number from text.
#pragma once

namespace vornic {

struct NumberRead {
    double value;
    const char* end;  // after the number; the start where there is none, and value is then 0
};

// Reads the number at the start of a zero-terminated text: strtod of the C locale, rounded to the
// nearest double, ties to even, except that blanks in front are not skipped.
//
// A sign, then digits with an optional point and exponent, "0x" with hexadecimal digits, an
// optional point and an optional binary exponent, "inf", "infinity", "nan" or "nan(...)" around
// letters, digits and underscores; all in either case. What does not belong to the number is left:
// "1e" ends after the 1 and "0x" after the 0. Too large gives an infinity, too small a subnormal or
// a zero, of the number's sign. A NaN is quiet and carries its sign, nothing else.
//
// Time grows with the length of the number, whatever it is. Nothing is allocated and no byte after
// the terminator is read.
NumberRead read_number(const char* first);

}  // namespace vornic
