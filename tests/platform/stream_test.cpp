#include "platform/embedded/support/crc32c.h"
#include "platform/support/IdStamp.h"
#include "platform/support/PStream.h"
#include "platform/support/StreamClassRegistrar.h"
#include "platform/support/TagBag.h"
#include "platform/support/Taggable.h"
#include "platform/support/layers.h"
#include "platform/support/object_stream.h"
#include "tests/support/table.h"

#include <algorithm>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cel::test {
namespace {

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

std::string textOf(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(StreamFile, WritesLittleEndianAndReadsItBack)
{
    StreamFile file;
    file.setLong(-2);
    file.setUnsignedShort(0x0102);
    file.setCookedChar('x');
    file.setDouble(1.0);
    file.setUnsigned64(0x0102030405060708U);
    EXPECT_EQ(
        textOf(file.bytes()),
        std::string("\xFE\xFF\xFF\xFF\x02\x01x\0\0\0\0\0\0\xF0\x3F\x08\x07\x06\x05\x04\x03\x02\x01",
                    23));
    StreamFile moved = std::move(file);
    EXPECT_EQ(file.bytes().size(), 0U);
    EXPECT_EQ(moved.getLong(), -2);
    EXPECT_EQ(moved.getUnsignedShort(), 0x0102);
    EXPECT_EQ(moved.getCookedChar(), 'x');
    EXPECT_EQ(moved.getDouble(), 1.0);
    EXPECT_EQ(moved.getUnsigned64(), 0x0102030405060708U);
    EXPECT_TRUE(moved.atEnd() && !moved.faulted());
}

TEST(StreamFile, GrowsWithoutLosingWhatItHolds)
{
    StreamFile file;
    std::string expected;
    for (unsigned i = 0; i < 12; ++i) {
        file.write(bytesOf("abc"));
        file.write(file.bytes()); // its own bytes, while they move
        expected += "abc";
        expected += expected;
    }
    EXPECT_EQ(textOf(file.bytes()), expected);
    file.written(1, 1)[0] = std::byte('B');
    EXPECT_EQ(textOf(file.bytes().first(3)), "aBc");
    EXPECT_THROW(file.extend(SIZE_MAX - 4), std::length_error);
    EXPECT_EQ(file.bytes().size(), expected.size());
}

TEST(StreamFile, NeverReadsPastItsEndOrLimit)
{
    StreamFile file(bytesOf("0123456789"));
    EXPECT_EQ(file.limitTo(SIZE_MAX), SIZE_MAX);
    EXPECT_EQ(file.remaining(), 10U);
    EXPECT_EQ(textOf(file.take(2)), "01");
    const std::size_t outer = file.limitTo(4);
    const std::size_t inner = file.limitTo(100);
    EXPECT_EQ(file.remaining(), 4U);
    EXPECT_EQ(file.getDouble(), 0.0);
    EXPECT_TRUE(file.faulted() && file.atEnd());
    EXPECT_TRUE(file.take(1).empty());
    file.seek(3);
    char few[9] = "........";
    EXPECT_EQ(file.read(std::as_writable_bytes(std::span(few))), 3U);
    EXPECT_STREQ(few, "345.....");
    file.restoreLimit(inner);
    file.restoreLimit(outer);
    file.seek(SIZE_MAX);
    EXPECT_EQ(file.position(), 10U);
    file.limitTo(0);
    file.restoreLimit(2); // behind what was read already
    EXPECT_EQ(file.remaining(), 0U);
    EXPECT_EQ(file.getLong(), 0);
    file.clear();
    EXPECT_FALSE(file.faulted());
    EXPECT_EQ(file.bytes().size(), 0U);
}

TEST(PStream, ReadsTextsAndBlocksInOneFraming)
{
    StreamFile file;
    PStream stream(file);
    stream << "text";
    stream.writeBinary(LightweightString<char>("whole"), 0, false, false);
    stream.writeBinary(LightweightString<char>("part"), 2, false, false);
    stream.writeBinary("raw", 3, true, true);
    LightweightString<char> text;
    for (const char* expected : {"text", "whole", "pa"}) {
        stream >> text;
        EXPECT_EQ(text, expected);
    }
    char raw[8] = {};
    EXPECT_EQ(stream.readBinary(raw, sizeof(raw)), 3U);
    EXPECT_STREQ(raw, "raw");
}

TEST(PStream, ReadsALengthBeyondTheFileAsNothing)
{
    for (const std::uint32_t count : {4U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        StreamFile file;
        file.setUnsignedLong(count);
        file.write(bytesOf("abc"));
        PStream stream(file);
        LightweightString<char> text("former");
        stream >> text;
        EXPECT_TRUE(text.isNull() && file.faulted() && stream.atEnd()) << count;
        IdStamp stamp;
        file.seek(0);
        stamp.unpack(stream, 2);
        EXPECT_FALSE(stamp.valid());
    }
}

std::vector<std::byte> randomBytes(std::size_t count)
{
    std::mt19937 random(1);
    std::vector<std::byte> bytes(count);
    for (std::byte& byte : bytes)
        byte = std::byte(random());
    return bytes;
}

TEST(Crc32c, IsTheSameInEveryFormThatTheProcessorKnows)
{
    EXPECT_EQ(crc32c(bytesOf("123456789")), 0xE3069283U);
    EXPECT_EQ(crc32c({}), 0U);
    const auto bytes = randomBytes(20000);
    const std::span<const std::byte> all(bytes);
    for (const std::size_t size :
         {0, 1, 7, 8, 9, 63, 255, 256, 257, 511, 512, 3071, 3072, 3073, 6144, 9999, 20000 - 3}) {
        const auto part = all.subspan(3, size);
        const auto first = part.first(size / 3);
        const auto second = part.subspan(size / 3);
        const std::uint32_t expected = detail::crc32cByTable(part, 5);
        EXPECT_EQ(crc32c(second, crc32c(first, 5)), expected);
        EXPECT_EQ(detail::joinedCrc32c(crc32c(first, 5), crc32c(second), second.size()), expected);
        if (detail::hasCrc32cInstruction()) {
            EXPECT_EQ(detail::crc32cByInstruction(part, 5), expected);
        }
        if (detail::hasCrc32cFolding()) {
            EXPECT_EQ(detail::crc32cByFolding(part, 5), expected);
        }
    }
}

TEST(StreamFile, KeepsTheChecksumOfWhatIsWrittenWhateverChangesAfterwards)
{
    constexpr std::size_t kPiece = 100'000;
    constexpr std::size_t kPieces = 8;
    const auto bytes = randomBytes(kPiece);
    for (const TableRow& c : table("platform", "kept checksums")) {
        SCOPED_TRACE(c.place);
        const auto change = [&c](StreamFile& file) {
            if (c[1] == "rewrite")
                file.written(std::size_t(c.integer(2)), std::size_t(c.integer(3))).back() ^=
                    std::byte(1);
            if (c[1] == "truncate")
                file.truncate(std::size_t(c.integer(2)));
            if (c[1] == "clear")
                file.clear();
        };
        StreamFile file;
        file.write(bytesOf("12345"));
        file.keepChecksum();
        for (std::size_t i = 0; i < kPieces; ++i) {
            file.write(bytes);
            if (i == kPieces / 2)
                change(file);
        }
        StreamFile twin(file.bytes());
        EXPECT_EQ(file.checksumFrom(1), crc32c(twin.bytes().subspan(1)));
        EXPECT_EQ(file.checksumFrom(1), crc32c(twin.bytes().subspan(1))); // none is kept now
    }
}

/// Two layers, the first holding another.
StreamFile someLayers()
{
    StreamFile file;
    PStream stream(file);
    writeLayer(stream, "outer", [](PStream& out) {
        out << "head";
        writeLayer(out, "inner", [](PStream& in) {
            in.file().setLong(7);
            return static_cast<unsigned char>(2);
        });
        return static_cast<unsigned char>(9);
    });
    writeLayer(stream, "last", [](PStream&) { return static_cast<unsigned char>(0); });
    return file;
}

/// The example of docs/formats/stream.md.
TEST(ObjectStream, HasTheBytesThatAreDocumented)
{
    StreamFile file;
    PStream stream(file);
    writeObjectStreamHeader(stream);
    writeLayer(stream, "C", [](PStream& out) {
        out.file().setUnsignedShort(0xBBAA);
        return static_cast<unsigned char>(4);
    });
    EXPECT_EQ(textOf(file.bytes()),
              std::string("\x8B"
                          "CEL\r\n\x1A\n\x01\0\0\0"
                          "\x01\0\0\0C\x04\x02\0\0\0\0\0\0\0\xAA\xBB\x0A\x0B\x93\x57",
                          32));
}

TEST(Layers, KeepTheirReadersInside)
{
    StreamFile file = someLayers();
    PStream stream(file);
    EXPECT_EQ(nextLayerName(stream), "outer");
    const bool read = readLayer(stream, "outer", [&](const LayerFrame& frame) {
        EXPECT_EQ(frame.revision, 9);
        LightweightString<char> head;
        stream >> head;
        EXPECT_EQ(head, "head");
        EXPECT_TRUE(readLayer(stream, "inner", [&](const LayerFrame& inner) {
            EXPECT_EQ(inner.bodyBytes, 4U);
            EXPECT_EQ(file.getLong(), 7);
            EXPECT_EQ(file.getLong(), 0); // the layer's end, not the file's
        }));
        EXPECT_TRUE(stream.atEnd());
    });
    EXPECT_TRUE(read);
    EXPECT_FALSE(readLayer(stream, "other", [](const LayerFrame&) { FAIL(); }));
    EXPECT_EQ(stream.errorText().text(), "No whole layer \"other\" at byte 56\n");
    EXPECT_THROW(readLayer(stream, "last", [](const LayerFrame&) { throw std::runtime_error(""); }),
                 std::runtime_error);
    EXPECT_TRUE(stream.atEnd());
    EXPECT_TRUE(stream.damageText().empty());
    EXPECT_FALSE(peekLayer(stream));
}

TEST(Layers, AreWrittenWholeOrNotAtAll)
{
    StreamFile file;
    PStream stream(file);
    const auto text = [](const char* body) {
        return [body](PStream& layer) {
            layer << LightweightString<char>(body);
            return static_cast<unsigned char>(1);
        };
    };
    cel::writeLayer(stream, "A", text("first"));
    const std::vector<std::byte> before(file.bytes().begin(), file.bytes().end());
    const auto failing = [&](PStream& layer) -> unsigned char {
        cel::writeLayer(layer, "inside", text("whole"));
        layer << LightweightString<char>("half");
        throw std::runtime_error("disk full");
    };
    EXPECT_THROW(cel::writeLayer(stream, "B", failing), std::runtime_error);
    EXPECT_TRUE(std::ranges::equal(file.bytes(), before));

    // What comes next stands where the failed one began, with a checksum of its own.
    cel::writeLayer(stream, "C", text("second"));
    for (const char* name : {"A", "C"})
        EXPECT_TRUE(cel::readLayer(stream, name, [](const cel::LayerFrame&) {}));
    EXPECT_TRUE(stream.atEnd());
    EXPECT_TRUE(stream.errorText().empty() && stream.damageText().empty());
}

TEST(Layers, ThatAreCutOffOrTooLongAreNone)
{
    const StreamFile whole = someLayers();
    const std::string good = textOf(whole.bytes());
    for (std::size_t size = 0; size < good.size(); ++size) {
        StreamFile cut(bytesOf(good.substr(0, size)));
        PStream stream(cut);
        EXPECT_EQ(peekLayer(stream).has_value(), size >= 56);
        EXPECT_FALSE(cut.faulted());
    }
    std::string longest = good;
    longest.replace(10, 8, 8, '\xFF');
    StreamFile file(bytesOf(longest));
    PStream stream(file);
    EXPECT_EQ(nextLayerName(stream), "");
    EXPECT_EQ(file.position(), 0U);
}

TEST(Layers, AreReadInSpiteOfAWrongChecksumWhichIsNotedApart)
{
    StreamFile file = someLayers();
    file.written(file.bytes().size() - 1, 1)[0] ^= std::byte(1);
    PStream stream(file);
    skipLayer(stream, *peekLayer(stream));
    bool seen = false;
    EXPECT_TRUE(readLayer(stream, "last",
                          [&seen](const LayerFrame& frame) { seen = !frame.checksumMatches; }));
    EXPECT_TRUE(seen && stream.errorText().empty());
    EXPECT_EQ(stream.damageText().text(), "Checksum does not match: layer \"last\" at byte 56\n");
}

TEST(ObjectStream, IsToldFromOtherFilesByItsHeader)
{
    using enum ObjectStreamHeader;
    const std::map<std::string, ObjectStreamHeader> kinds = {
        {"ok", ok},
        {"truncated", truncated},
        {"no object stream", notAnObjectStream},
        {"newer", newerVersion},
    };
    for (const TableRow& c : table("platform", "stream header")) {
        SCOPED_TRACE(c.place);
        StreamFile bytes(bytesOf(c[1]));
        PStream stream(bytes);
        EXPECT_EQ(readObjectStreamHeader(stream), kinds.at(c[2]));
        EXPECT_EQ(bytes.position(), c[2] == "ok" ? 12U : 0U);
        EXPECT_FALSE(bytes.faulted());
    }
}

class Thing final : public Taggable
{
public:
    explicit Thing(TagBag* bag = nullptr)
        : bag_(bag)
    {
    }
    ~Thing() override
    {
        if (bag_)
            bag_->destroyObject(IdStamp(9, 9, 9)); // a store must bear to be used meanwhile
    }
    Kt::Ptr<Streamable> clone(BuilderType) const override { return Kt::Ptr<Streamable>(new Thing); }
    void assign(const Streamable*) override {}
    LightweightString<char> hierarchyName(bool, bool) const override { return "Thing"; }
    void STRM_hierarchyPack(PStream& stream) const override
    {
        PackStack stack;
        for (const char* name : {"derived", "base"}) // as each class's function calls its base's
            stack.push_back({name, [](PStream&) { return static_cast<unsigned char>(1); }});
        STRM_layerPack(this, stream, &stack);
        EXPECT_TRUE(stack.empty());
    }
    void STRM_hierarchyUnpack(PStream&) override {}

private:
    TagBag* bag_;
};

Kt::Ptr<Streamable> buildThing(PStream&)
{
    return Kt::Ptr<Streamable>(new Thing);
}

const StreamClassRegistrar registrar("Base.Thing", "T", buildThing);
const StreamClassRegistrar second("Other", "T", [](PStream&) { return Kt::Ptr<Streamable>(); });

TEST(StreamClassRegistrar, FindsAClassByEitherNameAndKeepsTheFirst)
{
    EXPECT_EQ(StreamClassRegistrar::find("Base.Thing"), &buildThing);
    EXPECT_EQ(StreamClassRegistrar::find("T"), &buildThing);
    EXPECT_EQ(StreamClassRegistrar::find("t"), nullptr);
    EXPECT_EQ(StreamClassRegistrar::find({}), nullptr);
}

TEST(Taggable, WritesTheLayerOfTheBaseClassFirst)
{
    StreamFile file;
    PStream stream(file);
    const Kt::Ptr<Thing> thing(new Thing);
    thing->STRM_hierarchyPack(stream);
    for (const char* expected : {"base", "derived"}) {
        EXPECT_EQ(nextLayerName(stream), expected);
        skipLayer(stream, *peekLayer(stream));
    }
    EXPECT_TRUE(stream.atEnd());
}

TEST(TagBag, SharesWhatIsOpenAndSurvivesObjectsThatUseItAsTheyGo)
{
    const auto bag = makeMemoryTagBag();
    const IdStamp id(1, 2, 3);
    const Kt::Ptr<Taggable> thing(new Thing(bag.get()));
    bag->storeObject(TagBase(id, thing));
    EXPECT_EQ(bag->openObject(id).object(), thing);
    EXPECT_EQ(bag->openObject(id).id(), id);
    bag->storeObject(TagBase(id, Kt::Ptr<Taggable>(new Thing(bag.get()))));
    bag->storeObject(TagBase(id, Kt::Ptr<Taggable>(new Thing(bag.get()))));
    EXPECT_NE(bag->openObject(id).object(), thing);
    EXPECT_EQ(thing->refCount(), 1);
    EXPECT_TRUE(bag->extractObject(id));
    bag->storeObject(TagBase(IdStamp(9, 9, 9), thing));
    bag->destroyObject(IdStamp(9, 9, 9));
    EXPECT_EQ(thing->refCount(), 1);
}

} // namespace
} // namespace cel::test
