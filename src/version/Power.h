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

/// A number to a whole power above 0.
///
/// The power functions of the C runtimes differ in the last bit, that of one of them being no more than repeated
/// multiplication; this one gives the same bits on every system. It multiplies as well, and carries along what each rounding
/// takes away.
///
/// For third and fourth powers between 1e-200 and 1e200 the result is less than 1/2 + 2^-49 units of its last place off:
/// the error of each product is exact, and carrying the errors on costs some 3, for the fourth power some 8, times 2^-106 of
/// the power, of which a unit is more than 2^-53. So it is the nearest double unless the power lies that close to the middle
/// of two. Nothing is claimed of other exponents.
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
