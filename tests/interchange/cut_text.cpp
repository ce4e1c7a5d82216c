#include "tests/interchange/cut_text.h"

#include "tests/support/track_notation.h"

#include <sstream>

namespace cel::test {

namespace {

std::string timecode(double seconds, const FrameRate& rate)
{
    return timecodeFromFrames(nearestFrame(seconds, rate), rate);
}

void writeValue(std::ostream& out, const char* sign, double in, double end)
{
    if (in == 1.0 && end == 1.0)
        return;
    out << ' ' << sign << in;
    if (in != end)
        out << '>' << end;
}

void writeSection(std::ostream& out, const Cut& cut, const ChannelEvent& in,
                  const ChannelEvent& end)
{
    out << "  " << timecode(in.edit_time(), cut.rate) << '-' << timecode(end.edit_time(), cut.rate);
    if (in.strip_name().isBlack()) {
        out << " black";
    } else {
        out << ' ' << timecode(in.strip_time(), cut.rate);
        if (const Material* const material = cut.materials.find(in.strip_name())) {
            out << ' ' << material->reel;
            if (!material->name.empty())
                out << " \"" << material->name << '"';
            if (!material->file.empty())
                out << " [" << material->file << ']';
        } else {
            out << ' ' << in.strip_name().asString(true).view();
        }
    }
    writeValue(out, "x", double(in.velocity()), double(end.velocity()));
    writeValue(out, "level ", double(in.level_sc()), double(end.level_sc()));
    out << '\n';
}

} // namespace

std::string describe(const Cut& cut)
{
    std::ostringstream out;
    out << cut.title << ", " << describe(cut.rate) << ", from "
        << timecodeFromFrames(cut.startFrame, cut.rate) << '\n';
    for (const Kt::Ptr<Cel>& track : cut.tracks) {
        out << track->editChannelName().view() << '\n';
        const auto events = track->events();
        for (std::size_t i = 0; i + 1 < events.size(); i += 2)
            writeSection(out, cut, events[i], events[i + 1]);
    }
    return out.str();
}

Cut cutOf(std::initializer_list<std::string_view> tracks)
{
    Cut cut;
    for (const std::string_view notation : tracks)
        fill(*cut.addTrack(kVideoCookie), notation);
    return cut;
}

std::string tracksOf(const Cut& cut)
{
    std::string all;
    for (const Kt::Ptr<Cel>& track : cut.tracks)
        all += (all.empty() ? "" : ", ") + describe(*track);
    return all;
}

std::string describe(const LossLedger& losses)
{
    std::ostringstream out;
    for (const LossLedger::Entry& entry : losses.entries())
        out << entry.line << ' ' << entry.kind << ": " << entry.text << '\n';
    return out.str();
}

std::string kindsOf(const LossLedger& losses)
{
    std::string text;
    for (const LossLedger::Entry& entry : losses.entries())
        text += (text.empty() ? "" : ", ") + std::to_string(entry.line) + " " + entry.kind;
    return text;
}

} // namespace cel::test
