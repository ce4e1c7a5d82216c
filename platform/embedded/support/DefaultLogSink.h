#pragma once

#include "platform/embedded/support/BurstLimiter.h"
#include "platform/support/Log.h"

#include <memory>
#include <string>
#include <string_view>

namespace spdlog {
class logger;
}

namespace cel::detail {

/// Writes reports to the log file and the console. Nothing is opened before the first report. Not
/// to be used from two threads at once.
class DefaultLogSink
{
public:
    DefaultLogSink();
    ~DefaultLogSink();

    /// @param kind    what all reports of one site have in common.
    /// @param caller  where the stack that is written with the text begins; null for no stack.
    void write(LogChannel channel, std::string_view kind, const std::string& text,
               const void* caller);

    /// Writes what is known of messages that were left out.
    void flush();

private:
    void open();
    void writeOmitted(const std::vector<BurstLimiter::Omitted>& omitted);
    void put(LogChannel channel, std::string_view text);

    BurstLimiter limiter_;
    BurstLimiter::Time lastSweep_{};
    std::shared_ptr<spdlog::logger> file_;
    std::shared_ptr<spdlog::logger> console_;
    bool open_ = false;
    bool verbose_ = false;
};

} // namespace cel::detail
