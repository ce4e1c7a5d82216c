#include "tools/cel/replay_hooked.h"

namespace cel::replay {

namespace {

class HookedTrack final : public Cel
{
public:
    HookedTrack(Printer& printer, double resolution)
        : Cel(0, resolution)
        , printer_(printer)
    {
    }

private:
    void copySegmentObject(const ce_handle& h, ChannelEvent& event, const IdMap& idMap,
                           double share, ParamResizeMethod method) override
    {
        const int source = h.get_index(); // read first: the event may be the one that h names
        Cel::copySegmentObject(h, event, idMap, share, method);
        printer_.report("hook copy " + std::to_string(source) + ' ' +
                        printer_.shown(event.editGraph()) + ' ' + ending(share, method));
    }

    void resizeSegmentObject(const IdStamp& id, double share, ParamResizeMethod method) override
    {
        printer_.report("hook resize " + printer_.shown(id) + ' ' + ending(share, method));
        Cel::resizeSegmentObject(id, share, method);
    }

    void destroySegmentObject(const IdStamp& id) override
    {
        printer_.report("hook destroy " + printer_.shown(id));
        Cel::destroySegmentObject(id);
    }

    static std::string ending(double share, ParamResizeMethod method)
    {
        return Printer::shown(share) + ' ' + std::to_string(static_cast<int>(method));
    }

    Printer& printer_;
};

} // namespace

Kt::Ptr<Cel> makeHookedTrack(Printer& printer, double resolution)
{
    return Kt::Ptr<Cel>(new HookedTrack(printer, resolution));
}

} // namespace cel::replay
