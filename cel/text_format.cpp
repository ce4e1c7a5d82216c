#include "cel/Cel.h"

#include "cel/detail/number_text.h"
#include "platform/support/TextFile.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

using cel::detail::appendFixed;
using cel::detail::appendGeneral;
using cel::detail::leadingNumber;

namespace {

constexpr std::string_view kRevisionKeyword = "CEL_REVISION";
constexpr std::string_view kRevisionLine = "CEL_REVISION 1";
constexpr std::string_view kResolutionKeyword = "FRAME_RESOLUTION";
constexpr std::string_view kEndOfBlock = "END_CHANNEL";

bool isNeutral(float value)
{
    return std::fabs(double(value) - 1.0) < cel::kTimeEpsilon;
}

void appendInPoint(LightweightString<char>& line, const ChannelEvent& event, double scale)
{
    line += " in        ";
    line += event.strip_time() * scale;
    if (!isNeutral(event.level_sc())) {
        line += " ";
        appendFixed(line, event.level_sc(), 6, 4);
    }
}

void appendOutPoint(LightweightString<char>& line, const ChannelEvent& event)
{
    line += " out";
    if (!isNeutral(event.level_sc())) {
        line += "        -       ";
        appendFixed(line, event.level_sc(), 6, 4);
    } else if (!isNeutral(event.velocity())) {
        // Kept: the strip time stands unscaled, unlike every other time; readers expect it so.
        line += " ";
        appendFixed(line, event.strip_time(), 14, 6);
        line += "   -   ";
        appendGeneral(line, event.velocity(), 8, 4);
        line += " ";
    }
}

/// A line has six tokens at most; whether it has more is all that matters beyond.
constexpr std::size_t kMostTokens = 7;

std::vector<std::string_view> tokensOf(std::string_view line)
{
    std::vector<std::string_view> tokens;
    for (std::size_t at = line.find_first_not_of(' ');
         at != std::string_view::npos && tokens.size() < kMostTokens;) {
        const std::size_t end = std::min(line.find(' ', at), line.size());
        tokens.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(' ', end);
    }
    return tokens;
}

/// One line of a block, its fields by place; a place that the line does not have reads as empty.
class EventLine
{
public:
    explicit EventLine(const LightweightString<char>& line)
        : tokens_(tokensOf(line.view()))
    {
    }

    std::size_t size() const { return tokens_.size(); }
    std::string_view operator[](std::size_t place) const
    {
        return place < tokens_.size() ? tokens_[place] : std::string_view();
    }
    double number(std::size_t place) const { return leadingNumber((*this)[place]); }

private:
    std::vector<std::string_view> tokens_;
};

/// Speed and levels of a section that was just appended from its two lines.
void applyValues(ce_handle& in, const EventLine& inLine, const EventLine& outLine)
{
    if (outLine.size() == 6) {
        in.set_strip_velocity(static_cast<float>(outLine.number(5)));
        return;
    }
    if (inLine.size() == 5)
        in.set_strip_level(static_cast<float>(inLine.number(4)));
    if (outLine.size() == 5)
        in.matching_out_ceh().set_strip_level(static_cast<float>(outLine.number(4)));
}

} // namespace

void Cel::writeToED2(TextFile& file, Kt::Ed2Support::TVStd standard) const
{
    const double frame = Kt::getFrameDuration(standard);
    const bool sameFrames = std::fabs(resolution_ - frame) < cel::kTimeEpsilon;
    const double scale = sameFrames ? 1.0 : frame / resolution_;

    file.appendLine(kRevisionLine);
    LightweightString<char> resolutionLine(kResolutionKeyword);
    resolutionLine += " ";
    appendFixed(resolutionLine, frame, 0, 12);
    file.appendLine(resolutionLine);

    for (const ChannelEvent& event : events_) {
        LightweightString<char> line;
        appendFixed(line, event.edit_time() * scale, 14, 6);
        line += " ";
        line += event.strip_name().asString(true);
        if (event.info() == in_point)
            appendInPoint(line, event, scale);
        else
            appendOutPoint(line, event);
        file.appendLine(line);
    }
}

bool Cel::buildFrom(TextFile& file, unsigned short first)
{
    const std::size_t start = first;
    if (!file[start].view().starts_with(kRevisionKeyword) ||
        !file[start + 1].view().starts_with(kResolutionKeyword))
        return false;
    const std::string_view resolutionLine = file[start + 1].view();
    const std::size_t number = kResolutionKeyword.size() + 1;
    const double frame =
        number < resolutionLine.size() ? leadingNumber(resolutionLine.substr(number)) : 0.0;
    if (!acceptsResolution(frame))
        return false;
    set_resolution(frame);

    for (std::size_t i = start + 2; i < file.numLines() && file[i].view() != kEndOfBlock; i += 2) {
        const EventLine inLine(file[i]);
        const EventLine outLine(file[i + 1]);
        const Cookie material(LightweightString<char>(inLine[1]), true);
        if (material.type() == kInvalidCookie)
            break;
        ce_handle in =
            appendEventPair(material, inLine.number(3), outLine.number(0) - inLine.number(0), -1.0);
        if (!in.valid())
            break;
        applyValues(in, inLine, outLine);
    }
    return numEvents() % 2 == 0;
}
