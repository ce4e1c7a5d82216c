// A module that leans on the library, as a plug-in of the editor does. The program that loads it
// links neither.
#include "cel/Cel.h"
#include "cel/version.h"
#include "platform/support/PStream.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/StreamFile.h"
#include "tracks/AudLevelsCelRep.h"

#include <string>

#if defined(_WIN32)
#define CEL_PLUG_IN_EXPORT __declspec(dllexport)
#else
#define CEL_PLUG_IN_EXPORT __attribute__((visibility("default")))
#endif

namespace {

/// Tracks are known to the streams, go into one and come out of it again.
bool knowsTracks()
{
    const auto build = StreamClassRegistrar::find(Cel::shortLayerName());
    if (!build || !StreamClassRegistrar::find(AudLevelsCelRep::shortLayerName()))
        return false;
    const Kt::Ptr<Cel> track(new Cel(0, 0.04));
    track->appendEventPair(Cookie('V', 1, 0, 0), 1.0, 2.0, -1.0);
    StreamFile file;
    PStream stream(file);
    track->STRM_hierarchyPack(stream);
    file.seek(0);
    const Kt::Ptr<Cel> again = Kt::dynamicCast<Cel>(build(stream));
    if (!again)
        return false;
    again->STRM_hierarchyUnpack(stream);
    return again->numEvents() == 2;
}

} // namespace

/// @return the library's version, empty when it does not know its own classes.
extern "C" CEL_PLUG_IN_EXPORT const char* plugInTry()
{
    return knowsTracks() ? celDllVersionStr() : "";
}
