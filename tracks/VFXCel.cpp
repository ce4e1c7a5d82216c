#include "tracks/VFXCel.h"

VFXCel::VFXCel()
    : ManagedCel(new Rep)
{
}

VFXCel VFXCel::clone() const
{
    return VFXCel(rep() ? new Rep(*rep()) : nullptr);
}

bool VFXCel::simplify(Simplification::eType type, const Range& range)
{
    if (!rep())
        return false;
    if (type != Simplification::kAll)
        return rep()->simplify(type, Editable::invalidRange());
    // Both, also when the first has changed something already.
    const bool mergedBlack = rep()->simplify(Simplification::kBlack, range);
    const bool tookOutEmpty = rep()->simplify(Simplification::kZeroLength, range);
    return mergedBlack || tookOutEmpty;
}
