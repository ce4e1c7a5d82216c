#pragma once

#include "platform/support/PStream.h"
#include "tools/cel/replay_session.h"

namespace cel::replay {

/// Writes one item of a layer's body as a script spells it: ["char", n], ["event", {...}, 2] ...
/// The bytes are laid out here and not by the library's own writers, so that a script can make
/// every form that a file may hold, older ones and broken ones too.
void writeItem(Session& session, PStream& body, const Value& item);

} // namespace cel::replay
