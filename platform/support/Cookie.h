#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

#include <compare>
#include <cstdint>
#include <type_traits>

/// What kind of material a `Cookie` names: a letter.
using CookieType = unsigned char;

inline constexpr CookieType kVideoCookie = 'V';
inline constexpr CookieType kAudioCookie = 'S';
inline constexpr CookieType kEffectCookie = 'E';
inline constexpr CookieType kSubtitleCookie = 'T';
inline constexpr CookieType kInvalidCookie = 'I';

/// Reference to the material that a section plays: a shot, black, an effect or an effect's input.
///
/// Twenty bytes, kept in files exactly as they lie in memory. The third integer of synthetic
/// material (everything that is made rather than recorded) is 647; the first then says which.
class CEL_PLATFORM_API Cookie
{
public:
    /// The invalid Cookie: type 'I', everything else 0.
    constexpr Cookie() = default;

    /// @param second  kept as a byte; higher bits are dropped.
    constexpr Cookie(CookieType type, int first, int second, int third)
        : first_(static_cast<std::uint32_t>(first))
        , third_(static_cast<std::uint32_t>(third))
        , second_(static_cast<std::uint8_t>(second & 0xFF))
        , type_(type)
    {
    }

    /// Reads what `asString` writes, with or without the version. Text that is not a Cookie, also
    /// a number that its place cannot hold, gives the invalid Cookie.
    /// @param withVersion  whether a version in the text is taken over; otherwise it becomes 0.
    Cookie(const LightweightString<char>& text, bool withVersion);

    /// "type:first:second:third:version" in decimal, without blanks and independent of any locale;
    /// without the version when `withVersion` is false.
    LightweightString<char> asString(bool withVersion) const;

    /// Becomes the invalid Cookie.
    constexpr void invalidate() { *this = Cookie(); }

    constexpr CookieType type() const { return type_; }
    static constexpr CookieType typeFromChar(char letter)
    {
        return static_cast<CookieType>(letter);
    }

    /// Format version of the reference; decides in which form a track is stored.
    constexpr unsigned char version() const { return version_; }
    constexpr void setVersion(unsigned char version) { version_ = version; }

    constexpr int getInt1() const { return static_cast<int>(first_); }
    constexpr int getInt2() const { return second_; }
    constexpr int getInt3() const { return static_cast<int>(third_); }

    constexpr bool isBlack() const { return isSynthetic(kBlack); }
    constexpr bool isInput() const { return isSynthetic(kInput); }
    constexpr bool isEffectGraph() const { return isSynthetic(kEffectGraph); }
    constexpr bool isEffect() const { return isSynthetic(kEffect); }
    constexpr bool isMix50() const { return isSynthetic(kMix50); }

    /// Negative, 0 or positive as this Cookie sorts before, equals or sorts after the other;
    /// everything that the twenty bytes carry counts, the version too.
    constexpr int compare(const Cookie& other) const
    {
        const auto order = *this <=> other;
        return order < 0 ? -1 : order > 0 ? 1 : 0;
    }
    constexpr bool operator==(const Cookie&) const = default;

    /// The third integer of synthetic material.
    static constexpr int kSynthetic = 647;

    /// The first integer of synthetic material: which kind it is.
    enum SyntheticKind : int { kBlack = 1, kInput = 2, kEffectGraph = 3, kEffect = 4, kMix50 = 5 };

private:
    constexpr auto operator<=>(const Cookie&) const = default;
    constexpr bool isSynthetic(SyntheticKind kind) const
    {
        return third_ == static_cast<std::uint32_t>(kSynthetic) &&
               first_ == static_cast<std::uint32_t>(kind);
    }

    std::uint32_t first_ = 0;
    std::uint32_t third_ = 0;
    std::uint8_t second_ = 0;
    std::uint8_t type_ = kInvalidCookie;
    std::uint8_t version_ = 0;
    std::uint8_t reserved_ = 0;
    std::uint8_t extension_[8] = {}; ///< zero in every Cookie made here, kept when read from a file
};
static_assert(sizeof(Cookie) == 20 && std::is_trivially_copyable_v<Cookie>,
              "twenty bytes, stored as they are");

/// Black for picture and for sound.
inline constexpr Cookie video_black(kVideoCookie, Cookie::kBlack, 0, Cookie::kSynthetic);
inline constexpr Cookie audio_black(kAudioCookie, Cookie::kBlack, 0, Cookie::kSynthetic);
