#include "tracks/VidCel.h"

VidCel::VidCel()
    : ManagedCel(new Rep)
{
}

VidCel VidCel::clone() const
{
    return VidCel(rep() ? new Rep(*rep()) : nullptr);
}
