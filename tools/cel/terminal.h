#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace cel::tool {

/// What is known about where the output goes.
struct Terminal
{
    std::size_t width = 100; ///< columns; 100 when it is no terminal
    bool colour = false;     ///< a terminal that shows colours, unless NO_COLOR is set
};

/// The terminal behind the standard output.
Terminal terminalOfOutput();

enum class Style { plain, dim, picture, sound, speed, fault, warning };

/// The text in its colour, when colours are wanted.
std::string styled(std::string_view text, Style style, bool colour);

/// Shows on the standard error that something is still being worked on: a moving bar with the
/// seconds passed, from the second second on, and only on a terminal. It is gone afterwards.
class Progress
{
public:
    explicit Progress(const std::string& what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void show();

    std::string what_;
    bool done_ = false;
    std::mutex lock_;
    std::condition_variable changed_;
    std::thread painter_;
};

} // namespace cel::tool
