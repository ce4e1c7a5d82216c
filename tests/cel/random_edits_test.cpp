#include "cel/plays_same.h"
#include "platform/support/PStream.h"
#include "platform/support/TextFile.h"
#include "tests/cel/edit_session.h"
#include "tests/support/log_capture.h"
#include "tests/support/track_notation.h"

#include <algorithm>
#include <cstdlib>
#include <rapidcheck/gtest.h>

namespace cel::test {
namespace {

/// How many sequences: 20,000 unless the environment or a slow build says otherwise.
int sequences()
{
    const char* wanted = std::getenv("CEL_RANDOM_SEQUENCES");
    return wanted ? std::atoi(wanted) : CEL_SEQUENCES;
}

using Sequence = std::vector<Edit>;

/// Whether a test of random edits holds for so many sequences; complains if not.
template <class Test>
void forRandomEdits(int count, int length, const Test& test)
{
    const LogCapture quiet;
    const auto one = rc::gen::build<Edit>(
        rc::gen::set(&Edit::operation, rc::gen::inRange(0, kOperationCount)),
        rc::gen::set(&Edit::target, rc::gen::inRange(0, 2)),
        rc::gen::set(&Edit::source, rc::gen::inRange(0, 3)),
        rc::gen::set(&Edit::times,
                     rc::gen::container<std::array<int, 3>>(rc::gen::inRange(0, 1500))),
        rc::gen::set(&Edit::numbers,
                     rc::gen::container<std::array<int, 4>>(rc::gen::inRange(0, 5000))));
    const auto edits =
        rc::gen::shrink(rc::gen::container<Sequence>(std::size_t(length), one),
                        [](const Sequence& all) { return rc::shrink::removeChunks(all); });
    rc::detail::TestParams params = rc::detail::configuration().testParams;
    params.maxSuccess = count;
    if (!std::getenv("RC_PARAMS")) // others: "seed=7"
        params.seed = 1;
    const auto result =
        rc::detail::checkTestable([&] { test(*edits); }, rc::detail::TestMetadata{}, params);
    std::ostringstream report;
    rc::detail::printResultMessage(result, report);
    EXPECT_TRUE(result.template is<rc::detail::SuccessResult>()) << report.str();
}

TEST(RandomEdits, ComeOutAsTheModelSays)
{
    forRandomEdits(sequences(), 50, [](const Sequence& edits) {
        Session session;
        for (const Edit& edit : edits)
            session.run(edit);
    });
}

// ---- tracks that nobody meant -----------------------------------------------------------------

/// What a file or a caller may leave behind: times out of order, events that do not pair up, and a
/// section that is still open.
void damage(Cel& track, const Edit& edit)
{
    const auto [a, b, c, d] = edit.numbers;
    if (d % 3 == 0)
        track.addEvent(ChannelEvent(a % 300 * 0.04, 5, material('A'), 1.0F, ce_info(1 << b % 3),
                                    IdStamp(0, 0, 0), 0));
    else if (d % 3 == 1 && track.numEvents() > 0)
        track.getChanEventPtr(a % track.numEvents())->info(ce_info(1 << b % 4));
    else if (track.numEvents() > 0)
        track.getChanEventPtr(a % track.numEvents())->edit_time(c % 350 * 0.04 - 2);
}

/// What an edit of a track answers, logs and throws.
std::string resultOf(const EditLine& edit, Kt::Ptr<Cel>& edited, const Kt::Ptr<Cel>& other)
{
    const LogCapture log;
    const auto [answer, fault] = outcomeOf([&] { return run(edit, edited, other); });
    return answer + log.text() + fault;
}

/// What differs between two tracks; identifiers that stood there before count as what they are, all
/// others as fresh.
std::string difference(const Cel& a, const Cel& b)
{
    if (a.numEvents() != b.numEvents() || counters(a) != counters(b))
        return counters(a) + " against " + counters(b);
    const auto known = [](const IdStamp& id) { return id.word(0) > 0xFF ? IdStamp(0, 0, 0) : id; };
    for (int i = 0; i < a.numEvents(); ++i) {
        std::string field = difference(a.get_event(i), ModelEvent(b.get_event(i)));
        if (known(a.get_event(i).editGraph()) != known(b.get_event(i).editGraph()))
            field = "identifier";
        if (!field.empty())
            return field + " of event " + std::to_string(i);
    }
    return "";
}

TEST(RandomEdits, ComeOutTheSameInOneSpliceAndStepByStepWhateverTheTrack)
{
    forRandomEdits(sequences() / 4, 8, [](const Sequence& edits) {
        Session session;
        for (const Edit& edit : edits)
            session.run(edit);
        Kt::Ptr<Cel> atOnce(new Cel(*session.first()));
        for (std::size_t i = 0; i < edits.size() / 2; ++i)
            damage(*atOnce, edits[i]);
        Kt::Ptr<Cel> stepwise(new Stepwise(*atOnce));
        for (const Edit& edit : edits) {
            const std::string before = describe(*atOnce);
            const ModelTrack model(*atOnce);
            const std::string words = Wording(edit, model).text();
            const EditLine line(words);
            const std::string result = resultOf(line, atOnce, session.second());
            const std::string inSteps = resultOf(line, stepwise, session.second());
            const std::string apart = difference(*atOnce, *stepwise);
            if (result != inSteps || !apart.empty())
                RC_FAIL(apart + ": " + result + describe(*atOnce) + " and " + inSteps +
                        describe(*stepwise) + " after " + words + " of " + before);
            stepwise = Kt::Ptr<Cel>(new Stepwise(*atOnce));
        }
    });
}

// ---- what edits promise -----------------------------------------------------------------------

Kt::Ptr<Cel> cloneOf(const Kt::Ptr<Cel>& track)
{
    return Kt::Ptr<Cel>(new Cel(*track));
}

/// Whether two tracks play the same but in a stretch, and for ramps.
bool differOnlyIn(const Cel& a, const Cel& b, double from = 1, double to = 0)
{
    const auto all = listDifferences(a, b);
    return std::all_of(all.begin(), all.end(), [&](const DifferingStretch& d) {
        return d.field == std::string_view("ramp") || (d.from >= from - 2e-6 && d.to <= to + 2e-6);
    });
}

double lengthOf(const Cel& track)
{
    return track.get_end_time() - track.get_start_time();
}

/// What a track is after it was stored and read.
Kt::Ptr<Cel> storedAndRead(const Cel& track)
{
    StreamFile file;
    PStream stream(file);
    track.STRM_hierarchyPack(stream);
    file.seek(0);
    const Kt::Ptr<Cel> read(new Cel(0, 1.0));
    read->STRM_hierarchyUnpack(stream);
    return read;
}

using Change = void (*)(ChannelEvent& in, ChannelEvent& out);
Kt::Ptr<Cel> changed(const Kt::Ptr<Cel>& track, Change change)
{
    const Kt::Ptr<Cel> result = cloneOf(track);
    for (int i = 0; i + 1 < result->numEvents(); i += 2)
        change(*result->getChanEventPtr(i), *result->getChanEventPtr(i + 1));
    return result;
}

void unsetSpeed(ChannelEvent& in, ChannelEvent& out)
{
    in.velocity(kUnsetVelocity);
    out.velocity(kUnsetVelocity);
}

/// Needless cuts are told without a look at these.
void clearFlags(ChannelEvent& in, ChannelEvent& out)
{
    for (ChannelEvent* e : {&in, &out}) {
        e->setActive(true);
        e->varispeed_display_modifier(0);
    }
}

/// What a text list keeps.
void makePlain(ChannelEvent& in, ChannelEvent& out)
{
    clearFlags(in, out);
    for (ChannelEvent* e : {&in, &out}) {
        e->level_sc(std::round(e->level_sc() * 4) / 4);
        e->velocity(1);
        e->audioRampWord(0);
    }
    out.strip_time(in.strip_time() + (out.edit_time() - in.edit_time()));
}

void makeVersionOne(ChannelEvent& in, ChannelEvent& out)
{
    for (ChannelEvent* e : {&in, &out}) {
        Cookie material = e->strip_name();
        material.setVersion(1);
        e->strip_name(material);
    }
}

/// What a pair record keeps.
void makePair(ChannelEvent& in, ChannelEvent& out)
{
    makeVersionOne(in, out);
    out.level_sc(in.level_sc());
    out.velocity(in.velocity());
    out.varispeed_display_modifier(in.varispeed_display_modifier());
    out.setActive(in.isActive());
    out.strip_name(in.strip_name());
    in.set_trim(trim_none);
    out.set_trim(trim_none);
}

/// The promises that a track breaks; `from` to `to` and `at` lie on its frames.
std::string brokenPromise(const Kt::Ptr<Cel>& track, double from, double to, double at,
                          double anyTime)
{
    const Kt::Ptr<Cel> after = cloneOf(track);
    after->makeCutAt(anyTime);
    if (!differOnlyIn(*track, *after))
        return "a cut changes nothing that plays";
    const Kt::Ptr<Cel> unflagged = changed(track, clearFlags);
    *after = *unflagged;
    after->simplifyBlack(Editable::invalidRange());
    after->simplifyMatchFrameCuts(Editable::invalidRange());
    if (!differOnlyIn(*unflagged, *after) || after->canSimplifyBlack())
        return "what is simplified plays the same";

    const Cel::Range range(from, to);
    *after = *track;
    after->remove(range);
    if (!(std::fabs(lengthOf(*track) - lengthOf(*after) - range.length()) <= 1e-9) &&
        after->numEvents() > 0)
        return "a stretch that is removed makes the track as much shorter";
    after->insert(nullptr, range, from, {});
    if (!differOnlyIn(*track, *after, from, to))
        return "outside of what is removed and filled nothing plays differently";
    *after = *track;
    after->insert(track.get(), range, at, {});
    if (!(std::fabs(lengthOf(*after) - lengthOf(*track) - range.length()) <= 1e-9))
        return "an insertion makes the track as much longer";
    after->remove({at, at + range.length()});
    if (!differOnlyIn(*track, *after))
        return "an insertion that is removed leaves no trace";

    const Kt::Ptr<Cel> forward = track->copy();
    const Kt::Ptr<Cel> backward = changed(forward, unsetSpeed)->reverse();
    if (!playsSame(*forward, *changed(backward, unsetSpeed)->reverse()))
        return "reversed twice, speeds unset, it plays as before";

    const Kt::Ptr<Cel> flat = storedAndRead(*track);
    if (track->numEvents() > 2 && describe(*flat) != describe(*track))
        return "flat records keep all";
    if (track->numEvents() > 2 && describe(*storedAndRead(*changed(track, makeVersionOne))) !=
                                      describe(*changed(track, makePair)))
        return "pair records keep all but what the out point has of its own";
    if (track->numEvents() <= 2 && !playsSame(*flat, *forward))
        return "single events keep what is admitted";
    TextFile file;
    const Kt::Ptr<Cel> plain = changed(track, makePlain);
    plain->writeToED2(file, Kt::Ed2Support::kPal);
    const Kt::Ptr<Cel> listed(new Cel(0, 1.0));
    if (!listed->buildFrom(file, 0) || !playsSame(*plain, *listed))
        return "a text list keeps material, times and levels";
    return "";
}

TEST(RandomEdits, KeepTheirPromises)
{
    forRandomEdits(sequences() / 4, 12, [](const Sequence& edits) {
        Session session;
        for (const Edit& edit : edits)
            session.run(edit);
        Kt::Ptr<Cel> track = cloneOf(session.first());
        track->simplifyTidy(Editable::invalidRange());
        track->set_resolution(0.04);
        track->quantiseInPlace();
        track->slide(-track->get_start_time());
        track = track->copy(); // with every section on its line
        const auto hasChanges = [](const ChannelEvent& e) { return e.info() == level_change; };
        if (track->numEvents() == 0 ||
            std::any_of(track->events().begin(), track->events().end(), hasChanges))
            return;
        const Edit last = edits.empty() ? Edit{} : edits.back();
        const ModelTrack model(*track);
        const Wording words(last, model);
        const auto onTrack = [&](int which) {
            const double t = quantiseTime(words.time(which), 0.04);
            return t >= 0 && t <= track->get_end_time() ? t : 0.0;
        };
        const double a = onTrack(0), b = onTrack(1);
        const std::string broken =
            brokenPromise(track, std::min(a, b), std::max(a, b), onTrack(2), words.time(2));
        if (!broken.empty())
            RC_FAIL(broken + ": " + numberText(a) + " " + numberText(b) + " " +
                    numberText(onTrack(2)) + " after\n" + session.script + describe(*track));
    });
}

} // namespace
} // namespace cel::test
