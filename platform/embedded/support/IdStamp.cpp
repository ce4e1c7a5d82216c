#include "platform/support/IdStamp.h"

#include "platform/embedded/support/entropy.h"
#include "platform/embedded/support/text_scan.h"
#include "platform/support/PStream.h"

#include <atomic>
#include <charconv>
#include <string_view>

#if !defined(_WIN32)
#include <pthread.h>
#endif

using cel::detail::takeCharacter;
using cel::detail::takeNumber;

namespace {

constexpr unsigned kSerialBits = 30; ///< the low bits of the third word
constexpr std::uint64_t kSerialMask = (std::uint64_t(1) << kSerialBits) - 1;

/// Where this process's stamps come from: 64 random bits that tell it from other processes, and a
/// serial number. Numbers that outgrow their 30 bits carry into the random ones, so the first
/// 2^94 stamps of a process differ.
class StampSource
{
public:
    static StampSource& instance()
    {
        static StampSource source;
        return source;
    }

    IdStamp next()
    {
        const std::uint64_t serial = serial_.fetch_add(1, std::memory_order_relaxed);
        const std::uint64_t process =
            process_.load(std::memory_order_relaxed) + (serial >> kSerialBits);
        const IdStamp stamp(static_cast<unsigned>(process >> 32), static_cast<unsigned>(process),
                            static_cast<unsigned>(serial & kSerialMask));
        return stamp.valid() ? stamp : next(); // all bits clear name nothing
    }

private:
    StampSource()
        : process_(cel::detail::randomBits())
    {
#if !defined(_WIN32)
        // A forked child continues the serial numbers of its parent: it must be another process.
        pthread_atfork(nullptr, nullptr, [] {
            instance().process_.store(cel::detail::randomBits(), std::memory_order_relaxed);
        });
#endif
    }

    std::atomic<std::uint64_t> process_;
    std::atomic<std::uint64_t> serial_{0};
};

} // namespace

IdStamp::IdStamp()
    : IdStamp(StampSource::instance().next())
{
}

IdStamp::IdStamp(const LightweightString<char>& text)
    : IdStamp(0, 0, 0)
{
    std::string_view rest = text.view();
    unsigned first = 0;
    unsigned second = 0;
    unsigned third = 0;
    if (takeNumber(rest, first, 16) && takeCharacter(rest, '-') && takeNumber(rest, second, 16) &&
        takeCharacter(rest, '-') && takeNumber(rest, third, 16) && rest.empty())
        *this = IdStamp(first, second, third);
}

LightweightString<char> IdStamp::asString() const
{
    if (!valid())
        return {};
    char text[3 * 8 + 2];
    char* end = text;
    for (const std::uint32_t word : words_) {
        if (end != text)
            *end++ = '-';
        end = std::to_chars(end, text + sizeof(text), word, 16).ptr;
    }
    return LightweightString<char>(std::string_view(text, static_cast<std::size_t>(end - text)));
}

void IdStamp::setMagicType(int type)
{
    if (valid())
        words_[2] = (words_[2] & ~(3U << kMagicShift)) | (static_cast<unsigned>(type) & 3U)
                                                             << kMagicShift;
}

void IdStamp::pack(PStream& stream) const
{
    for (const std::uint32_t word : words_)
        stream.file().setUnsignedLong(word);
}

void IdStamp::unpack(PStream& stream, unsigned char)
{
    // Part of an identifier identifies nothing.
    IdStamp read(0, 0, 0);
    if (stream.readBinary(read.words_, sizeof(read.words_)) < sizeof(read.words_))
        read = IdStamp(0, 0, 0);
    *this = read;
}
