#include "interchange/subtitle_text.h"
#include "tests/interchange/cut_text.h"

#include <gtest/gtest.h>

namespace cel::test {
namespace {

using std::string_literals::operator""s;

TEST(SubtitleText, IsReadInEveryEncodingThatIsInUse)
{
    // clang-format off
    struct Case { const char* name; std::string bytes; const char* text; const char* encoding; const char* losses; };
    const Case cases[] = {
        {"nothing",                 "",                                   "",          "UTF-8",        ""},
        {"UTF-8",                   "1\n\xC3\xA9\xE6\x97\xA5",            "1\né日",    "UTF-8",        ""},
        {"UTF-8, marked",           "\xEF\xBB\xBF" "1\xF0\x9F\x90\x9F",   "1🐟",       "UTF-8",        ""},
        {"UTF-16, marked, little",  "\xFF\xFE" "1\0\xE9\0\x3D\xD8\x1F\xDC"s, "1é🐟",   "UTF-16 LE",    ""},
        {"UTF-16, marked, big",     "\xFE\xFF" "\0001\0\xE9\xD8\x3D\xDC\x1F"s, "1é🐟", "UTF-16 BE",    ""},
        {"UTF-16, unmarked, little", "1\0\r\0\n\0\x14\x04"s,              "1\nД",      "UTF-16 LE",    ""},
        {"UTF-16, unmarked, big",   "\0001\0\n\x04\x14"s,                 "1\nД",      "UTF-16 BE",    ""},
        {"a lone high surrogate",   "\xFF\xFE" "1\0\x3D\xD8" "2\0"s,      "1\uFFFD2",  "UTF-16 LE",    "0 text"},
        {"a lone low surrogate",    "\xFE\xFF" "\0001\xDC\x1F"s,          "1\uFFFD",   "UTF-16 BE",    "0 text"},
        {"half a character",        "\xFF\xFE" "1\0" "2"s,                "1",         "UTF-16 LE",    "0 text"},
        {"Windows",                 "1 caf\xE9 \x93quoted\x94",           "1 café “quoted”", "Windows-1252", "0 text"},
        {"damaged UTF-8",           "1\xC3\xA9\xC3\xA9\xFF",              "1éé\uFFFD", "UTF-8",        "0 text"},
        {"surrogates in UTF-8",     "\xC3\xA9\xC3\xA9\xC3\xA9\xED\xA0\x80", "ééé\uFFFD\uFFFD\uFFFD", "UTF-8", "0 text"},
        {"NUL",                     "1\n2\n3\n4\0"s,                      "1\n2\n3\n4\uFFFD", "UTF-8", "0 text"},
        {"controls",                "a\x1B[31m\x7F\xC2\x9B\tb",           "a [31m  \tb", "UTF-8",      "0 text"},
        {"line ends",               "a\rb\r\nc\n\rd",                     "a\nb\nc\n\nd", "UTF-8",     ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const DecodedText decoded = decodeSubtitles(c.bytes);
        EXPECT_EQ(decoded.text, c.text);
        EXPECT_EQ(decoded.encoding, c.encoding);
        EXPECT_EQ(kindsOf(lossesOfDecoding(decoded)), c.losses);
    }
}

} // namespace
} // namespace cel::test
