#include "cel/plays_same.h"

#include "tests/support/table.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace cel::test {
namespace {

TEST(PlaysSame, LooksAtWhatPlaysAndNotAtHowItIsCut)
{
    for (const TableRow& row : table("plays_same", "same")) {
        SCOPED_TRACE(row.place + ", " + row[0]);
        const Kt::Ptr<Cel> a = track(row[1]);
        const Kt::Ptr<Cel> b = track(row[2]);
        const auto difference = explainDifference(*a, *b);
        const auto turned = explainDifference(*b, *a);
        EXPECT_EQ(playsSame(*a, *b), row[3].empty());
        EXPECT_EQ(difference ? difference->field : "", row[3]);
        EXPECT_EQ(turned ? turned->field : "", row[3]);
        if (difference) {
            EXPECT_NEAR(difference->time, row.number(4), 2e-6);
        }
    }
}

TEST(PlaysSame, ListsEveryStretchThatDiffersFromItsFirstMomentToItsLast)
{
    for (const TableRow& row : table("plays_same", "stretches")) {
        SCOPED_TRACE(row.place + ", " + row[0]);
        const Kt::Ptr<Cel> a = track(row[1]);
        const Kt::Ptr<Cel> b = track(row[2]);
        const std::vector<DifferingStretch> all = listDifferences(*a, *b);
        std::ostringstream found;
        for (const DifferingStretch& stretch : all)
            found << (found.tellp() > 0 ? ", " : "") << std::round(stretch.from * 1000) / 1000
                  << '-' << std::round(stretch.to * 1000) / 1000 << ' ' << stretch.field;
        EXPECT_EQ(found.str(), row[3]);

        const auto earliest = explainDifference(*a, *b);
        ASSERT_EQ(earliest.has_value(), !all.empty());
        if (earliest) {
            EXPECT_EQ(earliest->time, all.front().from);
            EXPECT_EQ(earliest->text, all.front().text);
        }
    }
}

} // namespace
} // namespace cel::test
