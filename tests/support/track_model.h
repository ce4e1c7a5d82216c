#pragma once

#include "tests/support/edit_notation.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

/// A track said as plainly as it can be: a list of events and one loop per rule, without regard to
/// what an edit costs or what happens when memory runs out. Edits of the library are held against
/// it. It covers tracks whose events stand in order; strip times and levels are numbers.
namespace cel::test {

struct ModelEvent
{
    ModelEvent() = default;
    explicit ModelEvent(const ChannelEvent& event);

    double edit = 0;
    double strip = 0;
    float level = 1;
    float velocity = 220966.0F;
    Cookie material;
    int kind = 1; ///< 1 in point, 2 level change, 4 out point
    int modifier = 0;
    bool active = true;
    int trim = 0;
    unsigned modification = 0;
    unsigned ramp = 0;
    int curve = 0;
    IdStamp id{0, 0, 0};
};

class ModelTrack
{
public:
    using Range = Cel::Range;

    explicit ModelTrack(double frame = 0.04)
        : resolution(frame)
    {
    }
    explicit ModelTrack(const Cel& track);

    double resolution;
    std::vector<ModelEvent> events;
    int pending = -1;
    int counted = 0; ///< events that count as material, and black ones
    int black = 0;

    int size() const { return static_cast<int>(events.size()); }
    ModelEvent& at(int index) { return events.at(std::size_t(index)); }
    const ModelEvent& at(int index) const { return events.at(std::size_t(index)); }

    // Where an event is wanted: its index, -1 for none. Faults are thrown as std::runtime_error.
    bool add(ModelEvent event);
    int insertPair(int index, const Cookie& material, double strip, double duration, double start);
    int removePairs(int index, int pairs, bool closeGap);
    void clear() { *this = ModelTrack(resolution); }
    int find(double t, int kinds) const;

    int cut(double t);
    void remove(const Range& range);
    void insert(const ModelTrack* source, const Range& range, double at);
    void replace(const ModelTrack* source, const Range& range, double at, int flags);
    ModelTrack extract(double start, double end, unsigned flags, unsigned before = 0,
                       unsigned after = 0) const;

    ModelTrack copy() const;
    ModelTrack append(const ModelTrack& other) const;
    std::optional<ModelTrack> overlay(const ModelTrack& other) const;
    ModelTrack blackToEnds(int which, char type) const;
    void slide(double offset);
    void weld(const ModelTrack& other, double offset);

    double trim(int index, double d, int type, bool keepFrame);
    double trimTest(double d) const;
    double trimSelected(double d);
    bool mark(int index) const;

    ModelTrack quantise() const;
    void quantiseInPlace();
    void quantiseEnd();
    ModelTrack reverse() const;
    ModelTrack rescale(double sourceStart, double sourceEnd, double start, double end,
                       double levelStart, double levelEnd, double quantum, unsigned flags) const;

    bool simplify(int type, const Range& range);
    void simplifyTidy(const Range& range);
    void simplifyBlack(const Range& range);
    ModelTrack simplified(int mode, bool black, bool zeroLength) const;
    bool canSimplifyBlack() const;

    /// Names of the invariants that its events break.
    std::set<std::string> faults() const;

private:
    ModelTrack emptyTrack() const { return ModelTrack(resolution); }
    double start() const { return events.empty() ? 1e12 : events.front().edit; }
    double end() const { return events.empty() ? -1e12 : events.back().edit; }
    double onGrid(double t) const;
    int step(int index, int by, int kinds) const;
    int matchingIn(int index) const;
    int matchingOut(int index) const;
    double stripAt(int index, double t) const;
    float levelAt(int index, double t) const;
    bool holds(int index, double t) const;
    Cookie blackCookie() const;
    void count(const ModelEvent& event, int by);
    void put(int index, const ModelEvent& event);
    void take(int index);
    void limitRamp(ModelEvent& event, double seconds) const;
    std::vector<ModelEvent> materialOf(const ModelTrack* source, const Range& range,
                                       double at) const;
    double feedBlack(int in, double d);
    bool removable(int out, int mode) const;
    void mergeCuts(const Range& range, int mode);
    void simplifyZeroLength(const Range& range);
};

/// Does an edit to a model, as the track does it.
/// @return what it answers. Faults are thrown as std::runtime_error, and std::out_of_range where
/// the model has nothing to say: level changes broke the pairs that it walks over.
std::string run(const EditLine& edit, ModelTrack& edited, const ModelTrack& other);

} // namespace cel::test
