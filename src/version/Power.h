#pragma once

// Third and fourth powers with the same bits on every system.
//
// The power functions of the C runtimes differ in the last bit; one of them only multiplies repeatedly. `power` multiplies
// as well, but also computes the rounding error of each product exactly (Dekker's product with Veltkamp's splitting) and
// adds the accumulated error at the end.

namespace Velmor::version {

namespace detail {

/// Upper half of the significant digits of a number (Veltkamp's splitting).
inline double upperHalf(double value) {
    const double scaled = value * 134217729.0; // 2^27 + 1
    return scaled - (scaled - value);
}

/// Exact difference between the product of a and b and its rounded value `product` (Dekker's product).
inline double roundingError(double a, double b, double product) {
    const double aUpper = upperHalf(a);
    const double aLower = a - aUpper;
    const double bUpper = upperHalf(b);
    const double bLower = b - bUpper;
    return ((aUpper * bUpper - product) + aUpper * bLower + aLower * bUpper) + aLower * bLower;
}

} // namespace detail

/// Raises a number to a power.
///
/// Accuracy: for exponents 3 and 4 and results between 1e-200 and 1e200 the error is less than 1/2 + 2^-49 units in the last
/// place. The error of each product is exact; accumulating the errors costs about 3 (exponent 3) or 8 (exponent 4) times
/// 2^-106 of the power, and a unit in the last place is more than 2^-53 of it. The result is therefore the nearest double,
/// unless the exact power is that close to the middle of two doubles. No accuracy is claimed for other exponents.
/// @param exponent a positive integer.
inline double power(double base, int exponent) {
    double product = base;
    double error = 0;
    for (int i = 1; i < exponent; ++i) {
        const double next = product * base;
        error = detail::roundingError(product, base, next) + error * base;
        product = next;
    }
    // Outside this range, and for zero, infinity and NaN, the splitting overflows or underflows and the error is not valid.
    return product > 1e-200 && product < 1e200 ? product + error : product;
}

} // namespace Velmor::version
