#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace cel::detail {

/// The calls that are running: taken as bare addresses, which costs a few microseconds. Only who
/// asks for the text pays for reading the debug information (some 60 ms the first time).
class StackTrace
{
public:
    static constexpr std::size_t kMostFrames = 32;

    /// The calls from the one that returns to `caller` on outwards; all when it is not among them.
    static StackTrace from(const void* caller);

    /// One line for each call, innermost first: function, file and line where the debug information
    /// tells them, else the module and the offset in it. Never empty.
    std::string text() const;

private:
    std::array<std::uintptr_t, kMostFrames> addresses_{};
    std::size_t count_ = 0;
};

} // namespace cel::detail
