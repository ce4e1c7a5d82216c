#include "platform/support/Log.h"

#include "platform/embedded/support/DefaultLogSink.h"
#include "platform/foundation/Exception.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include <locale.h>
#if defined(_MSC_VER)
#include <intrin.h>
#endif
#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace {

using cel::LogChannel;
using cel::LogSink;

/// Where reports go. Made by the first report or the first new sink, also during static
/// initialisation; never destroyed, since static objects may report in their destructors.
class Outlet
{
public:
    static Outlet& instance()
    {
        static Outlet& outlet = *new Outlet;
        return outlet;
    }

    LogSink replace(LogSink sink)
    {
        auto next = sink ? std::make_shared<LogSink>(std::move(sink)) : nullptr;
        const std::scoped_lock lock(mutex_);
        default_.flush();
        sink_.swap(next);
        return next ? *next : LogSink();
    }

    /// @param kind    what all reports of one site have in common.
    /// @param caller  where the stack to be written begins, or null.
    void write(LogChannel channel, std::string_view kind, const std::string& text,
               const void* caller = nullptr)
    {
        const std::scoped_lock lock(mutex_);
        const auto sink = reporting_ ? nullptr : sink_; // a copy: the sink may replace itself
        const bool former = std::exchange(reporting_, true);
        try {
            if (sink)
                (*sink)(channel, text);
            else
                default_.write(channel, kind, text, caller);
        } catch (...) {
            // A report must not become a second fault.
        }
        reporting_ = former;
    }

    void flush()
    {
        const std::scoped_lock lock(mutex_);
        default_.flush();
    }

private:
    Outlet()
    {
        std::atexit([] { instance().flushAtExit(); });
    }

    /// Where threads are killed before a module is unloaded, one of them may hold the lock for
    /// ever.
    void flushAtExit()
    {
        if (const std::unique_lock lock(mutex_, std::try_to_lock); lock)
            default_.flush();
    }

    std::recursive_mutex mutex_;
    std::shared_ptr<LogSink> sink_;
    bool reporting_ = false;
    cel::detail::DefaultLogSink default_;
};

/// Numbers as in the "C" locale for as long as it lives, in this thread alone.
class PlainNumbers
{
public:
#if defined(_WIN32)
    PlainNumbers()
        : former_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE))
    {
        if (former_ == kShared || former_ == kOwn) {
            name_ = setlocale(LC_ALL, nullptr);
            setlocale(LC_ALL, "C");
        }
    }
    ~PlainNumbers()
    {
        if (former_ == kShared || former_ == kOwn) {
            setlocale(LC_ALL, name_.c_str());
            _configthreadlocale(former_);
        }
    }

private:
    static constexpr int kShared = _DISABLE_PER_THREAD_LOCALE;
    static constexpr int kOwn = _ENABLE_PER_THREAD_LOCALE;

    int former_; ///< neither where the runtime knows no locales of threads
    std::string name_;
#else
    PlainNumbers()
        : former_(plain() ? uselocale(plain()) : locale_t())
    {
    }
    ~PlainNumbers()
    {
        if (former_)
            uselocale(former_);
    }

private:
    static locale_t plain()
    {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t());
        return locale;
    }

    locale_t former_;
#endif
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
};

CEL_PRINTF(1, 0)
std::string formatted(const char* format, std::va_list arguments)
{
    [[maybe_unused]] const PlainNumbers plain;
    char shortText[512];
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(shortText, sizeof(shortText), format, arguments);
    std::string text;
    if (length < 0) {
        text = format; // arguments that cannot be shown; the format still tells the site
    } else if (static_cast<std::size_t>(length) < sizeof(shortText)) {
        text.assign(shortText, static_cast<std::size_t>(length));
    } else {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

CEL_PRINTF(2, 0)
void report(LogChannel channel, const char* format, std::va_list arguments) noexcept
{
    try {
        Outlet::instance().write(channel, format, formatted(format, arguments));
    } catch (const std::exception&) {
        // Out of memory: nobody to tell.
    }
}

void reportText(LogChannel channel, const char* text, const void* caller = nullptr) noexcept
{
    try {
        Outlet::instance().write(channel, text, text, caller);
    } catch (const std::exception&) {
        // As above.
    }
}

} // namespace

void Log(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    report(LogChannel::log, format, arguments);
    va_end(arguments);
}

void LogBoth(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    report(LogChannel::both, format, arguments);
    va_end(arguments);
}

void vond_printf(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    report(LogChannel::print, format, arguments);
    va_end(arguments);
}

void logStacktrace(const char* text)
{
#if defined(_MSC_VER)
    const void* const caller = _ReturnAddress();
#else
    const void* const caller = __builtin_return_address(0);
#endif
    reportText(LogChannel::stacktrace, text, caller);
}

void qa_splat(const char* text, int code)
{
    char suffix[16] = "";
    if (code != 0)
        std::snprintf(suffix, sizeof(suffix), " (%d)", code);
    try {
        Outlet::instance().write(LogChannel::quality, text, std::string(text) + suffix);
    } catch (const std::exception&) {
        // Out of memory: nobody to tell.
    }
}

void ura_splat(const char* text)
{
    reportText(LogChannel::fatal, text);
    throw Kt::Exception::Base(text, "", 0);
}

namespace cel {

LogSink setLogSink(LogSink sink)
{
    return Outlet::instance().replace(std::move(sink));
}

void flushLog()
{
    Outlet::instance().flush();
}

} // namespace cel
