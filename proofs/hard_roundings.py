#!/usr/bin/env python3
"""Finds the numbers that are hardest to round, for tests/verify_numbers.cpp.

Prints one a line: doubles whose digits after the 17th, or floats whose digits after the 9th, are
nearest to a half, and decimals nearest to the midpoint of two doubles. Exits with 1 if a double is
too near to a half for the writer, which relies on there being none (see round_to_digits in
src/number/number_writer.cpp).
"""
import math
import sys
from fractions import Fraction

HALF = Fraction(1, 2)


def first_multiple(a, m, low, high):
    """The least x >= 0 with low <= a * x mod m <= high, or None, by Euclid's steps."""
    if low == 0:
        return 0
    a %= m
    if a == 0:
        return None
    x = -(-low // a)
    if a * x <= high:
        return x
    # a * x passes over the window in every turn so far; y counts the turns until it hits.
    y = first_multiple(m % a, a, -high % a, -low % a)
    if y is None:
        return None
    x = -(-(low + m * y) // a)
    return x if a * x - m * y <= high else None


def find(factor, begin, end, low, high):
    """The least n in [begin, end) whose n * factor has a fractional part in [low, high]."""
    a, m = factor.numerator, factor.denominator
    start = a * begin % m
    bottom, top = math.ceil(low * m), math.floor(high * m)
    if bottom > top:
        return None
    low_rest, high_rest = (bottom - start) % m, (top - start) % m
    x = 0 if low_rest > high_rest else first_multiple(a, m, low_rest, high_rest)
    return begin + x if x is not None and begin + x < end else None


def nearest(factor, begin, end):
    """The n whose n * factor are nearest to a half below and above it, to within a factor of 2."""
    for side in (-1, 1):
        best = None
        for bits in range(2, 90):
            away = Fraction(1, 1 << bits)
            window = (HALF - away, HALF) if side < 0 else (HALF, HALF + away)
            found = find(factor, begin, end, *window)
            if found is None:
                break
            best = found
        if best is not None:
            yield best


def power(base, exponent):
    return Fraction(base) ** exponent


def exponent_of(base, number):
    """floor(log(number, base)), exactly"""
    estimate = round(math.log(number.numerator, base) - math.log(number.denominator, base))
    return estimate if power(base, estimate) <= number else estimate - 1


def binary_ranges(bits, least, greatest):
    """(begin, end, exponent): every n * 2^exponent of a format, subnormals too, once each."""
    yield 1, 1 << (bits - 1), least
    for exponent in range(least, greatest + 1):
        yield 1 << (bits - 1), 1 << bits, exponent


def check_writer(digits, bits, least, greatest):
    """Prints hard cases; True if all keep the distance from a half that the writer needs.

    The writer knows a scaled number to 2 units of a last place with at least 69 bits after the
    point, so to 2^-68, and nothing is cut off for powers of ten in 0..27.
    """
    margin = power(2, -64)
    safe = True
    for begin, end, exponent in binary_ranges(bits, least, greatest):
        unit = power(2, exponent)
        for ten in range(exponent_of(10, begin * unit), exponent_of(10, end * unit) + 1):
            low = max(begin, math.ceil(power(10, ten) / unit))
            high = min(end, math.ceil(power(10, ten + 1) / unit))
            scale = digits - 1 - ten
            factor = unit * power(10, scale)
            exact = 0 <= scale <= 27
            top = HALF - Fraction(1, 2 * factor.denominator) if exact else HALF
            if find(factor, low, high, HALF - margin, top) is not None:
                print(f"too near to a half: exponent {exponent}, scale {scale}", file=sys.stderr)
                safe = False
            for n in nearest(factor, low, high):
                print(float(n * unit))
    return safe


def print_hard_decimals(digits):
    begin, end = 10 ** (digits - 1), 10**digits
    for ten in range(-342 - digits, 309):
        scale = power(10, ten)
        least, greatest = exponent_of(2, begin * scale), exponent_of(2, end * scale)
        for two in range(max(least, -1076), min(greatest, 1023) + 1):
            unit = power(2, max(two - 52, -1074))
            low = max(begin, math.ceil(power(2, two) / scale))
            high = min(end, math.ceil(power(2, two + 1) / scale))
            for n in nearest(scale / unit, low, high):
                print(f"{n}e{ten}")


if __name__ == "__main__":
    writer_is_safe = check_writer(17, 53, -1074, 971)
    writer_is_safe &= check_writer(9, 24, -149, 104)
    for count in (17, 18, 19):
        print_hard_decimals(count)
    sys.exit(0 if writer_is_safe else 1)
