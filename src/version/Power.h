#pragma once

namespace Velmor {

namespace detail {

/// The upper half of a number's digits.
inline double upperHalf(double value) {
    const double scaled = value * 134217729.0; // 2^27 + 1
    return scaled - (scaled - value);
}

/// What rounding took from the product of two numbers.
inline double roundingError(double a, double b, double product) {
    const double aUpper = upperHalf(a);
    const double aLower = a - aUpper;
    const double bUpper = upperHalf(b);
    const double bLower = b - bUpper;
    return ((aUpper * bUpper - product) + aUpper * bLower + aLower * bUpper) + aLower * bLower;
}

} // namespace detail

/// A number to a whole power above 0, rounded once.
///
/// The power functions of the C runtimes differ in the last bit, that of one of them being no more than repeated
/// multiplication; this one gives the same bits on every system. It multiplies as well, and carries along what each rounding
/// takes away.
inline double power(double base, int exponent) {
    double product = base;
    double error = 0;
    for (int i = 1; i < exponent; ++i) {
        const double next = product * base;
        error = detail::roundingError(product, base, next) + error * base;
        product = next;
    }
    // Where halves of numbers overflow or underflow there is nothing to carry: zeros, infinities, NaN and their neighbours.
    return product > 1e-200 && product < 1e200 ? product + error : product;
}

} // namespace Velmor
