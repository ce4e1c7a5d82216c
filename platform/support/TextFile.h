#pragma once

#include "platform/export.h"
#include "platform/foundation/LightweightString.h"

#include <cstddef>
#include <string>
#include <vector>

/// A text file as a list of lines, without their line ends.
class CEL_PLATFORM_API TextFile
{
public:
    /// An empty file that has no path yet.
    TextFile() = default;

    /// A file at `path`. With `load` its lines are read: line ends may be LF, CR LF or CR, a
    /// byte-order mark is dropped. A file that cannot be read, or has more bytes or lines than are
    /// allowed, gives no lines and `loaded()` false.
    TextFile(const LightweightString<wchar_t>& path, bool load);

    bool loaded() const { return loaded_; }

    /// Why the last load or save failed; empty after a success.
    const std::string& error() const { return error_; }

    void appendLine(const LightweightString<char>& line) { lines_.push_back(line); }

    /// Line `index`, counted from 0; an empty line past the end.
    const LightweightString<char>& operator[](std::size_t index) const;

    std::size_t numLines() const { return lines_.size(); }

    /// How `save` ends each line.
    enum LineEnd : int { kLineFeed = 0, kCarriageReturnLineFeed = 1 };

    /// Writes all lines aside and then takes the place of the file at `path` at once; on a failure
    /// the old file is untouched. An empty path means the one of the constructor.
    /// @return whether it is on the disk.
    bool save(const LightweightString<wchar_t>& path, int lineEnd);

    /// Longest file that is read.
    static constexpr std::size_t kLargestBytes = std::size_t(64) << 20;
    static constexpr std::size_t kMostLines = 2'000'000;

private:
    bool load();

    LightweightString<wchar_t> path_;
    std::vector<LightweightString<char>> lines_;
    std::string error_;
    bool loaded_ = false;
};
