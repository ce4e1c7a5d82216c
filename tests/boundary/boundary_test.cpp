// Stands where an editor stands: outside the shared library. What one side makes the other side
// frees, what one side throws the other side catches.
#include "cel/Cel.h"
#include "cel/version.h"
#include "platform/support/TagBag.h"
#include "platform/support/layers.h"
#include "platform/support/safe_save.h"
#include "platform/support/utf8.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/track_notation.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

/// An exception that the library has never heard of.
struct OwnFault : Kt::Exception::RuntimeError
{
    OwnFault()
        : RuntimeError("outside", "boundary", 7)
    {
    }
};

/// A track whose class, hooks and memory are outside the library.
class OutsideTrack final : public Cel
{
public:
    explicit OutsideTrack(int& living)
        : Cel(*track("A0-4 B4-6"))
        , living_(living)
        , text_(1000, 'x')
    {
        ++living_;
    }
    ~OutsideTrack() override { --living_; }
    void STRM_hierarchyPack(PStream&) const override { throw OwnFault(); }

private:
    int& living_;
    std::string text_;
};

TEST(Boundary, TellsTheVersion)
{
    EXPECT_STREQ(celDllVersionStr(), CEL_TEST_VERSION);
}

TEST(Boundary, ExceptionsOfTheLibraryAreCaughtOutside)
{
    EXPECT_THROW(Kt::Ptr<Cel>(new Cel(0, -1.0)), Kt::Exception::RuntimeError);
    try {
        track("")->get_event(3);
        FAIL();
    } catch (const std::exception& fault) {
        EXPECT_STREQ(fault.what(), "Cel::get_event: index out of range");
        EXPECT_NE(dynamic_cast<const Kt::Exception::Base*>(&fault), nullptr);
    }
}

TEST(Boundary, ExceptionsOfAnyKindPassThroughTheLibraryAndLeaveItTidy)
{
    StreamFile file;
    PStream stream(file);
    // clang-format off
    const std::function<void()> throwing[] = {[] { throw OwnFault(); }, [] { throw std::runtime_error("outside"); },
                                              [] { throw 7; }};
    // clang-format on
    std::string caught;
    for (const auto& fault : throwing) {
        try {
            writeLayer(stream, "X", [&](PStream&) -> unsigned char {
                fault();
                return 1;
            });
        } catch (const OwnFault& own) {
            caught += "own " + std::to_string(own.line()) + ", ";
        } catch (const std::exception& standard) {
            caught += std::string("standard ") + standard.what() + ", ";
        } catch (int number) {
            caught += std::to_string(number);
        }
        EXPECT_TRUE(file.bytes().empty());
    }
    EXPECT_EQ(caught, "own 7, standard outside, 7");
}

TEST(Boundary, TheLastPointerDestroysWhicheverSideHoldsIt)
{
    int living = 0;
    const auto store = makeMemoryTagBag();
    const IdStamp id;
    store->storeObject(TagBase(id, Kt::Ptr<Taggable>(new OutsideTrack(living))));
    Kt::Ptr<Cel> shared = Kt::dynamicCast<Cel>(store->openObject(id).object());
    ASSERT_TRUE(shared);
    EXPECT_THROW(
        {
            StreamFile file;
            PStream stream(file);
            shared->STRM_hierarchyPack(stream);
        },
        OwnFault);
    EXPECT_EQ(describe(*Kt::dynamicCast<Cel>(shared->clone(Streamable::builder))), "A0-4 B4-6");
    store->destroyObject(id);
    EXPECT_EQ(living, 1);
    shared.reset();
    EXPECT_EQ(living, 0);

    store->storeObject(TagBase(id, Kt::Ptr<Taggable>(new OutsideTrack(living))));
    store->destroyObject(id); // here the library holds the last one
    EXPECT_EQ(living, 0);
}

TEST(Boundary, ContainersAndTextGrowOnOneSideAndEndOnTheOther)
{
    Cel::IdMap ids;
    for (int i = 0; i < 1000; ++i)
        ids[IdStamp()] = IdStamp();
    const Kt::Ptr<Cel> target = track("A0-4 B4-6");
    target->insert(track("X0-2").get(), {0.0, 2.0}, 4.0, ids);
    EXPECT_EQ(describe(*target), "A0-4 X4-6 B6-8");

    LightweightString<char> text("a long enough text to need memory of its own, ");
    text += 2.0;
    text += " from both sides";
    EXPECT_EQ(text.view(), "a long enough text to need memory of its own, 2.0 from both sides");

    StreamFile file;
    file.extend(100'000); // in the library
    StreamFile moved = std::move(file);
    moved.clear();

    // A reel in a wide path: one character, two units where wide characters have 16 bits.
    EXPECT_EQ(toWide("\xF0\x9F\x8E\x9E").size(), sizeof(wchar_t) == 2 ? 2U : 1U);
    EXPECT_EQ(toUtf8(toWide("\xF0\x9F\x8E\x9E")), "\xF0\x9F\x8E\x9E");

    const LogCapture log; // a function of ours, kept and called by the library
    Log("%s %d", std::string(100, 'y').c_str(), 5);
    EXPECT_EQ(log.text(), std::string(100, 'y') + " 5");
}

TEST(Boundary, OneLockHoldsOnBothSides)
{
    const Kt::Ptr<Cel> shared = track("A0-4");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&shared] {
            for (int edit = 0; edit < 100; ++edit) {
                const Kt::Ptr<Kt::Guard> outer(new Kt::Guard(shared->lock()));
                const Kt::Guard inner(shared->lock());
                shared->appendEventPair(Cookie('V', 1, 0, 0), 0.0, 1.0, -1.0);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(shared->numEvents(), 2 + 2 * 800);
}

TEST(Boundary, FilesHaveAnyNameThatTheSystemAllows)
{
    const TemporaryFolder folder;
    for (const wchar_t* const name : {L"caf\u00E9 \u20AC.cel", L"\u6620\u753B \U0001F39E.cel"}) {
        const auto path = folder.path() / toPath(name);
        for (const std::string content : {"first\r\n", "second\n"}) {
            EXPECT_EQ(saveFile(path, std::as_bytes(std::span(content))).error, "");
            const ReadResult read = readFile(path, 100);
            const auto bytes = read.file.bytes();
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                      content);
        }
        EXPECT_EQ(pathToWide(path.filename()), name);
    }
}

} // namespace
} // namespace cel::test
