// How benchmarks measure: each contestant runs in a child process of its own, round by round in
// turn, so that what else the machine does meets all of them alike. Medians are reported.
#ifndef TNX_BENCH_HARNESS_H
#define TNX_BENCH_HARNESS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace TnxBench
{

// Performs so many requests. Exits the process when one fails.
using Run = std::function<void(uint64_t count)>;

struct Contestant {
    std::string name;
    std::function<Run()> prepare; // in the child, before the clock starts
};

struct Workload {
    std::string title;
    uint64_t count = 1;  // requests in a round
    uint64_t warmUp = 0; // requests before the clock starts
    int rounds = 5;
    bool memory = false; // compare memory a request instead of CPU
    double aim = 0;      // of the ratio, last contestant to first; 0: they are not compared
};

// Runs and prints a table.
void Compare(const Workload &workload, const std::vector<Contestant> &contestants);

// Runs and prints the ratios to the first contestant alone.
void CompareRatios(const Workload &workload, const std::vector<Contestant> &contestants);

// Ends the process because a request failed.
[[noreturn]] void Fail(const std::string &what);

uint64_t ResidentKib();
uint64_t PeakKib();

} // namespace TnxBench

#endif
