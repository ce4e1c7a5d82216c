#include "interchange/subtitle_markup.h"
#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"
#include "platform/support/TextSearch.h"
#include "platform/support/utf8.h"
#include "subtitles/SubtitleStyleManager.h"
#include "tools/cel/command_line.h"
#include "tools/cel/commands.h"
#include "tools/cel/subtitle_work.h"
#include "tools/cel/text.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>

namespace cel::tool {

namespace {

// ---- find -------------------------------------------------------------------------------------

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// The subtitles with the words in what is seen of a line.
std::vector<std::size_t> findAll(const std::vector<PlacedSubtitle>& subtitles,
                                 const std::string& text)
{
    const TextSearch::Criteria criteria(toWide(text));
    const auto says = [&criteria](const std::string& line) {
        const LightweightString<wchar_t> shown = toWide(withoutCueTags(line));
        return !shown.empty() && TextSearch::match(shown, criteria, 0);
    };
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < subtitles.size(); ++i)
        if (std::any_of(subtitles[i].lines.begin(), subtitles[i].lines.end(), says))
            found.push_back(i);
    return found;
}

int runFind(const SubtitleOptions& options)
{
    SubtitleWork work(options);
    const std::vector<std::size_t> found = findAll(work.subtitles(), joined(options.words));
    if (options.json) {
        Json list = Json::array();
        for (const std::size_t index : found)
            list.push(work.json(index));
        return work.answer(list.text());
    }
    std::string text = counted(static_cast<long long>(found.size()), "subtitle") + " of " +
                       std::to_string(work.subtitles().size()) + "\n";
    for (const std::size_t index : found)
        text += work.line(index);
    return work.answer(text);
}

// ---- set --------------------------------------------------------------------------------------

int runSet(const SubtitleOptions& options)
{
    SubtitleWork work(options);
    const std::size_t index = work.indexAt(options.at);
    std::string text;
    for (const std::string& word : options.words)
        text += asOneLine(word, kLongestCueText) + "\n";
    const std::string clean = cleanCueText(text).text;
    if (clean.empty())
        throw Failure(kUsage, "a subtitle needs a text; cel edit removes it");
    std::vector<std::string> lines;
    for (DecodedLines rest(clean); const auto line = rest.next();)
        lines.emplace_back(*line);
    std::string report = "was\n" + work.line(index);
    work.set(index, lines, work.subtitles()[index].style);
    report += "is\n" + work.line(index);
    report += work.save();
    return work.answer(options.json ? work.json(index).text() : report);
}

// ---- styles -----------------------------------------------------------------------------------

const char* describePlace(CuePlacement placement)
{
    constexpr const char* kPlaces[] = {"top left",  "middle left",  "bottom left",
                                       "top",       "middle",       "bottom",
                                       "top right", "middle right", "bottom right"};
    return kPlaces[static_cast<std::size_t>(placement) - 1];
}

std::string describeStyle(const std::string& style)
{
    return style.empty() ? "(default)" : printable(style);
}

int listStyles(const SubtitleOptions& options)
{
    SubtitleWork work(options);
    std::map<std::string, long long> uses;
    for (const PlacedSubtitle& subtitle : work.subtitles())
        ++uses[subtitle.style];
    Json list = Json::array();
    std::string text;
    for (const auto& [style, count] : uses) {
        const char* const place = describePlace(placementOfStyle(style));
        Json json = Json::object();
        json.set("style", style).set("place", place).set("subtitles", static_cast<int>(count));
        list.push(std::move(json));
        text += "  " + padded(describeStyle(style), 12) + "  " + padded(place, 12) + "  " +
                counted(count, "subtitle") + "\n";
    }
    return work.answer(options.json ? list.text() : text);
}

/// Styles that can be given: those of the registry, and those of the places.
void requireStyle(const std::string& style)
{
    std::string known;
    for (const SubtitleStyle& candidate : SubtitleStyleManager::instance().getStyles()) {
        if (candidate.id.view() == style)
            return;
        known += printable(candidate.id.view()) + ", ";
    }
    for (int place = 1; place <= 9; ++place) {
        const auto position = static_cast<SubtitleStyle::ePosition>(place);
        const LightweightString<char> id = SubtitleStyle::asString(position);
        if (id.view() == style)
            return;
        known += std::string(id.view()) + (place < 9 ? ", " : "");
    }
    throw Failure(kUsage, "no style is called " + printable(style) + "; there are: " + known);
}

int runStyle(const SubtitleOptions& options)
{
    if (options.at.empty())
        return listStyles(options);
    if (options.value.empty())
        throw Failure(kUsage, "STYLE is missing: cel subtitles style FILE.cel TRACK AT STYLE");
    requireStyle(options.value);
    SubtitleWork work(options);
    const bool all = options.at == "all";
    const std::size_t first = all ? 0 : work.indexAt(options.at);
    const std::size_t last = all ? work.subtitles().size() : first + 1;
    Json changed = Json::array();
    for (std::size_t i = first; i < last; ++i) {
        work.set(i, work.subtitles()[i].lines, options.value);
        changed.push(work.json(i));
    }
    const std::string saved = work.save();
    return work.answer(options.json ? changed.text()
                                    : counted(static_cast<long long>(last - first), "subtitle") +
                                          " in style " + printable(options.value) + "\n" + saved);
}

// ---- font -------------------------------------------------------------------------------------

std::string describeFont(const FontDefinition& font, bool asJson)
{
    const std::string face = toUtf8(font.faceName.view());
    if (!asJson)
        return printable(face) + ", size " + number(double{font.size}) + "\n";
    Json json = Json::object();
    json.set("face", face).set("size", double{font.size});
    return json.text();
}

float sizeOf(const std::string& text)
{
    float size = 0.0F;
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), size);
    constexpr float kLargest = 100.0F;
    if (fault != std::errc() || end != text.data() + text.size() || !(size > 0.0F) ||
        size > kLargest)
        throw Failure(kUsage, "--size " + printable(text) + " is no number above 0 and up to 100");
    return size;
}

