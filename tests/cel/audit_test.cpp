#include "cel/audit.h"
#include "tests/support/edit_notation.h"
#include "tests/support/table.h"
#include "tests/support/track_notation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <sstream>

namespace cel::test {
namespace {

/// "fault gap 2 4.5, note off-grid 3 6.01": severity, invariant, event and time of each finding.
std::string describeAll(const std::vector<Finding>& findings)
{
    std::ostringstream text;
    for (const Finding& finding : findings)
        text << (text.tellp() > 0 ? ", " : "") << describe(finding.severity) << ' '
             << finding.invariant << ' ' << finding.index << ' ' << finding.time;
    return text.str();
}

TEST(Audit, FindsEachDamageAtItsEventAndNothingElse)
{
    std::set<std::string> seen;
    for (const TableRow& row : table("audit", "damaged")) {
        SCOPED_TRACE(row.place + ", " + row[0]);
        Kt::Ptr<Cel> damaged = track(row[1]);
        for (const EditLine& edit : editLines(row[2]))
            run(edit, damaged);
        const std::vector<Finding> findings = audit(*damaged);
        EXPECT_EQ(describeAll(findings), row[3]);
        for (const Finding& finding : findings) {
            EXPECT_FALSE(finding.text.empty());
            seen.insert(finding.invariant);
        }
    }
    for (const InvariantInfo& known : auditedInvariants())
        EXPECT_EQ(seen.count(known.name), 1U) << known.name << " has no damaged track";
}

TEST(Audit, HasNothingToSayAboutSoundTracks)
{
    for (const TableRow& row : table("audit", "sound"))
        EXPECT_EQ(describeAll(audit(*track(row[1]))), "") << row.place << ", " << row[0];
}

TEST(Audit, SurvivesEventsOfRandomBytes)
{
    std::mt19937_64 random(20240229);
    for (int round = 0; round < 2000; ++round) {
        const Kt::Ptr<Cel> damaged = track("A0-4@100 B4-6@20 .6-8 A8-10@104");
        for (int i = 0; i < damaged->numEvents(); ++i) {
            unsigned char bytes[sizeof(ChannelEvent)];
            std::memcpy(bytes, damaged->getChanEventPtr(i), sizeof bytes);
            for (unsigned char& byte : bytes)
                if (random() % 4 == 0)
                    byte = static_cast<unsigned char>(random());
            std::memcpy(static_cast<void*>(damaged->getChanEventPtr(i)), bytes, sizeof bytes);
        }
        const std::vector<Finding> findings = audit(*damaged);
        EXPECT_FALSE(findings.empty());
        EXPECT_TRUE(std::is_sorted(findings.begin(), findings.end(),
                                   [](const auto& a, const auto& b) { return a.index < b.index; }));
    }
}

} // namespace
} // namespace cel::test
