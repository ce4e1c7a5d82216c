#include "platform/os/default_font.h"
#include "platform/support/prefs.h"
#include "platform/support/utf8.h"
#include "subtitles/SubtitleStyleManager.h"
#include "tests/support/temporary_folder.h"

#include <string>

#include <gtest/gtest.h>

namespace cel {

class SubtitleStyleFile
{
public:
    /// A registry that was just made from the file.
    static SubtitleStyleManager registry() { return SubtitleStyleManager(); }
};

namespace test {
namespace {

using Style = SubtitleStyle;

TEST(SubtitleStyle, NamesItsPlaces)
{
    const char* texts[] = {"", "LT", "LM", "LB", "L", "C", "B", "RT", "RM", "RB", ""};
    for (unsigned value = 0; value < std::size(texts); ++value) {
        const auto position = static_cast<Style::ePosition>(value);
        EXPECT_EQ(Style::asString(position), texts[value]);
        if (texts[value][0] != '\0') {
            EXPECT_EQ(Style::posFromString(texts[value]), position);
        }
    }
    EXPECT_EQ(Style::asString(static_cast<Style::ePosition>(0xFFFFFFFF)), "");
    for (const char* text : {"", "T", "lt", " LT", "LT ", "LTX", "6"})
        EXPECT_EQ(Style::posFromString(text), Style::kCentreBottom) << text;
    EXPECT_EQ(Style().pos, Style::kCentreBottom);
}

Style style(const char* id, const wchar_t* name = L"")
{
    Style made;
    made.id = id;
    made.name = name;
    return made;
}

FontDefinition fontOf(const LightweightString<wchar_t>& face, float size)
{
    return {face, size, {0.0F, 0.0F, 0.0F, 0.2F}, {1.0F, 1.0F, 1.0F, 1.0F}};
}

TEST(SubtitleStyle, IsWhatItsIdentifierSays)
{
    EXPECT_FALSE(style("").valid());
    for (const char* id : {"KT", "KT1", "K", "kt1", "xKT"}) {
        EXPECT_TRUE(style(id).valid()) << id;
        EXPECT_EQ(style(id).isInternal(), std::string_view(id).starts_with("KT")) << id;
    }
    EXPECT_FALSE(style("").isInternal());
    EXPECT_EQ(style("a", L"One"), style("a", L"Other"));
    EXPECT_EQ(style(""), Style());
    EXPECT_FALSE(style("a") == style("A"));
}

std::string written(const Style& style)
{
    JSON::Builder builder(2);
    builder.startChild();
    style.write(builder);
    builder.endChild();
    return std::string(builder.getOutput().view());
}

TEST(SubtitleStyle, ReadsBackWhatItWrites)
{
    Style made = style("s1", L"Überschrift \"1\"");
    made.pos = Style::kCentreTop;
    made.font = fontOf(L"Sans", 0.5F);
    const std::string text = written(made);
    EXPECT_EQ(text, R"({
  "name": "Überschrift \"1\"",
  "id": "s1",
  "pos": "L",
  "font": {"face":"Sans","size":0.5,"background":[0,0,0,0.2],"foreground":[1,1,1,1]}
})");
    Style read = style("other");
    EXPECT_TRUE(read.read(JSON::parse(text)));
    EXPECT_EQ(written(read), text);
    EXPECT_EQ(made.refCount(), 0) << "held by nobody, like its copies";
    const Kt::Ptr<Style> held(new Style(read));
    EXPECT_EQ(Style(*held).refCount(), 0);
}

TEST(SubtitleStyle, TakesOverWhatIsThereAlsoWithoutAnIdentifier)
{
    Style read = style("old", L"Old");
    EXPECT_FALSE(read.read(nullptr));
    EXPECT_EQ(read.name, L"Old");
    EXPECT_FALSE(read.read(JSON::parse(R"({"name": "New", "pos": 5, "font": {"face": "Sans"}})")));
    EXPECT_EQ(read.name, L"New");
    EXPECT_EQ(read.font.faceName, L"Sans");
    EXPECT_EQ(read.pos, Style::kCentreBottom);
    EXPECT_FALSE(read.valid());
    EXPECT_FALSE(read.read(JSON::parse("[1, 2]")));
    EXPECT_TRUE(read.read(JSON::parse(R"({"id": 7, "pos": "RT"})")));
    EXPECT_EQ(read.id, "7");
    EXPECT_EQ(read.name, L"");

    read.pos = Style::kNoPosition;
    EXPECT_TRUE(read.read(JSON::parse(written(read))));
    EXPECT_EQ(read.pos, Style::kCentreBottom) << "no place has no text";
}

/// Registries that begin with a folder of their own.
class SubtitleStyles : public testing::Test
{
protected:
    std::filesystem::path file() const { return folder_ / "SubtitleStyles.json"; }
    std::string content() const { return contentOf(file()); }

    static std::string ids(const SubtitleStyleManager& registry)
    {
        std::string text;
        for (const Style& each : registry.getStyles())
            text += std::string(each.id.view()) + " ";
        return text;
    }

