#include "tracks/CrossfadeBuilder.h"

namespace cel {

void CrossfadeBuilder::build(AudCel& track)
{
    const Kt::Ptr<Cel> list = track.getCel();
    if (!list)
        return;
    const Cel::Rolls lists = list->cfade_lists();
    set(track, lists.a, lists.b);
}

void CrossfadeBuilder::set(AudCel& track, const Kt::Ptr<Cel>& first, const Kt::Ptr<Cel>& second)
{
    const Kt::Ptr<Cel> lists[] = {first, second};
    track.setXFadeCels(lists);
}

} // namespace cel
