#pragma once

/// Ordering of a range that sorts its ends on construction, so that `start() <= end()`.
/// Ends that cannot be ordered (a NaN) are kept as given.
struct Ordered
{
    template <class T>
    static constexpr bool mustSwap(T start, T end)
    {
        return end < start;
    }
};

/// A stretch between two values, both ends included.
template <class T, class Order>
class NumRange
{
public:
    constexpr NumRange() = default;
    constexpr NumRange(T start, T end)
        : start_(Order::mustSwap(start, end) ? end : start)
        , end_(Order::mustSwap(start, end) ? start : end)
    {
    }

    constexpr T start() const { return start_; }
    constexpr T end() const { return end_; }
    constexpr T length() const { return end_ - start_; }
    constexpr bool contains(T value) const { return start_ <= value && value <= end_; }

    /// Exact comparison of both ends.
    constexpr bool operator==(const NumRange&) const = default;

private:
    T start_{};
    T end_{};
};
