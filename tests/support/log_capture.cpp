#include "tests/support/log_capture.h"

namespace cel::test {

LogCapture::LogCapture()
    : former_(setLogSink([this](LogChannel channel, const std::string& text) {
        reports_.emplace_back(channel, text);
    }))
{
}

LogCapture::~LogCapture()
{
    setLogSink(std::move(former_));
}

std::string LogCapture::text() const
{
    std::string all;
    for (const auto& report : reports_)
        all += report.second;
    return all;
}

std::string LogCapture::text(LogChannel channel) const
{
    std::string all;
    for (const auto& report : reports_) {
        if (report.first == channel)
            all += report.second;
    }
    return all;
}

} // namespace cel::test
