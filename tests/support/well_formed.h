#pragma once

#include "cel/Cel.h"

#include <gtest/gtest.h>

namespace cel::test {

/// Whether a track keeps every invariant: in points and out points in turn, times real and in
/// order, no gaps, both counters right, no section open. Says what it does not keep, with the
/// track in notation. Written against the rules alone, so that it can judge `cel::audit` too.
testing::AssertionResult wellFormed(const Cel& track);

/// Calls every const operation of a track and of the handles on it and beside it, whatever the
/// track holds. Misuse may throw `RuntimeError`; anything else is for a sanitizer to find.
void askEverything(const Kt::Ptr<Cel>& track);

} // namespace cel::test
