#pragma once

#include "cel/Cel.h"
#include "tests/support/track_model.h"
#include "tests/support/track_notation.h"

#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

/// Random edits of two tracks, each held against its model.
namespace cel::test {

/// A track of a derived class, whose edits go step by step.
class Stepwise : public Cel
{
public:
    explicit Stepwise(const Cel& other)
        : Cel(other)
    {
    }
};

/// One random edit. What its numbers stand for depends on the edit; all 0 is the simplest one.
struct Edit
{
    int operation, target, source;
    std::array<int, 3> times;
    std::array<int, 4> numbers;
};

/// Numbers and material as a replay script has them.
std::string text(double value);
std::string text(int value);
std::string text(const char* value);
std::string text(const Cookie& c);

/// Both sides of a sequence: the tracks and their models, and the script of what was done.
class Session
{
public:
    Session()
    {
        for (int i = 0; i < 2; ++i)
            say(i == 0 ? "cel" : "hooked", kNames[i], kFrames[i]);
    }

    void run(const Edit& edit);
    void aim(const Edit& edit) { edit_ = edit; }
    const Kt::Ptr<Cel>& first() const { return tracks_[0]; }
    void clear();
    ce_handle handle(int index) const { return {tracks_[edit_.target], index}; }

    // What an operation takes from its edit.
    Cel& track() { return *tracks_[edit_.target]; }
    ModelTrack& model() { return models_[edit_.target]; }
    const Kt::Ptr<Cel>& other() { return tracks_[edit_.source & 1]; }
    ModelTrack& otherModel() { return models_[edit_.source & 1]; }
    const Cel* source() { return edit_.source < 2 ? other().get() : nullptr; }
    const ModelTrack* sourceModel() { return edit_.source < 2 ? &otherModel() : nullptr; }
    const char* name() const { return kNames[edit_.target]; }
    const char* otherName() const { return kNames[edit_.source & 1]; }
    std::string sourceName() const { return edit_.source < 2 ? text(otherName()) : "null"; }
    int number(int which, std::size_t below) const
    {
        return edit_.numbers[std::size_t(which)] % int(below);
    }
    int index(int which) { return number(which, std::size_t(model().size()) + 2) - 1; }
    bool oneIn(int which, int n) const { return edit_.numbers[std::size_t(which)] % n == n - 1; }
    double time(int which);
    double frames(int which, int most)
    {
        return number(which, std::size_t(most)) * model().resolution;
    }
    Cel::Range range() { return {time(0), time(1)}; }
    Cookie material(int which) const { return test::material("ABab.,$"[number(which, 7)]); }

    template <class... Args>
    void say(const char* operation, const Args&... args)
    {
        script += "[\"" + std::string(operation) + "\"";
        ((script += "," + argument(args)), ...);
        script += "]\n";
    }

    /// Does the same to both; answers and faults must agree.
    template <class Real, class Model>
    void both(const Real& real, const Model& model)
    {
        const auto [mine, fault] = outcome(real);
        const auto [expected, expectedFault] = outcome(model);
        if (expectedFault == kUnsaid)
            return clear();
        if (!fault.starts_with(expectedFault) || fault.empty() != expectedFault.empty())
            wrong("throws '" + fault + "' instead of '" + expectedFault + "'");
        if (!(std::fabs(mine - expected) <= 1e-9) && text(mine) != text(expected))
            wrong("answers " + text(mine) + " instead of " + text(expected));
    }

    /// The same for an edit that makes a new track, which takes the place of the target.
    template <class Real, class Model>
    void make(const Real& real, const Model& model)
    {
        Kt::Ptr<Cel> made;
        std::optional<ModelTrack> expected;
        both([&] { return made = real(), made ? 1.0 : 0.0; },
             [&] { return expected = model(), expected ? 1.0 : 0.0; });
        if (!made || !expected)
            return;
        tracks_[edit_.target] = edit_.target == 0 ? made : Kt::Ptr<Cel>(new Stepwise(*made));
        models_[edit_.target] = *expected;
    }

    void wrong(const std::string& what);
    void addSection();
    void setField();

    std::string script;

private:
    /// Fault of a model whose walk over pairs left the track: level changes had broken its pairs.
    static constexpr const char* kUnsaid = "unsaid";
    static constexpr const char* kNames[] = {"a", "b"};

    static std::string argument(const std::string& ready) { return ready; }
    template <class T>
    static std::string argument(const T& value)
    {
        return text(value);
    }

    template <class Call>
    static std::pair<double, std::string> outcome(const Call& call)
    {
        try {
            return {call(), ""};
        } catch (const std::out_of_range&) {
            return {0.0, kUnsaid};
        } catch (const std::exception& fault) {
            return {0.0, fault.what()};
        }
    }

    void compare();
    bool outOfOrder();
    std::string difference(const ChannelEvent& event, const ModelEvent& expected);
    bool sameId(const IdStamp& id, const ModelId& expected);

    Edit edit_{};
    /// The second track's frames are never half way between the first one's.
    static constexpr double kFrames[] = {0.04, 1 / 23.99};
    Kt::Ptr<Cel> tracks_[2] = {Kt::Ptr<Cel>(new Cel(0, kFrames[0])),
                               Kt::Ptr<Cel>(new Stepwise(*Kt::Ptr<Cel>(new Cel(0, kFrames[1]))))};
    ModelTrack models_[2] = {ModelTrack(kFrames[0]), ModelTrack(kFrames[1])};
    std::map<int, IdStamp> ids_;
    std::set<IdStamp> seen_;
};

/// How many operations there are; an edit names one of them.
extern const int kOperationCount;

} // namespace cel::test
