#pragma once

#include "cel/edit_time.h"
#include "platform/foundation/NumRange.h"

namespace cel::detail {

/// Whether a time lies in the range of a simplification, its ends included: the whole-track range
/// takes every time, a range with a NaN none.
class Qualifies
{
public:
    explicit Qualifies(const NumRange<double, Ordered>& range)
        : all_(range.start() == kInvalidTime && range.end() == kInvalidTime)
        , from_(range.start() - kTimeEpsilon)
        , to_(range.end() + kTimeEpsilon)
    {
    }

    bool operator()(double t) const { return all_ || (from_ <= t && t <= to_); }

private:
    bool all_;
    double from_;
    double to_;
};

} // namespace cel::detail
