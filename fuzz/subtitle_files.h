#pragma once

#include "fuzz/fuzz.h"
#include "interchange/subrip.h"
#include "interchange/webvtt.h"

namespace cel::fuzz {

/// Requires what is true of every list of cues that was read, and of what is written of it in both
/// forms and read again.
void examine(const SubtitleImport& read);

} // namespace cel::fuzz
