#include "tests/support/track_model_rules.h"

#include <algorithm>
#include <stdexcept>

namespace cel::test {

using namespace model;

ModelEvent::ModelEvent(const ChannelEvent& event)
    : edit(event.edit_time())
    , strip(event.strip_time())
    , level(event.level_sc())
    , velocity(event.velocity())
    , material(event.strip_name())
    , kind(event.info())
    , modifier(event.varispeed_display_modifier())
    , active(event.isActive())
    , trim(event.get_trim_type())
    , modification(event.get_ChannelEventModification())
    , ramp(event.audioRamp_DurationQFrames())
    , curve(event.audioRamp_CurveType())
    , id(event.editGraph())
{
}

ModelTrack::ModelTrack(const Cel& track)
    : resolution(track.get_resolution())
{
    for (const ChannelEvent& event : track.events())
        events.emplace_back(event);
}

// ---- the list ---------------------------------------------------------------------------------

double ModelTrack::onGrid(double t) const
{
    return std::floor(t / resolution + 0.5) * resolution;
}

void ModelTrack::count(const ModelEvent& e, int by)
{
    const Cookie& m = e.material;
    if (m.getInt3() != 647 || m.isInput() || m.isEffectGraph() || m.isEffect() || m.isMix50())
        counted += by;
    if (m.isBlack())
        black += by;
}

/// Puts a counted event in front of one, takes one out.
void ModelTrack::put(int index, const ModelEvent& e)
{
    events.insert(events.begin() + index, e);
    count(e, 1);
    pending += pending >= index ? 1 : 0;
}

void ModelTrack::take(int index)
{
    count(at(index), -1);
    events.erase(events.begin() + index);
    pending = pending == index ? -1 : pending - (pending > index ? 1 : 0);
}

bool ModelTrack::add(ModelEvent e)
{
    const bool unset = isUnset(e.velocity);
    if (e.kind == kIn && unset)
        e.velocity = 1;
    events.push_back(e);
    if (e.kind == kIn) {
        if (pending != -1 || !real(e.strip) || !real(e.edit))
            return (events.back().velocity = unset ? 220966.0F : e.velocity), false;
        pending = size() - 1;
    }
    if (e.kind == kOut) {
        const ModelEvent in = pending == -1 ? ModelEvent() : at(pending);
        if (pending != -1 && e.strip != kUnset && !real(e.strip))
            events.back().strip = e.strip = (e.edit - in.edit) * double(in.velocity) + in.strip;
        if (!real(e.edit) || pending == -1)
            return false;
        double v = e.velocity;
        if (unset) {
            const double length = e.edit - in.edit;
            v = length < kNear || e.strip == kUnset ? 1 : float((e.strip - in.strip) / length);
            for (const double plain : {1.0, 0.0, -1.0})
                v = same(v, plain) ? plain : v;
        }
        for (auto i = std::size_t(pending); i < events.size(); ++i) {
            events[i].velocity = float(v);
            events[i].strip = (events[i].edit - in.edit) * double(float(v)) + in.strip;
        }
        pending = -1;
    }
    if (e.kind == kLevel && pending == -1)
        return false;
    if (!(e.level >= -1e-6F) || (size() > 1 && after(events[events.size() - 2].edit, e.edit)))
        return false;
    count(e, 1);
    return true;
}

int ModelTrack::insertPair(int index, const Cookie& material, double strip, double duration,
                           double editStart)
{
    if (index < 0 || index % 2 != 0 || index > size() || !std::isfinite(strip) ||
        !std::isfinite(duration))
        return -1;
    const double from = events.empty() ? (editStart >= 0 ? editStart : 0.0)
                        : index == 0   ? 0.0
                                       : at(index - 1).edit;
    ModelEvent in = event(kIn, from, strip, material, 220966);
    ModelEvent out = event(kOut, from + duration, strip + duration, material, 220966);
    if (index == size()) {
        const bool first = add(in);
        return add(out) && first ? index : -1;
    }
    in.velocity = out.velocity = 1;
    put(index, out);
    put(index, in);
    for (int i = index + 2; i < size(); ++i)
        at(i).edit += duration;
    return index;
}

int ModelTrack::removePairs(int index, int pairs, bool closeGap)
{
    if (index < 0 || index % 2 != 0 || index >= size() || pairs <= 0)
        return 0;
    pairs = std::min(pairs, (size() - index) / 2);
    if (pairs == 0)
        return 0;
    const double length = at(index + 2 * pairs - 1).edit - at(index).edit;
    for (int i = 0; i < 2 * pairs; ++i)
        take(index);
    for (int i = index; closeGap && i < size(); ++i)
        at(i).edit -= length;
    return pairs;
}

int ModelTrack::find(double t, int kinds) const
{
    if (events.empty() || std::isnan(t) || after(t, end()))
        return -1;
    int found = size() - 1;
    while (found >= 0 && (after(at(found).edit, t) || !(at(found).kind & kinds)))
        --found;
    return found;
}

/// The next event in a direction of some kinds.
int ModelTrack::step(int index, int by, int kinds) const
{
    for (index += by; index >= 0 && index < size(); index += by)
        if (at(index).kind & kinds)
            return index;
    return -1;
}

int ModelTrack::matchingIn(int index) const
{
    return index < 0 || at(index).kind == kIn ? index : step(index, -1, kIn);
}

int ModelTrack::matchingOut(int index) const
{
    return index < 0 || at(index).kind == kOut ? index : step(index, 1, kOut);
}

bool ModelTrack::holds(int index, double t) const
{
    const int in = matchingIn(index);
    const int out = matchingOut(index);
    if (in < 0 || out < 0)
        throw std::runtime_error("Cel::get_edit_time: invalid ce_handle");
    return t > at(in).edit - kNear && at(out).edit + kNear > t;
}

double ModelTrack::stripAt(int index, double t) const
{
    const ModelEvent& e = at(index);
    return t == kUnset || std::fabs(t - e.edit) < kNear ? e.strip
                                                        : e.strip + speed(e) * (t - e.edit);
}

float ModelTrack::levelAt(int index, double t) const
{
    if (t == kUnset || std::fabs(t - at(index).edit) < kNear)
        return at(index).level;
    const ModelEvent& in = at(matchingIn(index));
    const ModelEvent& out = at(matchingOut(index));
    const double length = out.edit - in.edit;
    if (length < kNear)
        return in.level;
    const double f = (t - in.edit) / length;
    return float((1 - f) * double(in.level) + f * double(out.level));
}

Cookie ModelTrack::blackCookie() const
{
    return !events.empty() && events.front().material.type() == 'S' ? audio_black : video_black;
}

// ---- cuts and ranges --------------------------------------------------------------------------

/// A ramp is no longer than its section, in whole frames.
void ModelTrack::limitRamp(ModelEvent& e, double seconds) const
{
    const double frames = seconds / resolution;
    const double whole = std::trunc(frames + (frames > 0 ? 0.5 : -0.5));
    e.ramp = unsigned(std::clamp(whole * 4, 0.0, double(e.ramp)));
}

int ModelTrack::cut(double t)
{
    const int in = find(t, kIn);
    if (in < 0 || !after(t, at(in).edit))
        return in;
    const int out = matchingOut(in);
    if (out < 0 || !after(at(out).edit, t))
        return -1;

    ModelEvent firstIn = at(in);
    firstIn.id = freshId();
    firstIn.trim = 0;
    firstIn.modification = 0;
    limitRamp(firstIn, t - firstIn.edit);
    ModelEvent firstOut = event(kOut, t, firstIn.strip + speed(firstIn) * (t - firstIn.edit),
                                firstIn.material, double(firstIn.velocity));
    firstOut.level = levelAt(in, t);
    limitRamp(at(out), at(out).edit - t);
    ModelEvent& secondIn = at(in);
    secondIn.edit = t;
    secondIn.strip = firstOut.strip;
    secondIn.level = firstOut.level;
    secondIn.ramp = 0;
    secondIn.curve = 0;

    // The second in point goes behind the level changes that belong to the first half.
    int second = in;
    for (; at(second + 1).kind == kLevel && !after(at(second + 1).edit, t); ++second)
        std::swap(at(second), at(second + 1));
    put(second, firstOut);
    put(in, firstIn);
    return second + 2;
}

void ModelTrack::remove(const Range& range)
{
    if (!std::isfinite(range.start()) || !std::isfinite(range.end()))
        return;
    const int from = cut(range.start());
    if (from < 0)
        return;
    const int to = cut(range.end());
    const int n = (to < 0 ? size() : to) - from;
    if (n > 0)
        removePairs(from, n / 2, true);
}

/// What goes in: the source's part of a range, moved to `at` and onto the frames.
std::vector<ModelEvent> ModelTrack::materialOf(const ModelTrack* source, const Range& range,
                                               double place) const
{
    const double half = resolution / 2;
    const auto placed = [&](double t) { return onGrid(t + (place - range.start())); };
    if (!source || source->events.empty() || range.end() <= source->start() + half ||
        range.start() >= source->end() - half)
        return blackSection(blackCookie(), onGrid(place), onGrid(place) + onGrid(range.length()));

    int first = source->find(range.start() + half, kIn);
    int last = source->find(range.end() - half, kIn);
    first = first < 0 ? source->step(-1, 1, kIn) : first;
    last = last < 0 ? source->matchingIn(source->size() - 1) : last;
    std::vector<ModelEvent> result;
    double reached = range.start();
    bool any = false;
    const auto fillUpTo = [&](double t) {
        const double from = result.empty() ? placed(range.start()) : result.back().edit;
        if (after(placed(t), from)) {
            if (result.empty() || onGrid(t - reached) > 0) {
                for (const ModelEvent& e : blackSection(blackCookie(), from, placed(t)))
                    result.push_back(e);
            } else {
                result.back().strip += speed(result.back()) * (t - reached);
                result.back().edit = placed(t);
            }
        }
        reached = t;
    };
    for (int in = first; in >= 0 && in <= std::max(first, last); in = source->step(in, 1, kIn)) {
        const int out = source->matchingOut(in);
        if (out < 0)
            break;
        const ModelEvent& sourceIn = source->at(in);
        const ModelEvent& sourceOut = source->at(out);
        if (after(range.start(), sourceOut.edit))
            continue;
        const bool headCut = after(range.start(), sourceIn.edit);
        const bool tailCut = after(sourceOut.edit, range.end());
        const double from = headCut ? range.start() : sourceIn.edit;
        const double to = tailCut ? range.end() : sourceOut.edit;
        fillUpTo(from);
        for (int i = in; i <= out; ++i) {
            ModelEvent e = source->at(i);
            if (e.kind == kLevel && (after(from, e.edit) || after(e.edit, to)))
                continue;
            e.edit = placed(i == in ? from : i == out ? to : e.edit);
            if (i == in && headCut) {
                e.strip = source->stripAt(in, from);
                e.level = source->levelAt(in, from);
                e.ramp = 0;
                e.curve = 0;
            }
            if (i == out && tailCut) {
                e.strip = sourceIn.strip + speed(sourceIn) * (to - sourceIn.edit);
                e.level = source->levelAt(in, to);
            }
            if ((i == in && tailCut) || (i == out && (headCut || tailCut)))
                limitRamp(e, to - from);
            if (i == out ||
                (i == in && (!any || (e.id.getMagicType() == 1 && !e.material.isBlack()))))
                e.id = freshId();
            result.push_back(e);
        }
        any = true;
        reached = to;
    }
    fillUpTo(range.end());
    return result.empty() ? materialOf(nullptr, range, place) : result;
}

void ModelTrack::insert(const ModelTrack* source, const Range& range, double place)
{
    if (!std::isfinite(range.start()) || !std::isfinite(range.end()) || !real(place) ||
        !real(place + range.length()))
        return;
    const ModelTrack before = source ? *source : *this;
    const auto inPointAt = [&](double t) {
        const int found = find(t + resolution / 2, kIn) < 0 ? -1 : find(t, kIn);
        return found >= 0 && same(at(found).edit, t) ? found : -1;
    };
    int index = inPointAt(place);
    if (index < 0) {
        place = onGrid(place);
        index = inPointAt(place);
        if (index < 0 && find(place + resolution / 2, kIn) >= 0)
            index = cut(place);
    }
    if (!(onGrid(range.length()) > 0))
        return;

    const bool inGap = index < 0;
    double pushed = 0;
    if (inGap && place < 0) {
        pushed = -place;
        place = 0;
        index = 0;
    } else if (inGap) {
        for (index = 0; index < size() && !(at(index).kind == kIn && after(at(index).edit, place));)
            ++index;
        index = after(place + resolution / 2, end()) ? size() : index;
    }
    std::vector<ModelEvent> material = materialOf(source ? &before : nullptr, range, onGrid(place));
    const double from = material.front().edit;
    const double to = material.back().edit;
    const double moved = to - from + pushed;
    const Cookie filler = blackCookie();
    for (auto i = std::size_t(index); i < events.size(); ++i)
        events[i].edit = onGrid(events[i].edit + moved);

    const double reached = index > 0 ? at(index - 1).edit : index < size() ? from : 0.0;
    const bool filled = inGap && onGrid(from - reached) > 0;
    const double resumed = index < size() ? at(index).edit : to + pushed;
    std::vector<ModelEvent> all =
        filled ? blackSection(filler, reached, from) : std::vector<ModelEvent>();
    all.insert(all.end(), material.begin(), material.end());
    if (inGap && after(resumed, to))
        for (const ModelEvent& e : blackSection(filler, to, resumed))
            all.push_back(e);
    const int in = index > 0 ? matchingIn(index - 1) : -1;
    if (in >= 0 && !filled && std::fabs(from - reached) <= resolution / 2 + kNear) {
        // The out point in front meets the material, but not before its own in point.
        const double meeting = std::max(from, at(in).edit);
        for (ModelEvent* e : {&at(index - 1), &all.front()}) {
            e->strip += speed(*e) * (meeting - e->edit);
            e->edit = meeting;
        }
    }
    for (auto e = all.rbegin(); e != all.rend(); ++e)
        put(index, *e);
}

void ModelTrack::replace(const ModelTrack* source, const Range& range, double place, int flags)
{
    if (!std::isfinite(range.start()) || !std::isfinite(range.end()) || !real(place) ||
        !real(place + range.length()))
        return;
    const ModelTrack before = source ? *source : *this;
    int kept = -1;
    IdStamp effect(0, 0, 0);
    const int from = source ? before.find(range.start() + kNear, kIn) : -1;
    const int onto = find(place + kNear, kIn);
    if (flags == 0 && place >= 0 && from >= 0 && onto >= 0 && before.matchingOut(from) >= 0 &&
        matchingOut(onto) >= 0) {
        const ModelEvent& sourceIn = before.at(from);
        const ModelEvent& sourceOut = before.at(before.matchingOut(from));
        const ModelEvent& in = at(onto);
        const ModelEvent& out = at(matchingOut(onto));
        const bool covers =
            !after(sourceIn.edit, range.start()) && !after(range.end(), sourceOut.edit);
        const bool material = sourceIn.id.getMagicType() <= 1 && !sourceIn.material.isEffect() &&
                              !sourceIn.material.isBlack();
        if (covers && material && (in.id.getMagicType() == 0 || in.id.getMagicType() == 3) &&
            same(sourceOut.edit - sourceIn.edit, out.edit - in.edit)) {
            kept = onto;
            effect = in.id;
            at(onto).id = freshId();
        }
    }
    const double end = place + range.length();
    if (place >= 0)
        remove(Range(place, end));
    else if (end > 0)
        remove(Range(0, end));
    if (!same(range.start(), range.end()))
        insert(source ? &before : nullptr, range, std::max(place, 0.0));
    if (effect.valid() && kept < size())
        at(kept).id = effect;
}

ModelTrack ModelTrack::extract(double start, double end, unsigned flags, unsigned before,
                               unsigned after_) const
{
    ModelTrack result = emptyTrack();
    const bool even = (flags & 2) != 0;
    const bool widened = before != 0 || after_ != 0;
    if (events.empty())
        return result;
    start = this->start() + kNear > start ? this->start() : start;
    const double overshoot = (flags & 1) == 0 && end > this->end() - kNear ? end - this->end() : 0;
    end = end > this->end() - kNear ? this->end() : end;
    if (!even && !after(end, start))
        return result;

    int first = find(start, 7);
    if (first >= 0 && at(first).kind == kOut) {
        first = std::max(step(first, 1, kIn), 0);
        start = at(first).edit;
    }
    if (widened) {
        for (; before > 0 && first >= 0; --before)
            first = step(first, -1, kIn);
        first = std::max(first, 0);
        start = std::min(at(first).edit, start);
    }
    if (!even && !(end > start))
        return result;
    if (first >= 0 && !holds(first, start) && step(first, 1, kIn) >= 0) {
        first = step(first, 1, kIn);
        start = at(first).edit;
    }
    if (first < 0)
        throw std::runtime_error("Cel::extract: internal error");
    for (int i = step(first, -1, kIn); even && i >= 0 && at(i).edit >= start - kNear;
         i = step(i, -1, kIn))
        first = i;

    int last = find(end, kIn | kLevel);
    if (last < 0)
        throw std::runtime_error("Cel::extract duff handle");
    if (at(last).kind == kIn && same(at(last).edit, end) && step(last, -1, kIn | kLevel) >= 0)
        last = step(last, -1, kIn | kLevel);
    if (widened) {
        for (; after_ > 0 && last >= 0; --after_)
            last = step(last, 1, kIn);
        if (last < 0)
            last = std::max(step(size(), -1, kIn | kLevel), 0);
        end = std::max(at(last).edit, end);
    }
    if (even) {
        for (int i = step(last, 1, kOut); i >= 0 && at(i).edit <= end + kNear; i = step(i, 1, kOut))
            last = i;
        last = at(last).kind == kOut ? step(last, -1, kIn) : last;
    }
    last = std::max(last, first);
    const int closing = matchingOut(last);
    if (closing < 0 || after(start, end))
        return result;

    const bool fresh = (flags & 4) == 0 && at(first).id.getMagicType() == 1;
    const auto idOf = [&](int i) { return fresh || !at(i).id.valid() ? freshId() : at(i).id; };
    ModelEvent in = event(kIn, start, stripAt(first, start), at(first).material, 220966);
    in.level = levelAt(first, start);
    in.modifier = at(first).modifier;
    in.ramp = at(first).ramp;
    in.curve = at(first).curve;
    in.active = at(first).active;
    in.id = idOf(first);
    const double to = std::min(at(closing).edit, end) + overshoot;
    ModelEvent out = event(kOut, to, at(last).strip + speed(at(last)) * (to - at(last).edit),
                           at(last).material, 220966);
    out.level = at(last).level;
    out.ramp = at(closing).ramp;
    out.curve = at(closing).curve;
    out.id = idOf(closing);
    result.add(in);
    const bool endsOnChange = at(last).kind == kLevel && same(at(last).edit, end);
    for (int i = first + 1; i <= last - endsOnChange; ++i)
        result.add(at(i));
    result.add(out);
    return result;
}

} // namespace cel::test