    /// The registry, and a text to which each of its messages adds a word.
    struct Watched
    {
        SubtitleStyleManager registry = SubtitleStyleFile::registry();
        std::string told;
        Kt::Ptr<Kt::Guard> guard =
            registry.addListener(makeListener([this](const NotifyMsg& message) {
                const auto event = Kt::dynamicCast<SubtitleStyleManager::Event>(message.payload());
                told += std::to_string(event->type) + std::string(event->style.id.view()) + " ";
            }));
    };

    TemporaryFolder folder_;
    EnvironmentVariable variable_{"CEL_CONFIG_DIR", folder_.path()};
};

TEST_F(SubtitleStyles, BeginWithTheDefaultOneInTheFontOfThePreference)
{
    // clang-format off
    struct Case { const char* preference; const wchar_t* face; float opacity; };
    const Case cases[] = {
        {R"({"face": "Serif", "size": 3, "background": [0, 0, 0, 1]})", L"Serif", 1.0F},
        {R"({"size": 3, "background": [0, 0, 0, 1]})", defaultFontName().c_str(), 0.2F},
        {"no font", defaultFontName().c_str(), 0.2F},
        {"", defaultFontName().c_str(), 0.2F},
    };
    // clang-format on
    for (const Case& c : cases) {
        prefs().setPreference("Subtitles : font", c.preference);
        const auto registry = SubtitleStyleFile::registry();
        ASSERT_EQ(ids(registry), "KT1 ");
        EXPECT_EQ(registry.getDefaultStyle().name, L"Default");
        EXPECT_EQ(registry.getDefaultStyle().pos, Style::kCentreBottom);
        FontDefinition expected = fontOf(c.face, 0.0F); // whatever size was read
        expected.background.alpha = c.opacity;
        EXPECT_EQ(registry.getDefaultFont(), expected);
    }
    EXPECT_FALSE(std::filesystem::exists(file())) << "nothing was changed yet";
}

TEST_F(SubtitleStyles, AreToldOfAndThenStoredOrTheOtherWayRound)
{
    Watched watched;
    auto& registry = watched.registry;
    std::string onFile;
    const auto observer = registry.addListener(makeListener([&](const NotifyMsg&) {
        onFile += content().find("\"a\"") == std::string::npos ? "without " : "with ";
    }));
    registry.addStyle(style("", L"ignored"));
    registry.removeStyle(style("missing"));
    EXPECT_EQ(watched.told + content(), "");

    registry.addStyle(style("a"));
    registry.addStyle(style("b"));
    registry.addStyle(style("a", L"Again"));
    EXPECT_EQ(ids(registry), "KT1 a b ");
    EXPECT_EQ(registry.getStyle("a").name, L"Again") << "in its place";
    registry.removeStyle(style("a"));
    EXPECT_EQ(ids(registry), "KT1 b ");
    EXPECT_EQ(watched.told, "0a 0b 2a 1a ");
    EXPECT_EQ(onFile, "without with with without ");

    // What a guard stood for ends with it.
    watched.guard.reset();
    registry.addStyle(style("c"));
    EXPECT_EQ(watched.told, "0a 0b 2a 1a ");
}

TEST_F(SubtitleStyles, GiveTheFirstOneForWhatIsUnknown)
{
    auto registry = SubtitleStyleFile::registry();
    registry.addStyle(style("a"));
    EXPECT_EQ(registry.getStyle("x").id, "KT1");
    registry.removeStyle(registry.getStyles().front());
    EXPECT_EQ(registry.getDefaultStyle().id, "a");
    EXPECT_EQ(registry.getStyle("x").id, "a");
    registry.removeStyle(registry.getStyles().front());
    EXPECT_EQ(ids(registry), "");
    EXPECT_EQ(registry.getStyle("x").id, "KT1") << "the built-in one, in no list";
}

TEST_F(SubtitleStyles, MayBePassedOutOfTheListAndChangedByListeners)
{
    Watched watched;
    auto& registry = watched.registry;
    registry.addStyle(style("a"));
    Kt::Ptr<Kt::Guard> meddler;
    meddler = registry.addListener(makeListener([&](const NotifyMsg& message) {
        const auto event = Kt::dynamicCast<SubtitleStyleManager::Event>(message.payload());
        if (event->style.id == "b") {
            meddler.reset();
            for (const char* id : {"c", "d", "e", "f"})
                registry.addStyle(style(id));
            registry.removeStyle(style("b"));
        }
    }));
    registry.addStyle(style("b"));
    EXPECT_EQ(ids(registry), "KT1 a c d e f ");
    EXPECT_EQ(content().find("\"b\""), std::string::npos);
    watched.told.clear();
    registry.removeStyle(registry.getStyles()[1]);
    registry.addStyle(registry.getStyles()[2]);
    EXPECT_EQ(watched.told, "1a 2d ");
    EXPECT_EQ(ids(registry), "KT1 c d e f ");
}

TEST_F(SubtitleStyles, AreStoredEvenWhenAListenerFails)
{
    auto registry = SubtitleStyleFile::registry();
    const auto guard = registry.addListener(
        makeListener([](const NotifyMsg&) { throw std::runtime_error("no"); }));
    EXPECT_THROW(registry.addStyle(style("a")), std::runtime_error);
    EXPECT_EQ(ids(SubtitleStyleFile::registry()), "KT1 a ");
}

TEST_F(SubtitleStyles, ComeBackFromTheirFile)
{
    auto registry = SubtitleStyleFile::registry();
    Style made = style("s1", L"Sign");
    made.pos = Style::kRightTop;
    made.font = fontOf(L"Sans", 0.5F);
    registry.addStyle(made);
    registry.removeStyle(style("KT1"));
    EXPECT_EQ(content(), "{\r\n"
                         "   \"styles\": [\r\n"
                         "      {\r\n"
                         "         \"name\": \"Sign\",\r\n"
                         "         \"id\": \"s1\",\r\n"
                         "         \"pos\": \"RT\",\r\n"
                         "         \"font\": {\"face\":\"Sans\",\"size\":0.5,"
                         "\"background\":[0,0,0,0.2],\"foreground\":[1,1,1,1]}\r\n"
                         "      }\r\n"
                         "   ]\r\n"
                         "}\r\n");
    const auto again = SubtitleStyleFile::registry();
    ASSERT_EQ(ids(again), "s1 ");
    EXPECT_EQ(written(again.getDefaultStyle()), written(made));

    // A list without any is not the same as no list, but gives the built-in one as well.
    registry.removeStyle(style("s1"));
    EXPECT_EQ(content(), "{\"styles\":[]}\r\n");
    EXPECT_EQ(ids(SubtitleStyleFile::registry()), "KT1 ");
}

TEST_F(SubtitleStyles, MergeWhatIsNewInAnotherFile)
{
    Watched watched;
    auto& registry = watched.registry;
    const auto other = folder_ / "other.json";
    const auto merge = [&](std::string_view text) {
        putContent(other, text);
        return registry.addStyles(pathToWide(other));
    };
    EXPECT_TRUE(merge(R"({"styles": [{"id": "a", "name": "1"}, {"id": "a", "name": "2"}, {"id": ""},
                          {"name": "x"}, 5, null, [], {"id": "KT1", "name": "3"}, {"id": "a\u0000"}]})"));
    EXPECT_EQ(ids(registry), std::string("KT1 a a\0 ", 9));
    EXPECT_EQ(registry.getStyle("a").name, L"1");
    EXPECT_EQ(registry.getStyle("KT1").name, L"Default");
    EXPECT_FALSE(merge(R"({"styles": [{"id": "a", "name": "2"}]})"));
    for (const char* text : {"", "{", "[]", R"({"styles": 5})", R"({"style": [{"id": "z"}]})"})
        EXPECT_FALSE(merge(text)) << text;
    EXPECT_FALSE(registry.addStyles(pathToWide(folder_ / "missing")));
    EXPECT_EQ(watched.told + content(), "") << "nobody is told, nothing is written";
}

TEST_F(SubtitleStyles, NeverLoseWhatTheirFileHeld)
{
    auto registry = SubtitleStyleFile::registry();
    registry.addStyle(style("a"));
    registry.addStyle(style("b"));
    const std::string whole = content();
    const auto aside = folder_ / "SubtitleStyles.json.unread";

    // Whatever happens to the file: after the next change every byte of it lies somewhere, unless
    // all it held was read.
    const auto damaged = [&](const std::string& text) {
        std::filesystem::remove(aside);
        putContent(file(), text);
        auto reader = SubtitleStyleFile::registry();
        EXPECT_EQ(content(), text) << "reading changes nothing";
        reader.addStyle(style("new"));
        return contentOf(aside) == text || ids(reader) == "KT1 a b new ";
    };
    EXPECT_TRUE(damaged(whole));
    EXPECT_FALSE(std::filesystem::exists(aside));
    for (std::size_t size = 0; size < whole.size(); size += 11)
        EXPECT_TRUE(damaged(whole.substr(0, size))) << size;
    for (std::size_t at = 0; at < whole.size(); at += 7) {
        std::string text = whole;
        text[at] = static_cast<char>(text[at] ^ 0x20);
        if (text.find("\"styles\"") == std::string::npos) {
            EXPECT_TRUE(damaged(text)) << at;
        }
    }
    EXPECT_TRUE(damaged(R"({"styles": [{"id": "a"}, {"id": "a", "name": "second"}]})"));
    EXPECT_TRUE(damaged("{}"));
}

TEST_F(SubtitleStyles, MayBeMoreThanTheirNumberTells)
{
    std::string text = "{\"styles\":[";
    for (int i = 0; i < 70'000; ++i)
        text += "{\"id\":\"s" + std::to_string(i) + "\"},";
    putContent(file(), text + "{\"id\":\"last\"}]}");
    const auto registry = SubtitleStyleFile::registry();
    EXPECT_EQ(registry.getStyles().size(), 70'001U);
    EXPECT_EQ(registry.getStyle("last").id, "last");
    EXPECT_EQ(&SubtitleStyleManager::instance(), &SubtitleStyleManager::instance());
}

} // namespace
} // namespace test
} // namespace cel
