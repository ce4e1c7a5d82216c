#include "tools/cel/replay_session.h"

namespace cel::replay {

namespace {

template <class Map>
auto& find(Map& map, const Value& name, const char* kind)
{
    const auto found = map.find(name.text());
    if (found == map.end())
        throw ScriptError(std::string("no ") + kind + " is named \"" + name.text() + '"');
    return found->second;
}

} // namespace

const Kt::Ptr<Cel>& Session::trackPointer(const Value& name) const
{
    return find(tracks_, name, "track");
}

void Session::track(const Value& name, const Kt::Ptr<Cel>& track)
{
    tracks_[name.text()] = track;
}

ce_handle Session::handleAt(const Value& track, const Value& index) const
{
    return ce_handle(trackPointer(track), index.integer());
}

ce_handle& Session::handle(const Value& name)
{
    return find(handles_, name, "handle");
}

void Session::handle(const Value& name, const ce_handle& handle)
{
    handles_[name.text()] = handle;
}

ChannelEvent& Session::event(const Value& name)
{
    return find(events_, name, "event");
}

void Session::event(const Value& name, const ChannelEvent& event)
{
    events_.insert_or_assign(name.text(), event);
}

IdStamp Session::stamp(const Value& name)
{
    if (name.isNull())
        return IdStamp(0, 0, 0);
    const auto found = stamps_.find(name.text());
    if (found != stamps_.end())
        return found->second;
    return stamps_.emplace(name.text(), ChannelEvent::newId()).first->second;
}

void Session::stamp(const Value& name, const IdStamp& id)
{
    stamps_.insert_or_assign(name.text(), id);
}

} // namespace cel::replay
