#include "tests/support/track_model_rules.h"

#include <algorithm>
#include <stdexcept>

namespace cel::test {

using namespace model;

// ---- whole tracks -----------------------------------------------------------------------------

ModelTrack ModelTrack::copy() const
{
    ModelTrack result = emptyTrack();
    for (const ModelEvent& e : events)
        result.add(e);
    return result;
}

ModelTrack ModelTrack::append(const ModelTrack& other) const
{
    ModelTrack result = *this;
    result.pending = -1;
    result.events.insert(result.events.end(), other.events.begin(), other.events.end());
    result.counted += other.counted;
    result.black += other.black;
    return result;
}

std::optional<ModelTrack> ModelTrack::overlay(const ModelTrack& other) const
{
    if (events.empty() || start() == end())
        return other.copy();
    if (other.events.empty())
        return copy();
    if (!after(end(), other.start()))
        return append(other);
    ModelTrack result = emptyTrack();
    for (std::size_t i = 0, j = 0; i < events.size() || j < other.events.size();) {
        const bool mine = i < events.size();
        const bool theirs = j < other.events.size();
        if (mine && theirs && same(events[i].edit, other.events[j].edit))
            return {};
        const bool takeMine = mine && (!theirs || events[i].edit < other.events[j].edit);
        const auto& from = takeMine ? events : other.events;
        std::size_t& next = takeMine ? i : j;
        const double run = from[next].edit;
        for (; next < from.size() && !after(from[next].edit, run); ++next)
            result.add(from[next]);
    }
    return result;
}

ModelTrack ModelTrack::blackToEnds(int which, char type) const
{
    ModelTrack result = emptyTrack();
    const Cookie filler = type == 'S' ? audio_black : video_black;
    const auto addBlack = [&](double t) {
        result.add(event(kIn, t, 0, filler, 220966));
        result.add(event(kOut, t, 0, filler, 220966));
    };
    if (which & 1)
        addBlack(start());
    for (const ModelEvent& e : events)
        result.add(e);
    if ((which & 2) && !events.empty())
        addBlack(end());
    return result;
}

void ModelTrack::slide(double offset)
{
    for (ModelEvent& e : events)
        e.edit += std::isfinite(offset) ? offset : 0;
}

void ModelTrack::weld(const ModelTrack& other, double offset)
{
    if (!(offset >= -kNear))
        throw std::runtime_error("Cel::join: offset must be greater than zero");
    const double shift = (events.empty() ? 0 : end() - start()) + offset;
    for (ModelEvent e : std::vector(other.events)) {
        e.edit += shift;
        add(e);
    }
}

// ---- trims ------------------------------------------------------------------------------------

double ModelTrack::trim(int index, double d, int type, bool keepFrame)
{
    if (events.empty())
        return d;
    if (index < 0 || index >= size())
        throw std::runtime_error("Cel::trim: ceh invalid");
    const int in = matchingIn(index);
    if (in < 0)
        throw std::runtime_error(keepFrame ? "Cel::get_edit_time: invalid ce_handle"
                                           : "Cel::get_strip_velocity: invalid ce_handle");
    if (!std::isfinite(d))
        return 0;
    const int out = matchingOut(in);
    ModelEvent& start = at(in);
    if (keepFrame) {
        d = std::max(d, start.edit - at(out).edit + resolution);
        if (std::fabs(d) < kNear)
            return d;
    }
    if (type == 1)
        start.strip -= speed(start) * d;
    for (int i = in + 1; i < size(); ++i) {
        ModelEvent& e = at(i);
        e.edit += d;
        if (i <= out)
            e.strip = (e.edit - start.edit) * speed(start) + start.strip;
    }
    return d;
}

double ModelTrack::feedBlack(int in, double d)
{
    ModelEvent& first = at(in);
    d = std::max(d, in == 0 ? -1e7 : at(in - 1).edit - first.edit);
    for (int i = in; first.trim == 3 && i < size(); ++i)
        at(i).edit += d;
    if (first.trim == 4) {
        first.edit += d;
        first.strip += d;
    }
    return d;
}

bool ModelTrack::mark(int index) const
{
    const ModelEvent& e = at(index);
    if (e.kind == kIn)
        return e.trim >= 3;
    const int in = matchingIn(index);
    const int ofIn = in < 0 ? 0 : at(in).trim;
    int x = ofIn == 1 || ofIn == 4 ? -1 : 1;
    x = e.trim == 2 ? -x : x;
    return e.kind == kOut && x == -1;
}

double ModelTrack::trimTest(double d) const
{
    d = std::isfinite(d) ? d : 0;
    std::vector<int> marks;
    for (int i = 0; i < size(); ++i)
        if (mark(i))
            marks.push_back(i);
    const auto edit = [this](int i) {
        if (i >= size())
            throw std::runtime_error("Cel::get_edit_time: invalid ce_handle");
        return at(i).edit;
    };
    for (std::size_t i = 0; i < marks.size(); i += 2) {
        const int a = marks[i];
        const bool alone = i + 1 == marks.size();
        if (alone && d > 0 && at(a).trim == 4)
            d = std::min(d, edit(a + 1) - edit(a));
        if (d < 0 && a > 0)
            d = std::max(d, edit(a - 1) - edit(a));
        if (!alone && d > 0)
            d = std::min(d, edit(marks[i + 1]) - edit(marks[i + 1] - 1));
    }
    return std::fabs(d) < kNear ? 0 : d;
}

double ModelTrack::trimSelected(double d)
{
    if (!std::isfinite(d))
        return 0;
    d = trimTest(d);
    for (int i = 0; i < size(); ++i) {
        const int type = at(i).trim;
        if (type == 3 || type == 4)
            feedBlack(matchingIn(i), d);
        else if (type != 0)
            trim(i, d, type, false);
    }
    return d;
}

// ---- transforms -------------------------------------------------------------------------------

ModelTrack ModelTrack::quantise() const
{
    ModelTrack result = emptyTrack();
    const auto fail = [] {
        throw std::runtime_error("cel:failed to fixup invalid quantisation\n");
    };
    for (std::size_t i = 0; i < events.size(); ++i) {
        ModelEvent q = events[i];
        q.edit = onGrid(q.edit);
        if (result.add(q))
            continue;
        if (i == 0)
            fail();
        result.events.pop_back();
        q.strip -= q.edit - events[i - 1].edit;
        q.edit = onGrid(events[i - 1].edit);
        result.pending = -1;
        if (!result.add(q))
            fail();
    }
    return result;
}

void ModelTrack::quantiseInPlace()
{
    for (ModelEvent& e : events)
        e.edit = onGrid(e.edit);
}

void ModelTrack::quantiseEnd()
{
    if (!events.empty())
        events.back().edit = onGrid(events.back().edit);
}

ModelTrack ModelTrack::reverse() const
{
    ModelTrack result = emptyTrack();
    for (auto e = events.rbegin(); e != events.rend(); ++e) {
        ModelEvent turned = *e;
        turned.edit = start() + end() - e->edit;
        turned.kind = e->kind == kIn ? kOut : e->kind == kOut ? kIn : e->kind;
        result.add(turned);
    }
    for (std::size_t i = 0; i + 1 < result.events.size(); ++i) {
        result.events[i].id = result.events[i + 1].id;
        result.events[i + 1].id = IdStamp(0, 0, 0);
    }
    return result;
}

ModelTrack ModelTrack::rescale(double sourceStart, double sourceEnd, double start, double end,
                               double levelStart, double levelEnd, double quantum,
                               unsigned flags) const
{
    ModelTrack grid(quantum >= kNear ? quantum : resolution);
    ModelTrack result = emptyTrack();
    if (sourceStart > sourceEnd)
        return result;
    const double from = std::min(start, end);
    const double to = std::max(start, end);
    for (ModelEvent e : extract(sourceStart, sourceEnd, flags).events) {
        const double length = sourceEnd - sourceStart;
        const double f = length >= kNear ? (e.edit - sourceStart) / length : 0;
        e.edit = grid.onGrid(from + (to - from) * f);
        e.level = float(double(e.level) * (levelStart + (levelEnd - levelStart) * f));
        e.velocity = 220966.0F;
        if (end < start)
            result.events.push_back(e);
        else
            result.add(e);
    }
    return end < start ? result.reverse() : result;
}

// ---- simplification ---------------------------------------------------------------------------

bool ModelTrack::simplify(int type, const Range& range)
{
    const int before = size();
    if (type == 0 || type == 1)
        simplifyZeroLength(range);
    if (type == 0 || type == 2)
        simplifyBlack(range);
    if (type == 0 || type == 4)
        mergeCuts(range, 0);
    if (type == 0) {
        simplifyTidy(Range(1e99, 1e99));
        for (std::size_t i = 0; i + 1 < events.size(); ++i) {
            ModelEvent& in = events[i];
            ModelEvent& out = events[i + 1];
            if (in.material.isBlack() && in.material == out.material && in.kind == kIn &&
                out.kind == kOut) {
                in.velocity = out.velocity = 1;
                out.strip = in.strip + (out.edit - in.edit);
            }
        }
    }
    if (type == 0 || type == 3)
        quantiseInPlace();
    return size() != before;
}

void ModelTrack::simplifyZeroLength(const Range& range)
{
    const auto isEffect = [this](int i) { return at(i).material.isEffect(); };
    for (int i = 0; i + 1 < size();) {
        const ModelEvent& in = at(i);
        const ModelEvent& out = at(i + 1);
        const bool isLast = i + 2 >= size();
        const bool kept =
            i < 2 ? !isLast && isEffect(i + 2) : isEffect(i - 1) && (isLast || isEffect(i + 2));
        if (qualifies(range, in.edit) && in.kind == kIn && in.material == out.material &&
            std::fabs(in.edit - out.edit) <= 2 * kNear && !kept)
            removePairs(i, 1, true);
        else
            i += 2;
    }
}

bool ModelTrack::removable(int i, int mode) const
{
    const ModelEvent &in = at(i - 1), &out = at(i), &nextIn = at(i + 1), &nextOut = at(i + 2);
    const auto differ = [](double a, double b) { return !(std::fabs(a - b) <= kNear); };
    if (differ(out.edit, nextIn.edit) || differ(out.strip, nextIn.strip) ||
        out.material != nextIn.material || differ(out.velocity, nextIn.velocity) ||
        out.kind != kOut || nextIn.kind != kIn)
        return false;
    if (mode != 0)
        return true;
    const double d1 = out.edit - in.edit, d2 = nextOut.edit - nextIn.edit;
    if (differ(out.level, nextIn.level) ||
        (d1 > 0 && d2 > 0 &&
         differ(double(out.level - in.level) / d1, double(nextOut.level - nextIn.level) / d2)))
        return false;
    return in.id.getMagicType() == 1 && nextIn.id.getMagicType() == 1 && out.ramp == 0 &&
           nextIn.ramp == 0;
}

void ModelTrack::mergeCuts(const Range& range, int mode)
{
    for (int i = 1; i + 2 < size();) {
        if (qualifies(range, at(i).edit) && removable(i, mode)) {
            count(at(i), -1);
            count(at(i + 2), 1);
            at(i) = at(i + 2);
            removePairs(i + 1, 1, false);
        } else {
            i += 2;
        }
    }
}

bool ModelTrack::canSimplifyBlack() const
{
    for (std::size_t i = 0; pending == -1 && i + 1 < events.size(); ++i) {
        const ModelEvent& out = events[i];
        const ModelEvent& in = events[i + 1];
        if (out.kind == kOut && in.kind == kIn &&
            ((out.material.isBlack() && in.material.isBlack()) || after(in.edit, out.edit)))
            return true;
    }
    return false;
}

void ModelTrack::simplifyBlack(const Range& range)
{
    if (!canSimplifyBlack())
        return;
    for (int i = 0; i + 1 < size(); ++i) {
        ModelEvent& out = at(i);
        ModelEvent& in = at(i + 1);
        if (out.kind != kOut || in.kind != kIn || !qualifies(range, out.edit))
            continue;
        const bool hole = after(in.edit, out.edit);
        int longer = matchingIn(i);
        const bool whole = longer >= 0 && matchingOut(i + 1) >= 0;
        if (!whole && (out.material.isBlack() || in.material.isBlack()))
            continue;
        if (out.material.isBlack() && in.material.isBlack()) {
            at(matchingOut(i + 1)).material = at(longer).material;
            take(i);
            take(i);
            --i; // what the merged section meets is looked at again
        } else if (hole && out.material.isBlack()) {
            out.edit = in.edit;
        } else if (hole && in.material.isBlack()) {
            in.edit = out.edit;
            longer = i + 1;
        } else {
            if (hole) {
                const auto filler = blackSection(blackCookie(), out.edit, in.edit);
                put(i + 1, filler[1]);
                put(i + 1, filler[0]);
            }
            continue;
        }
        const ModelEvent first = at(longer);
        for (int k = longer; k <= matchingOut(longer); ++k) {
            at(k).velocity = 1;
            at(k).strip = at(k).edit - first.edit + first.strip;
        }
    }
}

void ModelTrack::simplifyTidy(const Range& range)
{
    for (int i = 1; i + 2 < size(); i += 2) {
        const ModelEvent out = at(i);
        const ModelEvent in = at(i + 1);
        const bool meet = same(out.edit, in.edit);
        if (!qualifies(range, in.edit) ||
            (meet ? !(out.material.isEffect() && in.material.isEffect()) : in.edit < out.edit))
            continue;
        const Cookie filler = out.material.type() == 'S' ? audio_black : video_black;
        ModelEvent& end = at(insertPair(i + 1, filler, 0, 0, -1) + 1);
        if (!meet) {
            end.edit = in.edit;
            end.strip = in.edit - out.edit;
        }
    }
}

std::set<std::string> ModelTrack::faults() const
{
    std::set<std::string> found;
    int open = -1;
    for (int i = 0; i < size(); ++i) {
        const ModelEvent& e = at(i);
        const bool cutBefore = i > 0 && at(i - 1).kind == kOut && e.kind == kIn;
        if (i > 0 && after(at(i - 1).edit, e.edit))
            found.insert(cutBefore ? "overlap" : "order");
        if (cutBefore && after(e.edit, at(i - 1).edit))
            found.insert("gap");
        if (e.level < -1e-6F)
            found.insert("level");
        if (!real(e.strip))
            found.insert("strip-time");
        if ((e.kind == kIn) != (open < 0))
            found.insert("kinds");
        if (e.kind == kOut && open >= 0 && !at(open).material.isBlack() &&
            std::fabs(e.edit - at(open).edit) < kNear)
            found.insert("zero-length");
        open = e.kind == kIn ? i : e.kind == kOut ? -1 : open;
    }
    const auto changes = std::count_if(events.begin(), events.end(),
                                       [](const ModelEvent& e) { return e.kind == kLevel; });
    if (size() % 2 != 0 && changes % 2 == 0)
        found.insert("pairs");
    if (open >= 0)
        found.insert("open-section");
    return found;
}

ModelTrack ModelTrack::simplified(int mode, bool withBlack, bool zeroLength) const
{
    ModelTrack result = copy();
    result.mergeCuts(Range(1e99, 1e99), mode);
    if (withBlack)
        result.simplifyBlack(Range(1e99, 1e99));
    if (zeroLength)
        result.simplifyZeroLength(Range(1e99, 1e99));
    return result;
}

} // namespace cel::test
