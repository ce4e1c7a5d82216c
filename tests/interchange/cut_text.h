#pragma once

#include "interchange/Cut.h"
#include "interchange/LossLedger.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace cel::test {

/// A cut as text: title, rate and start, then every track with a line per section:
///
///     V1
///       00:00:00:00-00:00:05:06 01:00:01:21 REEL "clip name" [file] x0.5
///
/// Record times count from the start of the cut; the source time is left out for black, and the
/// speed where it is normal. Speeds and levels of the two ends that differ stand as `a>b`.
std::string describe(const Cut& cut);

/// A cut with these picture tracks, each in notation.
Cut cutOf(std::initializer_list<std::string_view> tracks);

/// The notations of its tracks, ", " between them.
std::string tracksOf(const Cut& cut);

/// Entries as `line kind: text`, a line each.
std::string describe(const LossLedger& losses);

/// Their lines and kinds alone: "3 dissolve, 5 comment".
std::string kindsOf(const LossLedger& losses);

} // namespace cel::test
