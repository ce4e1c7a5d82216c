#include "bench/table.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

namespace cel::bench {

namespace {

/// Long enough that reading the clock and one visit of the scheduler do not count.
constexpr double kSecondsPerRun = 0.02;

struct Run
{
    double nanosecondsPerPass;
    std::int64_t passes;
};

/// Takes the runs that the benchmark library reports instead of printing them.
class Capture : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<BenchmarkReporter::Run>& reported) override
    {
        for (const auto& run : reported)
            runs_.push_back({run.GetAdjustedRealTime(), run.iterations});
    }
    const std::vector<bench::Run>& runs() const { return runs_; }

private:
    std::vector<bench::Run> runs_;
};

benchmark::internal::Benchmark* enter(const char* name, const std::function<void()>& pass)
{
    const auto passes = [&pass](benchmark::State& state) {
        for ([[maybe_unused]] auto iteration : state) {
            pass();
            benchmark::ClobberMemory();
        }
    };
    return benchmark::RegisterBenchmark(name, passes)->UseRealTime();
}

/// Runs what was entered, each once, in the order of entry.
std::vector<Run> runEntered()
{
    Capture capture;
    benchmark::RunSpecifiedBenchmarks(&capture, "all");
    return capture.runs();
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

Result measure(const Row& row, std::size_t sections, int repetitions)
{
    const Contest contest = row.prepare(sections);

    // The first round warms caches and pages and finds out how many passes make a run.
    enter("operation", contest.operation)->MinTime(kSecondsPerRun);
    enter("floor", contest.floor)->MinTime(kSecondsPerRun);
    const std::vector<Run> first = runEntered();
    benchmark::ClearRegisteredBenchmarks();

    enter("operation", contest.operation)->Iterations(first.at(0).passes);
    enter("floor", contest.floor)->Iterations(first.at(1).passes);
    std::vector<double> times;
    std::vector<double> floors;
    for (int i = 0; i < repetitions; ++i) {
        const std::vector<Run> round = runEntered();
        times.push_back(round.at(0).nanosecondsPerPass);
        floors.push_back(round.at(1).nanosecondsPerPass);
    }
    benchmark::ClearRegisteredBenchmarks();

    const auto perPass = static_cast<double>(contest.perPass);
    return {row.operation, sections, median(times) / perPass, median(floors) / perPass};
}

} // namespace cel::bench
