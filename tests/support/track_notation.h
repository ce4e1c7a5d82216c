#pragma once

#include "cel/Cel.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Tracks as text.
///
///     A0-4 .4-6 B6-8@10*2
///
/// is a section of shot A from 0 to 4 s, black up to 6 s, and shot B, playing at double speed from
/// its strip time 10. A section is its material, from, '-', to; then, in any order, what differs
/// from the plain case. One value stands for both ends, two are written `in>out`:
///
///     @10  @10>13   strip time of the in point (0), of the out point (on the in point's line)
///     *2   *2>1     velocity (1); `*?` unset
///     :0.5 :1>0     level (1)
///     ~20  ~20>8    ramp in quarter frames (0)
///     /2   /2>0     curve of the ramp (0)
///     %3   %3>0     varispeed display modifier (0)
///     !1   !1>0     inactive (0); `!` says the same as `!1`
///     ^1   ^1>2     trim selection (0)
///     =4   =4>0     modification set, not applied (0)
///     #7   #7>8     edit graph IdStamp(7, 0, 0) of the in point, of the out point (fresh, of magic
///                   type 1); also as the text of an IdStamp, `#1-2-40000003`
///
/// Material: 'A' to 'Z' shots, 'a' to 'z' sounds, '.' black, ',' black sound, '$' an effect,
/// '&' a subtitle, '?' the invalid Cookie; a ' behind it makes its version 1.
///
/// Events that do not pair up stand alone, with a sign for their kind before the edit time, and
/// take one value: `A<0` in point, `A=1:0.5` level change, `A>4` out point, `A|4` undefined.
/// A time may be `?` (unset), `nan` or `1e99`.
namespace cel::test {

/// The material of a letter.
Cookie material(char letter);

/// The events of a notation, as they are written, whether a track would accept them or not.
/// @throws std::invalid_argument for text that is no notation.
std::vector<ChannelEvent> events(std::string_view notation);

/// Puts the events of a notation behind those of a track, exactly as written. Both counters are
/// right, no section is pending (but for a lone in point), and the track counts as saved.
void fill(Cel& track, std::string_view notation);

/// A new track with these events.
Kt::Ptr<Cel> track(std::string_view notation, double resolution = 0.04);

/// The notation of events, numbers rounded to 1e-6: what `events` reads, in the order of the table
/// above and without what is plain. An identifier with a word above 0xFF counts as fresh.
std::string describe(std::span<const ChannelEvent> events);
inline std::string describe(const Cel& track)
{
    return describe(track.events());
}

/// What a track knows of its events: "2 material, 2 black, open -1".
std::string counters(const Cel& track);

} // namespace cel::test
