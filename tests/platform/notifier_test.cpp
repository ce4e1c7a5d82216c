#include "platform/os/default_font.h"
#include "platform/support/Notifier.h"
#include "platform/support/TextSearch.h"
#include "platform/support/set_aside.h"
#include "platform/support/utf8.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace cel::test {
namespace {

TEST(Notifier, TellsThoseWhoAreRegisteredWhenTheirTurnComes)
{
    std::optional<Notifier> notifier(std::in_place);
    const NotifyMsgType type = NotifyMsgTypeDictionary::instance().type("test");
    EXPECT_EQ(NotifyMsgTypeDictionary::instance().type("test"), type);
    const NotifyMsgType other = NotifyMsgTypeDictionary::instance().type("other");
    std::string told;
    const auto listener = [&told](const char* name) {
        return makeListener([&told, name](const NotifyMsg&) { told += name; });
    };
    Kt::Ptr<Kt::Guard> added;
    Kt::Ptr<Kt::Guard> third;
    const auto first = notifier->addListener(listener("a"), type);
    const auto busy = notifier->addListener(makeListener([&](const NotifyMsg&) {
                                                third.reset();
                                                if (!added)
                                                    added =
                                                        notifier->addListener(listener("d"), type);
                                            }),
                                            type);
    third = notifier->addListener(listener("c"), type);
    const auto deaf = notifier->addListener(listener("x"), other);
    notifier->addListener(listener("y"), type); // dropped at once

    const NotifyMsg message(type, nullptr);
    notifier->issue(message, type);
    EXPECT_EQ(told, "a") << "one left and one came while the message went round";
    notifier->issue(message, type);
    EXPECT_EQ(told, "aad");

    Notifier copy(*notifier);
    const auto last =
        notifier->addListener(makeListener([&](const NotifyMsg&) { notifier.reset(); }), type);
    added.reset();
    copy.issue(message, type);
    EXPECT_EQ(told, "aada") << "a guard counts for the copy too";
    notifier->issue(message, type);
    EXPECT_FALSE(notifier.has_value());
    copy.issue(message, type);
    EXPECT_EQ(told, "aadaada");
}

TEST(TextSearch, FindsWordsInAnyCaseOfAnyScript)
{
    const auto found = [](const std::wstring& line, const std::wstring& text) {
        return TextSearch::match(line.c_str(), TextSearch::Criteria(text.c_str()), 0);
    };
    for (const TableRow& c : table("platform", "search"))
        EXPECT_EQ(found(toWide(c[0]), toWide(c[1])), c[2] == "found") << c.place;
    EXPECT_FALSE(found(L"\xD800", L"\xD801"));
}

TEST(SetAside, KeepsEveryFileUnderANameOfItsOwn)
{
    const TemporaryFolder folder;
    const auto file = folder / "styles.json";
    EXPECT_TRUE(setAside(file)) << "nothing is in the way";
    for (const char* content : {"one", "two", "three"}) {
        putContent(file, content);
        EXPECT_TRUE(setAside(file));
        EXPECT_FALSE(std::filesystem::exists(file));
    }
    EXPECT_EQ(contentOf(folder / "styles.json.unread"), "one");
    EXPECT_EQ(contentOf(folder / "styles.json.unread-2"), "two");
    EXPECT_EQ(contentOf(folder / "styles.json.unread-3"), "three");
}

TEST(DefaultFont, HasAName)
{
    EXPECT_FALSE(defaultFontName().empty());
}

} // namespace
} // namespace cel::test
