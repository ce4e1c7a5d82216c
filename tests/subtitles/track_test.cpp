#include "interchange/cel_stream.h"
#include "platform/os/default_font.h"
#include "platform/support/PStream.h"
#include "platform/support/layers.h"
#include "platform/support/prefs.h"
#include "platform/support/utf8.h"
#include "subtitles/SubtitleCel.h"
#include "tests/subtitles/subtitle_text.h"
#include "tests/support/golden.h"
#include "tests/support/table.h"
#include "tests/support/temporary_folder.h"

#include <cmath>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

namespace cel::test {
namespace {

using Range = SubtitleTrack::Range;

TEST(SubtitleTrack, LaysElementsAndTheBlackBetweenThem)
{
    for (const TableRow& row : table("subtitles", "set")) {
        SCOPED_TRACE(row.place + " " + row[0]);
        const SubtitleTrack track = subtitles(row[1], row.number(2));
        EXPECT_EQ(describe(track), row[3]);
        EXPECT_EQ(std::to_string(track.getNumElements()), row[4]);
    }
    // A frame of 25 seconds leaves nothing of any length.
    EXPECT_EQ(describe(SubtitleTrack(elements("2-3 a"), 5.0, 25.0)), "0-0 .; 0-0 a; 0-0 .");
}

TEST(SubtitleTrack, KeepsEveryElementWithinHalfAFrameOfItsTime)
{
    std::vector<SubtitleTrack::RangedElement> many;
    for (int i = 0; i < 10'000; ++i) {
        const double start = i * 1.0137 + 0.0191;
        many.push_back({{{L"x"}, {}}, start, start + 0.5173});
    }
    const auto farthest = [&many](const SubtitleTrack& track) {
        const auto placed = track.getElements();
        double distance = 0.0;
        for (std::size_t i = 0; i < many.size(); ++i)
            distance = std::max({distance, std::fabs(placed.at(i).start - many[i].start),
                                 std::fabs(placed.at(i).end - many[i].end)});
        return distance;
    };
    SubtitleTrack track(0.04);
    EXPECT_TRUE(track.setElementsOnGrid(many, 0.0).empty());
    EXPECT_LE(farthest(track), 0.02 + 1e-6);
    EXPECT_EQ(faultsOf(track), "");
    track.setElements(many, 0.0);
    EXPECT_GT(farthest(track), 1.0) << "lengths that are rounded one by one add up";
}

TEST(SubtitleTrack, LeavesOutWhatHasNoPlaceOnTheGrid)
{
    for (const TableRow& row : table("subtitles", "set on the grid")) {
        SCOPED_TRACE(row.place + " " + row[0]);
        SubtitleTrack track(0.04);
        std::string leftOut;
        for (const std::size_t index : track.setElementsOnGrid(elements(row[1]), row.number(2)))
            leftOut += (leftOut.empty() ? "" : " ") + std::to_string(index);
        EXPECT_EQ(describe(track), row[3]);
        EXPECT_EQ(leftOut, row[4]);
    }
}

TEST(SubtitleTrack, LaysOneElementOverWhateverIsThere)
{
    for (const TableRow& row : table("subtitles", "add")) {
        SCOPED_TRACE(row.place + " " + row[0]);
        SubtitleTrack track = subtitles(row[1]);
        track.add(elements(row[2]).front());
        EXPECT_EQ(describe(track), row[3]);
        EXPECT_EQ(faultsOf(track), "");
    }
}

/// Does the edit of a row: its name and times.
void edit(SubtitleTrack& track, const TableRow& row)
{
    std::istringstream words(row[1]);
    std::string name;
    double a = 0.0, b = 0.0, at = 0.0;
    words >> name >> a >> b >> at;
    const SubtitleTrack source = row[2] == "nothing"  ? SubtitleTrack::createInvalid()
                                 : row[2] == "itself" ? track
                                                      : subtitles(row[2]);
    const Kt::Ptr<Cel> list = track.getCel();
    if (name == "remove")
        track.remove({a, b});
    else if (name == "insert")
        track.insert(source, {a, b}, at, {});
    else if (name == "insert-list")
        list->insert(source.getCel().get(), {a, b}, at, {});
    else if (name == "replace")
        track.replace(source, {a, b}, at, {}, Editable::kReplacePlain);
    else if (name == "clear")
        list->clear();
    else if (name.starts_with("cut"))
        list->makeCutAt(a);
    if (name == "cut-simplify") {
        EXPECT_TRUE(track.simplify(Simplification::kAll, Editable::invalidRange()));
    }
    if (name == "trim") {
        ce_handle in = list->find_ceh(a, in_point);
        list->trim(in, b, trim_end);
    }
}

TEST(SubtitleTrack, TakesItsTextsThroughEveryEdit)
{
    for (const TableRow& row : table("subtitles", "edit")) {
        SCOPED_TRACE(row.place + " " + row[0]);
        SubtitleTrack track = subtitles("1-2 {s}a; 2-3 b/c", 4.0);
        const SubtitleTrack before = track.clone();
        edit(track, row);
        EXPECT_EQ(describe(track), row[3]);
        EXPECT_EQ(faultsOf(track), "");
        EXPECT_EQ(describe(stored(track)), row[3]);
        EXPECT_EQ(describe(before), "0-1 .; 1-2 {s}a; 2-3 b/c; 3-4 .") << "a clone is its own";
    }
}

TEST(SubtitleTrack, ReplacesATextEvenByOneOfTheSameLength)
{
    // The copies of an insertion, too, are no effects that replaced material would keep.
    SubtitleTrack track(0.04);
    track.insert(subtitles("0-1 a; 1-2 b"), {0.0, 2.0}, 0.0, {});
    track.replace(subtitles("0-1 x"), {0.0, 1.0}, 1.0, {}, Editable::kReplacePlain);
    EXPECT_EQ(describe(track), "0-1 a; 1-2 x");
    EXPECT_EQ(faultsOf(track), "");
}

TEST(SubtitleTrack, GivesCopiesATextOfTheirOwn)
{
    const SubtitleTrack source = subtitles("0-1 a");
    SubtitleTrack track(0.04);
    track.insert(source, {0.0, 1.0}, 0.0, {});
    const IdStamp id = track.getCel()->get_start_ceh().getEffectGraph();
    EXPECT_NE(id, source.getCel()->get_start_ceh().getEffectGraph());
    track.setElement(id, elements("0-0 changed").front());
    EXPECT_EQ(describe(track), "0-1 changed");
    EXPECT_EQ(describe(source), "0-1 a");
}

TEST(SubtitleTrack, KeepsTheTextsOfSectionsInListsMadeFromIt)
{
    const SubtitleTrack track = subtitles("1-2 a; 2-3 b; 4-5 c");
    const auto derived = [&track](const Kt::Ptr<Cel>& list) {
        const SubtitleTrack made = track.withSectionsOf(*list);
        EXPECT_EQ(faultsOf(made), "");
        EXPECT_NE(made.id(), track.id());
        return describe(made);
    };
    EXPECT_EQ(derived(track.getCel()->reverse()), "0-1 c; 1-2 .; 2-3 b; 3-4 a; 4-5 .");
    EXPECT_EQ(derived(track.getCel()->copy()), describe(track));
    EXPECT_EQ(derived(track.getCel()->extract(1.0, 3.0, Cel::EXTRACT_KEEP_EFFECT_IDS)),
              "1-2 a; 2-3 b");
    const Kt::Ptr<Cel> again = track.getCel()->copy();
    again->slide(track.getCel()->get_end_time());
    EXPECT_EQ(derived(track.getCel()->appendCel(again)),
              describe(track) + "; 5-6 .; 6-7 a; 7-8 b; 8-9 .; 9-10 c");
}

TEST(SubtitleTrack, MergesEqualWordsWhateverTheirStyle)
{
    for (const TableRow& row : table("subtitles", "merge")) {
        SubtitleTrack track = subtitles(row[1]);
        track.simplify(Simplification::kMatchFrameCuts, Editable::invalidRange());
        EXPECT_EQ(describe(track), row[2]) << row.place;
        EXPECT_EQ(faultsOf(track), "") << row.place;
    }
}

TEST(SubtitleTrack, FindsTheFirstSectionWithAText)
{
    const SubtitleTrack track =
        subtitles("1-2 /Ahoy; 2-3 Who goes/there?; 4-5 ahoy!; 5-6 last", 7.0);
    const auto at = [&track](int index) {
        return index < 0 ? ce_handle() : ce_handle(track.getCel(), index);
    };
    for (const TableRow& row : table("subtitles", "find")) {
        const auto found = track.find(toWide(row[0]), at(row.integer(1)), at(row.integer(2)));
        EXPECT_EQ(found.valid() ? found.get_index() : -1, row.integer(3)) << row.place;
    }
    const SubtitleTrack other = subtitles("0-1 ahoy");
    EXPECT_THROW(track.find(L"ahoy", other.getCel()->get_start_ceh(), {}),
                 Kt::Exception::RuntimeError);
    EXPECT_FALSE(subtitles("0-1 /; 1-2 ").find(L"", {}, {}).valid());
}

TEST(SubtitleTrack, IsSafeWithoutATrack)
{
    SubtitleTrack none = SubtitleTrack::createInvalid();
    SubtitleTrack some = subtitles("0-1 a");
    none.setElements(elements("0-1 a"), 2.0);
    none.add(elements("0-1 a").front());
    none.setElement(IdStamp(), {});
    none.insert(some, {0.0, 1.0}, 0.0, {});
    none.replace(some, {0.0, 1.0}, 0.0, {}, Editable::kReplacePlain);
    none.remove({0.0, 1.0});
    none.quantiseCelEnd();
    none.setFont({});
    none.id(IdStamp());
    EXPECT_TRUE(none.setElementsOnGrid({}, 1.0).empty());
    EXPECT_FALSE(none.simplify(Simplification::kAll, Editable::invalidRange()));
    EXPECT_FALSE(none.valid() || none.clone().valid() || none.getCel() || none.is_dummy() ||
                 none.performEditOpWithNullSrc() || none.withSectionsOf(*some.getCel()).valid());
    EXPECT_EQ(none.id(), IdStamp(0, 0, 0));
    EXPECT_EQ(none.getNumElements(), 0U);
    EXPECT_EQ(none.getElements().size(), 0U);
    EXPECT_EQ(none.getFont(), FontDefinition());
    EXPECT_EQ(none.getExtents(Editable::kAllEvents, false), Editable::invalidRange());
    EXPECT_FALSE(none.find(L"a", {}, {}).valid());
    EXPECT_TRUE(none.getElement(IdStamp()).lines.empty());
    EXPECT_TRUE(some.getElement(ce_handle()).lines.empty());
    EXPECT_TRUE(some.getElement(IdStamp()).lines.empty());
    EXPECT_FALSE(SubtitleTrack::createFromCel(Kt::Ptr<Cel>(new Cel(0, 0.04))).valid());
}

TEST(SubtitleTrack, HasAnIdentityAndAFontThatIsTakenOverOnce)
{
    const TemporaryFolder folder;
    const EnvironmentVariable variable("CEL_CONFIG_DIR", folder.path());
    // clang-format off
    struct Case { const char* preference; const wchar_t* face; float size; float opacity; };
    const Case cases[] = {
        {"",                                              defaultFontName().c_str(), 1.0F, 0.2F},
        {"no font",                                       defaultFontName().c_str(), 1.0F, 0.2F},
        {R"({"face": "Serif", "size": 0})",               defaultFontName().c_str(), 1.0F, 0.2F},
        {R"({"face": "Serif", "size": 2, "background": [0, 0, 0, 1]})", L"Serif",    2.0F, 1.0F},
    };
    // clang-format on
    for (const Case& c : cases) {
        prefs().setPreference("Subtitles : font", c.preference);
        const FontDefinition font = SubtitleTrack(0.04).getFont();
        EXPECT_EQ(font.faceName, c.face);
        EXPECT_EQ(font.size, c.size);
        EXPECT_EQ(font.background.alpha, c.opacity);
    }
    FontDefinition font = SubtitleTrack::getDefaultFont();
    font.faceName = L"Größe \"7\"\n";
    SubtitleTrack::setDefaultFont(font);
    EXPECT_EQ(SubtitleTrack::getDefaultFont(), font);
    SubtitleTrack source = subtitles("0-1 a");
    font.faceName = L"Other";
    SubtitleTrack::setDefaultFont(font);

    SubtitleTrack track(0.04);
    SubtitleTrack shared = track;
    EXPECT_EQ(track.id().getMagicType(), 2);
    EXPECT_EQ(shared.id(), track.id());
    EXPECT_NE(track.clone().id(), track.id());
    EXPECT_EQ(track.getFont().faceName, L"Other");
    track.insert(source, {0.0, 1.0}, 0.0, {});
    EXPECT_EQ(shared.getFont(), source.getFont()) << "of the first that gives it texts";
    track.insert(SubtitleTrack(0.04), {0.0, 1.0}, 0.0, {});
    EXPECT_EQ(shared.getFont(), source.getFont());
    prefs().setPreference("Subtitles : font", "");
}

TEST(SubtitleTrack, UsesCookiesOfItsOwn)
{
    EXPECT_EQ(SubtitleTrack::textCookie().asString(true), "84:0:0:123:0");
    EXPECT_EQ(SubtitleTrack::blackCookie().asString(true), "84:1:0:647:0");
    const auto list = subtitles("0-1 a").getCel();
    EXPECT_EQ(list->getBlackCookie(), SubtitleTrack::blackCookie());
    EXPECT_TRUE(list->canReferTo(kSubtitleCookie));
    EXPECT_FALSE(list->canReferTo(kVideoCookie));
}

// ---- stored -------------------------------------------------------------------------------------

SubtitleTrack storedExample()
{
    SubtitleTrack track(0.04);
    track.id(IdStamp(1, 2, 0x80000003));
    track.setFont({L"Sans", 0.5F, {0.0F, 0.0F, 0.0F, 0.2F}, {1.0F, 1.0F, 1.0F, 1.0F}});
    track.setElement(IdStamp(4, 5, 6), elements("0-1 {s1}a/\xC3\xA4").front());
    return track;
}

/// The body of the layer of texts, and where it begins in the stream.
std::pair<StreamFile, std::size_t> packed(const SubtitleTrack& track)
{
    StreamFile file;
    PStream stream(file);
    track.getCel()->STRM_hierarchyPack(stream);
    file.seek(0);
    skipLayer(stream, *peekLayer(stream));
    const std::size_t begin = file.position();
    file.seek(0);
    return {std::move(file), begin};
}

TEST(SubtitleLayer, HoldsTheseBytes)
{
    auto [file, begin] = packed(storedExample());
    PStream stream(file);
    file.seek(begin);
    const auto frame = peekLayer(stream);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->name, "T");
    EXPECT_EQ(frame->revision, 1);
    EXPECT_EQ(hexText(file.bytes().subspan(frame->bodyOffset, frame->bodyBytes)),
              hexText(hexFile("subtitles_T1")));
    EXPECT_EQ(storedExample().getCel()->hierarchyName(true, true), "C.T");
    EXPECT_EQ(storedExample().getCel()->hierarchyName(false, true), "Cel.SubtitleCel");
}

TEST(SubtitleLayer, GivesBackWhatItWasGiven)
{
    SubtitleTrack track = subtitles("1-2 {s}a; 2-3 b; 3-4 c/\xF0\x9F\x98\x80; 4-5", 6.0);
    const IdStamp second = track.getCel()->find_ceh(2.0, in_point).getEffectGraph();
    track.setElement(second, {{std::wstring(L"a\0b", 3), L"\xD800", L"\U0010FFFF"}, "x"});
    std::string notes;
    const SubtitleTrack read = stored(track, &notes);
    EXPECT_EQ(notes, "");
    EXPECT_EQ(describe(read), describe(track)) << "which shows half a character as none";
    EXPECT_EQ(read.id(), track.id());
    EXPECT_EQ(read.getFont(), track.getFont());
    EXPECT_EQ(read.getElement(second).lines[0], std::wstring(L"a\0b", 3));
    EXPECT_EQ(read.getElement(second).lines[1], L"\xFFFD");
    EXPECT_FALSE(read.getCel()->is_dirty());
    SubtitleTrack changed = read;
    changed.setElement(IdStamp(), {});
    EXPECT_TRUE(read.getCel()->is_dirty());
}

TEST(SubtitleLayer, IsReadAsFarAsItGoes)
{
    auto [whole, begin] = packed(subtitles("0-1 first; 1-2 second/line; 2-3 {s}third"));
    PStream frames(whole);
    whole.seek(begin);
    const LayerFrame frame = *peekLayer(frames);
    const auto list = whole.bytes().first(begin);
    const auto body = whole.bytes().subspan(frame.bodyOffset, frame.bodyBytes);
    const auto readBack = [&](std::span<const std::byte> texts, unsigned char revision) {
        StreamFile file(list);
        PStream stream(file);
        writeLayer(stream, "T", [&](PStream& layer) {
            layer.file().write(texts);
            return revision;
        });
        file.seek(0);
        SubtitleTrack track(0.04);
        track.getCel()->STRM_hierarchyUnpack(stream);
        EXPECT_EQ(file.remaining(), 0U);
        EXPECT_LE(track.getNumElements(), 3U);
        EXPECT_EQ(track.getCel()->numEvents(), 6);
        return std::string(stream.errorText().text());
    };
    EXPECT_EQ(readBack(body, 1), "");
    EXPECT_EQ(readBack(body, 2), "SubtitleCel::unpack: unknown revision\n");
    for (std::size_t size = 0; size < body.size(); ++size)
        EXPECT_EQ(readBack(body.first(size), 1),
                  "SubtitleCel::unpack: Failed to read texts (unexpected size)\n")
            << size;
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        std::vector<std::byte> flipped(body.begin(), body.end());
        flipped[random() % flipped.size()] ^= static_cast<std::byte>(1U << random() % 8);
        if (i % 2 == 0)
            flipped[random() % flipped.size()] = std::byte{0xFF};
        readBack(flipped, 1);
    }
    // A count that lies.
    std::vector<std::byte> hostile(body.begin(), body.end());
    const std::size_t count = 12 + 4 + static_cast<std::size_t>(hostile[12]);
    std::fill_n(hostile.begin() + static_cast<std::ptrdiff_t>(count), 4, std::byte{0xFF});
    EXPECT_EQ(readBack(hostile, 1),
              "SubtitleCel::unpack: Failed to read texts (unexpected size)\n");
}

TEST(SubtitleLayer, TravelsWithItsCut)
{
    Cut cut;
    cut.addTrack(kVideoCookie);
    const SubtitleTrack texts = subtitles("1-2 {s}a; 3-4 b/c", 5.0);
    cut.tracks.push_back(texts.getCel());
    cut.tracks.push_back(subtitles("0-1 other").getCel());
    cut.addTrack(kAudioCookie);
    std::string error;
    const auto loaded = readCut(writeCut(cut), error);
    ASSERT_TRUE(loaded) << error;
    EXPECT_TRUE(loaded->findings.empty());
    ASSERT_EQ(loaded->cut.tracks.size(), 4U);
    EXPECT_EQ(describe(SubtitleTrack::createFromCel(loaded->cut.tracks[1])), describe(texts));
    EXPECT_EQ(describe(SubtitleTrack::createFromCel(loaded->cut.tracks[2])), "0-1 other");
    EXPECT_FALSE(SubtitleTrack::createFromCel(loaded->cut.tracks[0]).valid());
    EXPECT_FALSE(SubtitleTrack::createFromCel(loaded->cut.tracks[3]).valid());
}

} // namespace
} // namespace cel::test
