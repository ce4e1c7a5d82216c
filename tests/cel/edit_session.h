#pragma once

#include "tests/support/track_model.h"

#include <array>
#include <map>
#include <set>
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

/// How many operations there are; an edit names one of them.
extern const int kOperationCount;

/// Puts an edit into words, for a track as it stands.
class Wording
{
public:
    Wording(const Edit& edit, const ModelTrack& track)
        : edit_(edit)
        , track_(track)
    {
    }

    std::string text() const;

    /// A time on the track's frames, at one of its events, or an odd one.
    double time(int which) const;

private:
    std::string word(std::string_view sign) const;
    std::string section() const;
    std::string field() const;
    int number(int which, std::size_t below) const
    {
        return edit_.numbers[std::size_t(which)] % int(below);
    }
    bool oneIn(int which, int n) const { return number(which, std::size_t(n)) == n - 1; }
    double frames(int which, std::size_t below) const
    {
        return number(which, below) * track_.resolution;
    }

    const Edit& edit_;
    const ModelTrack& track_;
};

/// What an edit answers and what it throws.
template <class Call>
std::pair<std::string, std::string> outcomeOf(const Call& call)
{
    try {
        return {call(), ""};
    } catch (const std::out_of_range&) {
        throw;
    } catch (const std::exception& fault) {
        return {"", fault.what()};
    }
}

/// What differs between an event and one of a model, its identifier left aside; nothing if they
/// agree but for roundings.
std::string difference(const ChannelEvent& event, const ModelEvent& expected);

/// Both sides of a sequence: the tracks, of which one is edited in one splice and one step by step,
/// their models, and the script of what was done.
class Session
{
public:
    void run(const Edit& edit);

    const Kt::Ptr<Cel>& first() const { return tracks_[0]; }
    const Kt::Ptr<Cel>& second() const { return tracks_[1]; }

    std::string script;

private:
    void clear(int which);
    void compare(int which);
    bool sameId(const IdStamp& id, const IdStamp& expected);
    [[noreturn]] void wrong(const std::string& what, int which) const;

    /// The second track's frames are never half way between the first one's.
    static constexpr double kFrames[] = {0.04, 1 / 23.99};
    Kt::Ptr<Cel> tracks_[2] = {Kt::Ptr<Cel>(new Cel(0, kFrames[0])),
                               Kt::Ptr<Cel>(new Stepwise(*Kt::Ptr<Cel>(new Cel(0, kFrames[1]))))};
    ModelTrack models_[2] = {ModelTrack(kFrames[0]), ModelTrack(kFrames[1])};
    std::map<IdStamp, IdStamp> ids_; ///< of the models, and what they are on the tracks
    std::set<IdStamp> seen_;
};

} // namespace cel::test
