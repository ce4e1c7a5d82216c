#include "platform/image/FontDefinition.h"
#include "platform/support/JSON.h"
#include "platform/support/TextFile.h"
#include "platform/support/utf8.h"
#include "tests/support/german_locale.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <clocale>
#include <limits>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace cel::test {
namespace {

using namespace std::string_literals;

/// A parsed value as text: its own, or {key:value,...} for what has members.
std::string shown(const Kt::Ptr<JSON::Element>& element)
{
    if (!element)
        return "none";
    if (element->getNumChildren() == 0)
        return std::string(element->getString().view());
    std::string text = "{";
    for (std::size_t i = 0; const auto child = element->getChild(i); ++i)
        text += shown(child) + ",";
    return text + "}";
}

TEST(Json, ReadsWhatIsJsonAndNothingElse)
{
    for (const TableRow& c : table("json", "read"))
        EXPECT_EQ(shown(JSON::parse(c[1])), c[2]) << c.place;
}

TEST(Json, FindsMembersByKeyAndByPlace)
{
    const auto element = JSON::parse(R"({"a": "1", "b": {"a": 2}, "a": "3", "": "x"})");
    EXPECT_EQ(element->getString("a"), "1") << "the first of one name";
    EXPECT_EQ(element->getString(""), "x");
    EXPECT_EQ(element->getWString("a"), L"1");
    EXPECT_EQ(element->getString("b"), "");
    EXPECT_FALSE(element->getChild("c") || element->getChild(4) ||
                 element->getChild(0)->getChild(0));
    EXPECT_FALSE(element->getChild("a")->getChild("a"));
    EXPECT_EQ(element->getNumChildren(), 4);
}

TEST(Json, RefusesWhatIsTooDeepTooLongOrTooMuch)
{
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    const auto many = [](std::size_t count) {
        std::string text = "[0";
        for (std::size_t i = 1; i < count; ++i)
            text += ",0";
        return text + "]";
    };
    // On a stack that no recursion along the input would survive.
    std::thread([&] {
        EXPECT_TRUE(JSON::parse(nested(64)));
        EXPECT_FALSE(JSON::parse(nested(65)));
        EXPECT_FALSE(JSON::parse(nested(1'000'000)));
        EXPECT_FALSE(JSON::parse(std::string(1'000'000, '[')));
    }).join();
    EXPECT_EQ(JSON::parse(many(30'000))->getNumChildren(), 30'000);
    EXPECT_FALSE(JSON::parse(many(1'000'000))) << "a value for every two bytes";
    EXPECT_TRUE(JSON::parse("\"" + std::string(JSON::kLargestBytes - 2, 'x') + "\""));
    EXPECT_FALSE(JSON::parse("\"" + std::string(JSON::kLargestBytes - 1, 'x') + "\""));

    std::string members = "[";
    for (int i = 0; i < 70'000; ++i)
        members += "\"member\",";
    const auto element = JSON::parse(members + "\"last\"]");
    EXPECT_EQ(element->getNumChildren(), 65535);
    EXPECT_EQ(element->getChild(70'000)->getString(), "last");
}

TEST(Json, ReadsFilesAndNothingThatIsNone)
{
    const TemporaryFolder folder;
    const auto read = [&](std::string_view name) {
        return shown(JSON::parseFile(pathToWide(folder / name)));
    };
    putContent(folder / "good.json", "{\r\n\"a\": [1,\r\n2]}\r\n");
    EXPECT_EQ(read("good.json"), "{{1,2,},}");
    EXPECT_EQ(read("missing.json"), "none");
    EXPECT_EQ(read(""), "none") << "a folder";
}

TEST(Json, WritesMembersInTheirOrderAndAsFewLinesAsFit)
{
    JSON::Builder builder(2);
    builder.startChild();
    builder.add("z", L"\u00e9 \" \\ \n \xD800 x", true);
    builder.add("a", LightweightString<char>("a\0b\xFF"s), true);
    builder.startArray("bare");
    for (const char* text : {"1.50", "-2", "true", "null", "nothing", "[1]", "1 2", ""})
        builder.add({}, text, false);
    for (const float number : {0.2F, 1.0F, 1e30F, std::numeric_limits<float>::quiet_NaN()})
        builder.add({}, number);
    builder.endArray();
    builder.startArray("long");
    for (int i = 0; i < 3; ++i)
        builder.add({}, std::string(50, 'x'), true);
    builder.endArray();
    builder.startChild("empty");
    EXPECT_EQ(std::string(builder.getOutput().view()) + "\n",
              contentOf(CEL_TEST_DATA "/written.json"));
    builder.endChild();
    builder.endChild();
    builder.endChild(); // one too many
    TextFile file;
    builder.printTo(file, 3, 1);
    EXPECT_EQ(file[0], "   {");
    EXPECT_EQ(
        file[3],
        "      \"bare\": [1.5,-2,true,null,\"nothing\",\"[1]\",\"1 2\",\"\",0.2,1,1e+30,null],");
    EXPECT_EQ(file[file.numLines() - 1], "   }");
}

TEST(Json, IsTheSameInEveryLocale)
{
    const std::string former = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, kGermanLocale))
        GTEST_SKIP() << "the locale de_DE.UTF-8 is not installed";
    JSON::Builder builder(2);
    builder.startArray();
    builder.add({}, 0.5F);
    builder.endArray();
    const auto written = builder.getOutput();
    const auto read = shown(JSON::parse("[0.25, 1.5e-3]"));
    std::setlocale(LC_ALL, former.c_str());
    EXPECT_EQ(written, "[0.5]");
    EXPECT_EQ(read, "{0.25,1.5e-3,}");
}

TEST(FontDefinition, TakesOverWhatItUnderstands)
{
    for (const TableRow& c : table("json", "font")) {
        SCOPED_TRACE(c.place);
        FontDefinition font;
        font.faceName = L"Old";
        EXPECT_EQ(font.read(JSON::parse(c[1])), c[2] == "whole");
        JSON::Builder builder(0);
        builder.startChild();
        font.write(builder);
        builder.endChild();
        EXPECT_EQ(builder.getOutput(), c[3].c_str());
    }
}

} // namespace
} // namespace cel::test
