#include "cel/audit.h"
#include "tests/support/edit_notation.h"
#include "tests/support/log_capture.h"
#include "tests/support/table.h"
#include "tests/support/thrown.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <string_view>

// Edits as a table, tests/data/tables/edits.txt: what they are called, the track before, the edits,
// the track after, what they answer, and what is logged or thrown on the way.
namespace cel::test {
namespace {

/// A track of a derived class, whose edits go step by step.
class Stepwise : public Cel
{
public:
    explicit Stepwise(const Cel& other)
        : Cel(other)
    {
    }
};

/// A saved track of a notation; with room, whatever comes in moves events where they are.
Kt::Ptr<Cel> trackOf(std::string_view notation, bool stepwise, bool roomy)
{
    Kt::Ptr<Cel> result = track(notation);
    if (stepwise)
        result = Kt::Ptr<Cel>(new Stepwise(*result));
    if (roomy) {
        result->clear();
        fill(*result, std::string("A<0 A>1 A<1 A>2 A<2 A>3 A<3 A>4 ") + std::string(notation));
        result->removeEventPairs(0, 4, false);
    }
    result->make_clean();
    return result;
}

/// Whether a track knows of its events what they are.
void expectTrueState(const Cel& track)
{
    for (const Finding& finding : audit(track)) {
        const std::string_view invariant = finding.invariant;
        EXPECT_TRUE(invariant != "pending" && !invariant.ends_with("-count")) << finding.text;
    }
}

void expectRow(const TableRow& row, bool stepwise, bool roomy)
{
    SCOPED_TRACE(testing::Message() << row.place << ", " << row[0] << (stepwise ? ", stepwise" : "")
                                    << (roomy ? ", with room" : ""));
    const LogCapture log;
    Kt::Ptr<Cel> edited = trackOf(row[1], stepwise, roomy);
    std::string answers;
    bool asksForState = false;
    const std::string thrown = thrownBy([&] {
        for (const EditLine& edit : editLines(row[2])) {
            const std::string answer = run(edit, edited);
            answers += (answers.empty() || answer.empty() ? "" : ", ") + answer;
            asksForState |= edit.name == "counters" || edit.name == "open";
        }
    });
    EXPECT_EQ(describe(*edited), row[3]);
    EXPECT_EQ(answers, row[4]);
    EXPECT_EQ(log.text() + thrown, row[5]);
    if (!asksForState)
        expectTrueState(*edited);
}

TEST(Edits, ComeOutAsTheTableSays)
{
    for (const TableRow& row : table("edits"))
        for (const bool stepwise : {false, true})
            for (const bool roomy : {false, true})
                expectRow(row, stepwise, roomy);
}

} // namespace
} // namespace cel::test
