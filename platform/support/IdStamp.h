#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

#include <compare>
#include <cstdint>
#include <type_traits>

class PStream;

/// Identifier of an object, a track or an effect graph: 96 bits, unique without any coordination.
///
/// Two bits hold a *magic type* that tags what the identifier is used for; it travels with the
/// identifier into every stored form. A fresh stamp has magic type 0. The null stamp, all bits
/// clear, names nothing and carries no tag.
class CEL_PLATFORM_API IdStamp
{
public:
    /// A fresh stamp, different from every other one made by this or any other process.
    /// A few nanoseconds; takes no lock and may be called from any thread.
    IdStamp();

    /// The stamp of three given words; (0, 0, 0) is the null stamp.
    constexpr IdStamp(unsigned first, unsigned second, unsigned third)
        : words_{first, second, third}
    {
    }

    /// Reads what `asString` writes; any other text, also none, gives the null stamp.
    explicit IdStamp(const LightweightString<char>& text);

    /// Three words in hexadecimal joined by '-'; empty for the null stamp.
    LightweightString<char> asString() const;

    /// Whether the stamp names anything: false for the null stamp alone.
    constexpr bool valid() const { return *this != IdStamp(0, 0, 0); }

    /// Tags the stamp with a magic type, 0 to 3; only the low two bits of `type` count.
    /// The null stamp stays null.
    void setMagicType(int type);
    constexpr int getMagicType() const { return static_cast<int>(words_[2] >> kMagicShift); }

    /// Word 0 to 2, as given to the constructor.
    constexpr unsigned word(int index) const { return words_[index]; }

    /// Writes the three words; reads them back. Every revision has had the same form so far.
    void pack(PStream& stream) const;
    void unpack(PStream& stream, unsigned char revision);

    constexpr bool operator==(const IdStamp&) const = default;
    constexpr auto operator<=>(const IdStamp&) const = default;

private:
    static constexpr int kMagicShift = 30;

    std::uint32_t words_[3];
};
static_assert(sizeof(IdStamp) == 12 && std::is_trivially_copyable_v<IdStamp>,
              "three words, stored as they are");
