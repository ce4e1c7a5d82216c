#pragma once

#include "platform/support/Cookie.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class PStream;

namespace cel {

/// What a person knows a piece of material by. All texts are UTF-8 and may be empty.
struct Material
{
    CookieType kind = kVideoCookie; ///< picture 'V' or sound 'S'
    std::string name;               ///< clip name
    std::string reel;               ///< tape, card or file name as the edit list spells it
    std::string file;               ///< source file, never opened or probed

    auto operator<=>(const Material&) const = default;
};

/// The names behind the Cookies of a cut: a Cookie has no room for them, so they travel beside the
/// tracks. The first integer of a Cookie is the number of its entry, counted from 1.
class MaterialTable
{
public:
    /// The Cookie of a piece of material; the same material gives the same Cookie. O(log n), once
    /// O(n log n) after a table was read.
    Cookie add(const Material& material);

    /// The material that a Cookie names; null for black, effects and Cookies that are not in the
    /// table. O(1).
    const Material* find(const Cookie& cookie) const;

    const std::vector<Material>& materials() const { return materials_; }

    /// Body of the table's layer in a stream: "M", revision 1. `unpack` replaces the table, notes
    /// damage in the stream's error text and keeps the entries before it.
    static constexpr unsigned char kRevision = 1;
    void pack(PStream& stream) const;
    void unpack(PStream& stream, unsigned char revision);

private:
    std::vector<Material> materials_;

    /// Numbers by material, of the first `indexed_` ones: a table that is only read needs none.
    std::map<Material, std::uint32_t> numbers_;
    std::size_t indexed_ = 0;
};

} // namespace cel
