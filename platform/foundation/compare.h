#pragma once

#include <cmath>

/// Comparison of values that came about by arithmetic. Exactly one of greater, less and equal holds
/// for any two numbers: what is not further apart than the tolerance is equal. A NaN is neither
/// greater nor less nor equal to anything; an infinity is equal to itself.
///
/// The tolerance is absolute, 1e-6: of times in seconds, a microsecond.
template <class T>
inline constexpr T kValueTolerance = T(1e-6);

template <class T>
constexpr bool valGreaterThanVal(T a, T b)
{
    return a > b + kValueTolerance<T>;
}

template <class T>
constexpr bool valLessThanVal(T a, T b)
{
    return valGreaterThanVal(b, a);
}

template <class T>
constexpr bool valEqualsVal(T a, T b)
{
    const bool comparable = a == a && b == b;
    return a == b || (comparable && !valGreaterThanVal(a, b) && !valLessThanVal(a, b));
}

/// Tolerant equality as an object: `TolerantEq<double>(a, b)` is true when the two are equal.
template <class T>
class TolerantEq
{
public:
    constexpr TolerantEq(T a, T b)
        : equal_(valEqualsVal(a, b))
    {
    }
    constexpr operator bool() const { return equal_; }

private:
    bool equal_;
};
