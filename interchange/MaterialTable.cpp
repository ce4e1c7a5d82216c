#include "interchange/MaterialTable.h"

#include "platform/support/PStream.h"

#include <algorithm>

namespace cel {

namespace {

/// An entry without any text: the kind and three counts.
constexpr std::size_t kSmallestEntry = 4 * sizeof(std::uint32_t);

/// The third integer of Cookies that name an entry.
constexpr int kTableReference = 0;

LightweightString<char> streamText(const std::string& text)
{
    return LightweightString<char>(text);
}

std::string readText(PStream& stream)
{
    LightweightString<char> text;
    stream >> text;
    return std::string(text.view());
}

} // namespace

Cookie MaterialTable::add(const Material& material)
{
    for (; indexed_ < materials_.size(); ++indexed_)
        numbers_.try_emplace(materials_[indexed_], static_cast<std::uint32_t>(indexed_) + 1);
    const auto next = static_cast<std::uint32_t>(materials_.size()) + 1;
    const auto [place, isNew] = numbers_.try_emplace(material, next);
    if (isNew) {
        materials_.push_back(material);
        ++indexed_;
    }
    return Cookie(material.kind, static_cast<int>(place->second), 0, kTableReference);
}

const Material* MaterialTable::find(const Cookie& cookie) const
{
    const auto number = static_cast<std::uint32_t>(cookie.getInt1());
    if (cookie.getInt3() != kTableReference || number == 0 || number > materials_.size())
        return nullptr;
    const Material& material = materials_[number - 1];
    return material.kind == cookie.type() ? &material : nullptr;
}

void MaterialTable::pack(PStream& stream) const
{
    stream.file().setUnsignedLong(static_cast<std::uint32_t>(materials_.size()));
    for (const Material& material : materials_) {
        stream.file().setUnsignedLong(material.kind);
        stream << streamText(material.name) << streamText(material.reel)
               << streamText(material.file);
    }
}

void MaterialTable::unpack(PStream& stream, unsigned char revision)
{
    *this = MaterialTable();
    if (revision != kRevision)
        stream.errorText().append("a material table of unknown revision " +
                                  std::to_string(revision) + "\n");
    const std::uint32_t count = stream.file().getUnsignedLong();
    materials_.reserve(std::min<std::size_t>(count, stream.remaining() / kSmallestEntry));
    bool notedKind = false;
    for (std::uint32_t i = 0; i < count; ++i) {
        Material material;
        const std::uint32_t kind = stream.file().getUnsignedLong();
        material.kind = static_cast<CookieType>(kind & 0xFFU);
        material.name = readText(stream);
        material.reel = readText(stream);
        material.file = readText(stream);
        if (stream.file().faulted()) {
            stream.errorText().append("the material table ends after " + std::to_string(i) +
                                      " of " + std::to_string(count) + " entries\n");
            return;
        }
        // One note for all of them: notes must not outgrow the file that they are about.
        const bool known = kind == kVideoCookie || kind == kAudioCookie;
        if (!known && !notedKind)
            stream.errorText().append("material " + std::to_string(i + 1) +
                                      " is neither picture nor sound\n");
        notedKind = notedKind || !known;
        materials_.push_back(std::move(material));
    }
}

} // namespace cel
