#include "cel/ce_handle.h"

#include "cel/Cel.h"

#include <utility>

CEHPair::CEHPair(const ce_handle& h)
{
    if (!h.valid())
        return;
    if (h.is_in_point()) {
        inH_ = h;
        outH_ = h.matching_out_ceh();
    } else {
        outH_ = h;
        inH_ = outH_.matching_in_ceh();
    }
}

CEHPair::CEHPair(const Cel* cel, double t)
{
    if (!cel || t == cel::kInvalidTime)
        return;
    ce_handle h = cel->find_ceh(t, in_point);
    ce_handle out = h.valid() ? h.matching_out_ceh() : ce_handle();
    if (!out.valid())
        return;
    inH_ = std::move(h);
    outH_ = std::move(out);
}

NumRange<double, Ordered> CEHPair::editRange() const
{
    if (!valid())
        return {cel::kInvalidTime, cel::kInvalidTime};
    return {inH_.get_edit_time(), outH_.get_edit_time()};
}

bool CEHPair::isEffect() const
{
    if (!valid())
        return false;
    const int magic = inH_.getEffectGraph().getMagicType();
    return magic == 0 || magic == 3;
}

bool CEHPair::isMaterial() const
{
    if (!valid())
        return false;
    const int magic = inH_.getEffectGraph().getMagicType();
    const Cookie material = inH_.get_strip_cookie();
    return (magic == 0 || magic == 1) && !material.isEffect() && !material.isBlack();
}
