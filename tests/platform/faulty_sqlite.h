#pragma once

#include <functional>

namespace cel::test {

/// Stands between SQLite and the system for as long as it lives, in every file that is opened
/// meanwhile: sees each call that changes something, and may let it fail.
class FaultySqlite
{
public:
    enum class Act {
        passOn,
        fail,    ///< as a broken disk does
        full,    ///< as a full one
        shorten, ///< writes the first half of what should be written, then fails
    };

    /// @param decide  is asked before each call, which is counted from 1.
    explicit FaultySqlite(std::function<Act(int call)> decide);
    ~FaultySqlite();
    FaultySqlite(const FaultySqlite&) = delete;
    FaultySqlite& operator=(const FaultySqlite&) = delete;

    int calls() const { return calls_; }

    /// For the interposed functions: counts a call and decides on it.
    Act act() { return decide_(++calls_); }

private:
    std::function<Act(int)> decide_;
    int calls_ = 0;
};

} // namespace cel::test
