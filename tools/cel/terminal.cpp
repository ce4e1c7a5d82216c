#include "tools/cel/terminal.h"

#include "tools/cel/text.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#ifdef _WIN32
#include <io.h>
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace cel::tool {

namespace {

constexpr std::size_t kNarrowest = 40;

#ifdef _WIN32

bool isTerminal(std::FILE* file)
{
    return _isatty(_fileno(file)) != 0;
}

/// Whether the console takes colour as codes in the text; it has to be asked to.
bool understandsColour()
{
    constexpr DWORD kCodes = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which old headers lack
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) && SetConsoleMode(output, mode | kCodes);
}

std::size_t widthOfOutput()
{
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return 0;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

#else

bool isTerminal(std::FILE* file)
{
    return isatty(fileno(file)) != 0;
}

bool understandsColour()
{
    return true;
}

std::size_t widthOfOutput()
{
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

#endif

bool wantsColour()
{
    const char* refused = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return (!refused || !*refused) && !(kind && std::string_view(kind) == "dumb");
}

const char* codeOf(Style style)
{
    switch (style) {
    case Style::plain:
        break;
    case Style::dim:
        return "\033[2m";
    case Style::picture:
        return "\033[36m";
    case Style::sound:
        return "\033[32m";
    case Style::speed:
    case Style::warning:
        return "\033[33m";
    case Style::fault:
        return "\033[31m";
    }
    return "";
}

} // namespace

Terminal terminalOfOutput()
{
    Terminal terminal;
    if (!isTerminal(stdout))
        return terminal;
    terminal.colour = wantsColour() && understandsColour();
    if (const std::size_t width = widthOfOutput())
        terminal.width = width < kNarrowest ? kNarrowest : width;
    return terminal;
}

std::string styled(std::string_view text, Style style, bool colour)
{
    if (!colour || style == Style::plain)
        return std::string(text);
    return std::string(codeOf(style)).append(text).append("\033[0m");
}

Progress::Progress(const std::string& what)
    : what_(printable(what))
{
    if (isTerminal(stderr))
        painter_ = std::thread([this] { show(); });
}

Progress::~Progress()
{
    if (!painter_.joinable())
        return;
    {
        const std::lock_guard hold(lock_);
        done_ = true;
    }
    changed_.notify_one();
    painter_.join();
}

void Progress::show()
{
    using namespace std::chrono_literals;
    constexpr int kBar = 20;
    constexpr int kBlock = 4;
    std::unique_lock hold(lock_);
    if (changed_.wait_for(hold, 1s, [this] { return done_; }))
        return;
    for (int step = 0; !done_; ++step) {
        // The block runs to the right end of the bar and back.
        constexpr int kWay = kBar - kBlock;
        const int place = step % (2 * kWay) < kWay ? step % kWay : kWay - step % kWay;
        const std::string bar = std::string(static_cast<std::size_t>(place), '.') +
                                "====" + std::string(static_cast<std::size_t>(kWay - place), '.');
        std::fprintf(stderr, "\r[%s] %s, %d s", bar.c_str(), what_.c_str(), 1 + step / 10);
        std::fflush(stderr);
        changed_.wait_for(hold, 100ms, [this] { return done_; });
    }
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
}

} // namespace cel::tool
