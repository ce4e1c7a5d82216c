#pragma once

#include "platform/support/Log.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace cel::test {

/// Receives what the library reports for as long as it lives, instead of the log file. Reports may
/// come from any thread; ask for them when those threads are done.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The texts so far, one behind the other: all, or those of one channel.
    std::string text() const;
    std::string text(LogChannel channel) const;

    std::size_t count() const { return reports_.size(); }
    void clear() { reports_.clear(); }

private:
    std::vector<std::pair<LogChannel, std::string>> reports_;
    LogSink former_;
};

} // namespace cel::test
