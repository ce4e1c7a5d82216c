#include "cel/Cel.h"
#include "platform/support/TextFile.h"
#include "tests/support/german_locale.h"
#include "tests/support/track_notation.h"

#include <clocale>
#include <gtest/gtest.h>

// What a script cannot do to text lists; the rest is in tests/replay: text_lists, text_lists_read
// and text_lists_broken.
namespace cel::test {
namespace {

TEST(TextLists, MayBeginBeyondSixteenBits)
{
    TextFile file;
    for (int i = 0; i < 65535; ++i)
        file.appendLine("");
    for (const char* line :
         {"CEL_REVISION 1", "FRAME_RESOLUTION 0.04", "5 86:66:2:9:0 in 1", "7 x out"})
        file.appendLine(line);
    const Kt::Ptr<Cel> cel(new Cel(0, 0.5));
    EXPECT_TRUE(cel->buildFrom(file, 65535));
    EXPECT_EQ(describe(*cel), "B0-2@1");
}

class TextListsInGermany : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!std::setlocale(LC_ALL, kGermanLocale))
            GTEST_SKIP() << "the locale de_DE.UTF-8 is missing; scripts/setup makes it";
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(TextListsInGermany, HavePointsNotCommas)
{
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    TextFile file;
    track("A0.5-4.25@10.125:0.5>0.25 .4.25-6 B6-8.5@0.1*0.5")
        ->writeToED2(file, Kt::Ed2Support::kPal);
    for (std::size_t i = 0; i < file.numLines(); ++i)
        EXPECT_EQ(file[i].view().find(','), std::string_view::npos) << file[i].c_str();
    const Kt::Ptr<Cel> back(new Cel(0, 1.0));
    EXPECT_TRUE(back->buildFrom(file, 0));
    EXPECT_EQ(describe(*back), "A0-3.75@10.125:0.5>0.25 .3.75-5.5 B5.5-8@0.1>2.6*0.5>1");
    EXPECT_EQ(back->get_resolution(), 0.04);
}

} // namespace
} // namespace cel::test
