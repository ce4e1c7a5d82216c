#include "tools/cel/replay_printer.h"

#include <charconv>
#include <cmath>

namespace cel::replay {

namespace {

/// The text that printf's "%.{digits}g" gives in the C locale; a NaN has no sign.
template <class Real>
std::string general(Real value, int digits)
{
    if (std::isnan(value))
        return "nan";
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits).ptr;
    return std::string(text, end);
}

} // namespace

std::string Printer::shown(double time)
{
    constexpr int kDigits = 17; // enough for every double to read back as itself
    return general(time, kDigits);
}

std::string Printer::shown(float level)
{
    constexpr int kMostDigits = 9;
    std::string text;
    for (int digits = 1; digits <= kMostDigits; ++digits) {
        text = general(level, digits);
        float back = 0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        if (back == level)
            break;
    }
    return text;
}

std::string Printer::shown(const Cookie& material)
{
    std::string text;
    for (const int number : {int{material.type()}, material.getInt1(), material.getInt2(),
                             material.getInt3(), int{material.version()}})
        text += (text.empty() ? "" : ":") + std::to_string(number);
    return text;
}

std::string Printer::shown(const IdStamp& id)
{
    if (!id.valid())
        return "null";
    const int next = static_cast<int>(numbers_.size()) + 1;
    return '#' + std::to_string(numbers_.emplace(id, next).first->second);
}

std::string Printer::dumped(const ChannelEvent& event)
{
    const IdStamp id = event.editGraph();
    return describe(event, dumpsShowIds_ || !id.valid() ? shown(id) : "-");
}

std::string Printer::describe(const ChannelEvent& event, const std::string& id)
{
    return "e=" + shown(event.edit_time()) + " s=" + shown(event.strip_time()) +
           " l=" + shown(event.level_sc()) + " v=" + shown(event.velocity()) +
           " c=" + shown(event.strip_name()) + " w=" + std::to_string(event.infoWord()) +
           " r=" + std::to_string(event.audioRampWord()) +
           " t=" + std::to_string(event.get_trim_type()) +
           " m=" + std::to_string(event.get_ChannelEventModification()) + " g=" + id;
}

void Printer::report(std::string_view text)
{
    write("# ", text);
}

void Printer::done()
{
    out_ << held_ << std::flush;
    held_.clear();
}

void Printer::failed(std::string_view message)
{
    held_.clear();
    write("! ", message);
}

void Printer::write(std::string_view mark, std::string_view text)
{
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    // Flushed at once: what led to a crash must not be lost with it.
    out_ << mark << text << '\n' << std::flush;
}

} // namespace cel::replay
