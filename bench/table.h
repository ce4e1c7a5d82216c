#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace cel::bench {

/// One operation beside its floor, both ready to run on data of one size.
///
/// The floor is the work that the operation cannot avoid, mostly memory traffic. A pass of either
/// leaves everything as it found it, so that every pass measures the same thing.
struct Contest
{
    std::function<void()> operation;
    std::function<void()> floor;
    std::size_t perPass = 1; ///< operations in a pass; times are given for one
};

/// A line of the table for each of its sizes.
struct Row
{
    std::string operation;
    std::vector<std::size_t> sizes; ///< sections on the track
    std::function<Contest(std::size_t sections)> prepare;
};

/// What is no time and so has no place in the table: counted, and told in words.
struct Note
{
    std::string subject;
    std::function<std::string()> count;
};

/// From the cache to memory.
inline const std::vector<std::size_t> kSizes = {1'000, 10'000, 100'000, 1'000'000};

/// What stands in one line.
struct Result
{
    std::string operation;
    std::size_t sections;
    double time;  ///< nanoseconds for one operation
    double floor; ///< nanoseconds

    double ratio() const { return time / floor; }
};

/// Runs operation, floor, operation, floor, ... and takes the median of each: what disturbs the
/// machine for a while disturbs both.
Result measure(const Row& row, std::size_t sections, int repetitions);

std::string tableHeader();
std::string tableLine(const Result& result);

/// Writes the results as an array of {"operation", "n", "time_ns", "floor_ns", "ratio"}.
/// @return what went wrong, or nothing.
std::optional<std::string> saveJson(const std::vector<Result>& results, const std::string& path);

} // namespace cel::bench
