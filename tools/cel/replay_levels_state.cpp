// Operations that make envelopes, store them and set what they work by.

#include "platform/support/PStream.h"
#include "tools/cel/replay_levels_session.h"
#include "tools/cel/setting.h"

namespace cel::replay {

namespace {

using tool::setSetting;
using tool::textOf;

void config(LevelSession&, Arguments a)
{
    setSetting(a[0].text(), a[1].isText() ? a[1].text() : textOf(a[1].number()));
}

void env(LevelSession& s, Arguments a)
{
    s.levels(a[0], Kt::Ptr<AudLevelsCelRep>(new AudLevelsCelRep(a[1].number())));
}

void invalid(LevelSession& s, Arguments a)
{
    s.levels(a[0], nullptr);
}

void clone(LevelSession& s, Arguments a)
{
    const AudLevelsCelRep* state = s.levels(a[1]).state();
    s.levels(a[0], Kt::Ptr<AudLevelsCelRep>(state ? new AudLevelsCelRep(*state) : nullptr));
}

void share(LevelSession& s, Arguments a)
{
    // Copied: the name may be its own.
    const Kt::Ptr<AudLevelsCelRep> state = s.levels(a[1]).shared();
    s.levels(a[0], state);
}

void resolution(LevelSession& s, Arguments a)
{
    s.levels(a[0]).setResolution(a[1].number());
}

void dummy(LevelSession& s, Arguments a)
{
    s.levels(a[0]).is_dummy(a[1].flag());
}

/// The payload alone; of the invalid handle there is none.
void packInto(StreamFile& file, const ScriptedLevels& levels)
{
    PStream stream(file);
    if (levels.state())
        levels.state()->pack(stream);
}

/// A new envelope that has read a payload of that revision.
Kt::Ptr<AudLevelsCelRep> unpackFrom(StreamFile& file, double resolution, unsigned char revision)
{
    PStream stream(file);
    Kt::Ptr<AudLevelsCelRep> state(new AudLevelsCelRep(resolution));
    state->revisionMajor(revision);
    state->unpack(stream);
    return state;
}

void repack(LevelSession& s, Arguments a)
{
    const ScriptedLevels& source = s.levels(a[1]);
    StreamFile file;
    packInto(file, source);
    const auto revision = source.state() ? source.state()->revisionMajor() : std::uint8_t{3};
    s.levels(a[0], unpackFrom(file, source.getResolution(), revision));
}

void unpack(LevelSession& s, Arguments a)
{
    StreamFile file;
    file.write(a[3].bytes());
    s.levels(a[0], unpackFrom(file, a[1].number(), a[2].byte()));
}

void pack(LevelSession& s, Arguments a)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    StreamFile file;
    packInto(file, s.levels(a[0]));
    std::string hex;
    for (const std::byte byte : file.bytes()) {
        hex += kDigits[std::to_integer<unsigned>(byte) >> 4];
        hex += kDigits[std::to_integer<unsigned>(byte) & 15];
    }
    s.line("pack", a[0].text(), hex);
}

constexpr LevelOperation kOperations[] = {
    {"config", 2, config}, {"env", 2, env},       {"invalid", 1, invalid},
    {"clone", 2, clone},   {"share", 2, share},   {"resolution", 2, resolution},
    {"dummy", 2, dummy},   {"repack", 2, repack}, {"unpack", 4, unpack},
    {"pack", 1, pack},
};

} // namespace

std::span<const LevelOperation> levelStateOperations()
{
    return kOperations;
}

} // namespace cel::replay
