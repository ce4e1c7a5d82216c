#include "interchange/subtitle_text.h"
#include "interchange/text_lines.h"
#include "interchange/webvtt.h"
#include "interchange/webvtt_text.h"

#include <utility>

namespace cel {

namespace {

constexpr std::string_view kSignature = "WEBVTT";

bool isSignature(std::string_view line)
{
    return line.starts_with(kSignature) &&
           (line.size() == kSignature.size() || line[kSignature.size()] == ' ' ||
            line[kSignature.size()] == '\t');
}

bool startsWithWord(std::string_view line, std::string_view word)
{
    return line.starts_with(word) &&
           (line.size() == word.size() || line[word.size()] == ' ' || line[word.size()] == '\t');
}

bool isKeptBlock(std::string_view firstLine)
{
    return startsWithWord(firstLine, "NOTE") || trimmed(firstLine) == "STYLE" ||
           trimmed(firstLine) == "REGION";
}

/// Reads a file block by block; a blank line ends a block, and so does an arrow that stands where
/// no times belong.
class WebVttReader
{
public:
    explicit WebVttReader(std::string_view text)
        : lines_(text)
    {
    }

    SubtitleImport read()
    {
        readHeader();
        while (!full_) {
            const auto line = lines_.next();
            if (!line)
                break;
            if (line->empty())
                endBlock();
            else if (isBlankLine(*line))
                continue; // no end of a block, and nothing to show
            else if (line->find("-->") != line->npos)
                takeTimes(*line);
            else
                takeLine(*line);
        }
        endBlock();
        result_.losses = losses_.finished();
        return std::move(result_);
    }

private:
    enum class Block { none, cue, kept, unknown };

    void readHeader()
    {
        std::string& header = result_.file.header;
        header = lines_.next()->substr(kSignature.size());
        while (const auto line = lines_.next()) {
            if (line->empty())
                return;
            if (line->find("-->") != line->npos) {
                takeTimes(*line);
                return;
            }
            if (header.size() < kLongestCueText)
                header.append("\n").append(*line);
        }
    }

    void takeTimes(std::string_view line)
    {
        // One line before the times names the cue, whatever it says.
        std::string identifier;
        if ((block_ == Block::unknown || block_ == Block::kept) && blockLines_ == 1)
            identifier = text_;
        else
            endBlock();
        text_.clear();
        textLosses_ = false;
        const auto times = parseCueTimes(line);
        block_ = times ? Block::cue : Block::unknown;
        blockLines_ = 2; // no further line can be a name
        cue_ = {};
        cue_.identifier = std::move(identifier);
        cue_.line = lines_.number();
        if (!times) {
            skipped_ = true;
            losses_.add(cue_.line, "time",
                        "these times cannot be read, and the cue is left out: " + quoted(line));
            return;
        }
        cue_.start = static_cast<double>(times->start) / 1000.0;
        cue_.end = static_cast<double>(times->end) / 1000.0;
        cue_.settings = asOneLine(times->rest, kLongestCueText);
        cue_.placement = placementOfSettings(cue_.settings);
    }

    void takeLine(std::string_view line)
    {
        if (block_ == Block::none) {
            block_ = isKeptBlock(line) ? Block::kept : Block::unknown;
            blockLine_ = lines_.number();
        }
        ++blockLines_;
        if (text_.size() + line.size() > kLongestCueText) {
            if (!std::exchange(textLosses_, true))
                losses_.add(lines_.number(), "limit", "the rest of a very long block is left out");
            return;
        }
        text_.append(text_.empty() ? "" : "\n").append(line);
    }

    void endBlock()
    {
        if (block_ == Block::cue)
            addCue();
        else if (block_ == Block::kept)
            addBlock();
        else if (block_ == Block::unknown && !skipped_)
            losses_.add(blockLine_, "unknown",
                        "this is no cue and is left out: " + quoted(asOneLine(text_, 200)));
        block_ = Block::none;
        blockLines_ = 0;
        skipped_ = false;
        textLosses_ = false;
        text_.clear();
    }

    void addBlock()
    {
        std::vector<SubtitleBlock>& blocks = result_.file.blocks;
        if (blocks.size() < kMostCues)
            blocks.push_back({result_.file.cues.size(), blockLine_, std::exchange(text_, {})});
        else
            losses_.add(blockLine_, "limit", "this is one block too many and is left out");
    }

    void addCue()
    {
        if (result_.file.cues.size() == kMostCues) {
            losses_.add(cue_.line, "limit",
                        "more than " + std::to_string(kMostCues) +
                            " cues; this one and all later ones are left out");
            full_ = true;
            return;
        }
        cue_.text = fromWebVttText(text_, cue_.line, losses_);
        result_.file.cues.push_back(std::exchange(cue_, {}));
    }

    DecodedLines lines_;
    SubtitleImport result_;
    CountedLosses losses_;
    Block block_ = Block::none;
    std::size_t blockLine_ = 0;
    std::size_t blockLines_ = 0;
    std::string text_;
    bool textLosses_ = false; ///< the block at hand was too long
    bool skipped_ = false;    ///< the block at hand has times that cannot be read
    bool full_ = false;
    SubtitleCue cue_;
};

} // namespace

std::optional<SubtitleImport> readWebVtt(std::string_view bytes, std::string& error)
{
    if (bytes.size() > kLargestTextBytes) {
        error = "the subtitles are larger than 64 MiB";
        return std::nullopt;
    }
    const DecodedText decoded = decodeSubtitles(bytes);
    if (!isSignature(decoded.text.substr(0, decoded.text.find('\n')))) {
        error = "it does not begin with WEBVTT";
        return std::nullopt;
    }
    SubtitleImport result = WebVttReader(decoded.text).read();
    result.file.encoding = decoded.encoding;
    LossLedger losses = lossesOfDecoding(decoded);
    losses.append(result.losses);
    losses.sortByLine();
    result.losses = std::move(losses);
    return result;
}

} // namespace cel
