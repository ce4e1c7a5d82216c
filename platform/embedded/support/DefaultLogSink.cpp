#include "platform/embedded/support/DefaultLogSink.h"

#include "platform/embedded/support/StackTrace.h"
#include "platform/embedded/support/environment.h"
#include "platform/support/config.h"
#include "platform/support/utf8.h"

#if defined(_WIN32)
#define SPDLOG_WCHAR_FILENAMES
#endif
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

namespace cel::detail {

namespace {

constexpr std::size_t kLargestFile = std::size_t(8) << 20;
constexpr std::size_t kFormerFiles = 2;

std::filesystem::path logFile()
{
    const auto file = environmentPath("CEL_LOG_FILE");
    return file.empty() ? configurationFolder() / "log" / "cel.log" : file;
}

std::shared_ptr<spdlog::logger> makeLogger(spdlog::sink_ptr sink, const char* pattern)
{
    auto logger = std::make_shared<spdlog::logger>("cel", std::move(sink));
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
        pattern, spdlog::pattern_time_type::local, "\n"));
    logger->flush_on(spdlog::level::trace); // what a crash takes with it is what one looks for
    logger->set_error_handler([](const std::string&) {});
    return logger;
}

const char* nameOf(LogChannel channel)
{
    switch (channel) {
    case LogChannel::log:
    case LogChannel::both:
        return "note";
    case LogChannel::stacktrace:
        return "refused";
    case LogChannel::print:
        return "oddity";
    case LogChannel::quality:
        return "fault";
    case LogChannel::fatal:
        return "fatal";
    }
    return "report";
}

bool isForConsole(LogChannel channel)
{
    return channel == LogChannel::both || channel == LogChannel::quality ||
           channel == LogChannel::fatal;
}

std::string_view withoutLineEnd(std::string_view text)
{
    while (text.ends_with('\n') || text.ends_with('\r'))
        text.remove_suffix(1);
    return text;
}

/// Further lines are set in, so that no text can pass for a line of its own, and characters that
/// would command a terminal are written as numbers.
std::string harmless(std::string_view text)
{
    text = withoutLineEnd(text);
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '\n') {
            result += "\n    ";
        } else if ((code < 0x20 && character != '\t') || code == 0x7F) {
            constexpr std::string_view kDigits = "0123456789abcdef";
            result += {'\\', 'x', kDigits[code >> 4], kDigits[code & 0xF]};
        } else {
            result += character;
        }
    }
    return result;
}

} // namespace

DefaultLogSink::DefaultLogSink() = default;
DefaultLogSink::~DefaultLogSink() = default;

void DefaultLogSink::open()
{
    if (std::exchange(open_, true))
        return;
    verbose_ = environment("CEL_VERBOSE").value_or("") != "";
    console_ = makeLogger(std::make_shared<spdlog::sinks::stderr_sink_st>(), "cel: %v");
    const auto path = logFile();
    try {
        using FileSink = spdlog::sinks::rotating_file_sink_st;
        file_ = makeLogger(std::make_shared<FileSink>(path.native(), kLargestFile, kFormerFiles),
                           "%Y-%m-%d %H:%M:%S.%e %P %v");
    } catch (const std::exception& failure) {
        console_->log(spdlog::level::warn, harmless("no log file: " + std::string(failure.what())));
    }
}

void DefaultLogSink::write(LogChannel channel, std::string_view kind, const std::string& text,
                           const void* caller)
{
    open();
    const auto now = std::chrono::steady_clock::now();
    if (limiter_.isFull())
        flush();
    if (now - lastSweep_ >= BurstLimiter::kSilence) {
        lastSweep_ = now;
        writeOmitted(limiter_.endBursts(now));
    }
    if (!limiter_.admit(channel, kind, now))
        return;
    if (caller)
        put(channel, std::string(withoutLineEnd(text)) + "\n" + StackTrace::from(caller).text());
    else
        put(channel, text);
}

void DefaultLogSink::flush()
{
    writeOmitted(limiter_.endAll());
}

void DefaultLogSink::writeOmitted(const std::vector<BurstLimiter::Omitted>& omitted)
{
    for (const auto& [channel, kind, count] : omitted)
        put(channel, "(" + std::to_string(count) + " more like this) " + kind);
}

void DefaultLogSink::put(LogChannel channel, std::string_view text)
{
    const std::string line = harmless(text);
    if (file_)
        file_->log(spdlog::level::info, std::string(nameOf(channel)) + ": " + line);
    if (verbose_ || isForConsole(channel))
        console_->log(spdlog::level::info, line);
}

} // namespace cel::detail