int runFont(const SubtitleOptions& options)
{
    SubtitleWork work(options);
    FontDefinition font = work.track().getFont();
    if (options.value.empty() && options.size.empty()) {
        return work.answer(describeFont(font, options.json));
    }
    const std::string face = asOneLine(options.value, kLongestTextLine);
    if (face.empty() && !options.value.empty())
        throw Failure(kUsage, "FACE is empty; a font needs a name");
    if (!face.empty())
        font.faceName = toWide(face);
    if (!options.size.empty())
        font.size = sizeOf(options.size);
    work.track().setFont(font);
    const std::string saved = work.save();
    return work.answer(describeFont(font, options.json) + (options.json ? "" : saved));
}

// ---- the command line -------------------------------------------------------------------------

using Options = std::shared_ptr<SubtitleOptions>;

void describeTrack(Command& command, const Options& options)
{
    command.argument("FILE.cel", options->file, "The cut");
    command.argument("TRACK", options->track, "Name of the subtitle track: S1");
}

void describeSaving(Command& command, const Options& options)
{
    command.option("-o,--output", options->output,
                   "Save as this .cel or .celdb file; without it in place");
    command.flag("--force", options->force, "Write tracks that the form would damage");
}

constexpr const char* kFamily = "What to do";
constexpr const char* kPlaceHelp = "Which one: its number (#12), or a time at which it is shown";

void addFind(Command& above, const Options& options, int& exitCode)
{
    Command command(above, "find",
                    "Lists the subtitles in which words stand; letters match in all "
                    "cases",
                    kFamily, "cel subtitles find FILE.cel TRACK TEXT");
    describeTrack(command, options);
    command.arguments("TEXT", options->words, "What to look for within a line", true);
    command.flag("--json", options->json, "Print them as JSON");
    command.footer("Example:\n  cel subtitles find cut.cel S1 the next tide");
    command.runs([options] { return runFind(*options); }, exitCode);
}

void addSet(Command& above, const Options& options, int& exitCode)
{
    Command command(above, "set", "Replaces the text of a subtitle", kFamily,
                    "cel subtitles set FILE.cel TRACK AT LINE [LINE...] [OPTIONS]");
    describeTrack(command, options);
    command.argument("AT", options->at, kPlaceHelp);
    command.arguments("LINE", options->words, "The text, an argument for each line", true);
    describeSaving(command, options);
    command.flag("--json", options->json, "Print the subtitle as JSON");
    command.footer("Example:\n  cel subtitles set cut.cel S1 '#3' \"He said that a knot\" "
                   "\"is a promise.\"");
    command.runs([options] { return runSet(*options); }, exitCode);
}

void addStyle(Command& above, const Options& options, int& exitCode)
{
    Command command(above, "style", "Lists the styles in use, or gives a subtitle one", kFamily,
                    "cel subtitles style FILE.cel TRACK [AT|all STYLE] [OPTIONS]");
    describeTrack(command, options);
    command.argument("AT", options->at, std::string(kPlaceHelp) + "; all for all", false);
    command.argument("STYLE", options->value,
                     "A style of the registry, or a place: LT L RT, LM C RM, LB B RB", false);
    describeSaving(command, options);
    command.flag("--json", options->json, "Print the list, or what was changed, as JSON");
    command.footer("Example:\n  cel subtitles style cut.cel S1 10:00:14:05 L");
    command.runs([options] { return runStyle(*options); }, exitCode);
}

void addFont(Command& above, const Options& options, int& exitCode)
{
    Command command(above, "font", "Shows the font of the track, or sets it", kFamily,
                    "cel subtitles font FILE.cel TRACK [FACE] [--size SIZE] [OPTIONS]");
    describeTrack(command, options);
    command.argument("FACE", options->value, "Name of the face", false);
    command.option("--size", options->size, "Height; 1 is normal");
    describeSaving(command, options);
    command.flag("--json", options->json, "Print the font as JSON");
    command.footer("Example:\n  cel subtitles font cut.cel S1 \"DejaVu Sans\" --size 1.2");
    command.runs([options] { return runFont(*options); }, exitCode);
}

} // namespace

void addSubtitlesCommand(CLI::App& program, int& exitCode)
{
    auto options = std::make_shared<SubtitleOptions>();
    Command command(program, "subtitles", "Finds subtitles and changes their text, style and font");
    command.otherwise(
        [] { throw Failure(kUsage, "say what to do: cel subtitles find, set, style or font"); });
    addFind(command, options, exitCode);
    addSet(command, options, exitCode);
    addStyle(command, options, exitCode);
    addFont(command, options, exitCode);
    command.footer("Subtitles come in with cel import --into and leave with cel export; cel edit "
                   "moves and removes them\nwith the picture.");
}

} // namespace cel::tool
