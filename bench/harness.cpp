// Children, clocks and the table.
#include "harness.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TnxBench
{

namespace
{

struct Sample {
    double seconds;
    double cpuSeconds;
    double peakKib;
    double grownKib;
};

double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

Sample Measure(const Workload &workload, const Contestant &contestant)
{
    const uint64_t before = ResidentKib();
    const Run run = contestant.prepare();
    if (workload.warmUp > 0) {
        run(workload.warmUp);
    }
    const auto begin = std::chrono::steady_clock::now();
    const double cpu = CpuSeconds();
    run(workload.count);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    const uint64_t peak = PeakKib();
    return {took.count(), CpuSeconds() - cpu, static_cast<double>(peak),
            static_cast<double>(peak - before)};
}

Sample MeasureInChild(const Workload &workload, const Contestant &contestant)
{
    int ends[2];
    if (pipe(ends) != 0) {
        Fail("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        const Sample sample = Measure(workload, contestant);
        _exit(write(ends[1], &sample, sizeof sample) == sizeof sample ? 0 : 1);
    }
    close(ends[1]);
    Sample sample{};
    const bool whole = read(ends[0], &sample, sizeof sample) == sizeof sample;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (!whole || status != 0) {
        Fail(contestant.name + " did not finish");
    }
    return sample;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double MedianOf(const std::vector<Sample> &samples, double Sample::*member)
{
    std::vector<double> values;
    for (const auto &sample : samples) {
        values.push_back(sample.*member);
    }
    return Median(std::move(values));
}

// Round by round, so that both sides met the same machine.
double RatioOf(const Workload &workload, const std::vector<Sample> &first,
               const std::vector<Sample> &other)
{
    const auto member = workload.memory ? &Sample::grownKib : &Sample::cpuSeconds;
    std::vector<double> ratios;
    for (size_t round = 0; round < first.size(); ++round) {
        ratios.push_back(other[round].*member / first[round].*member);
    }
    return Median(std::move(ratios));
}

void PrintTable(const Workload &workload, const std::vector<Contestant> &contestants,
                const std::vector<std::vector<Sample>> &samples)
{
    const auto count = static_cast<double>(workload.count);
    std::printf("\n%s  (%d rounds of %llu)\n", workload.title.c_str(), workload.rounds,
                static_cast<unsigned long long>(workload.count));
    std::printf("  %-10s %12s %16s %10s %14s\n", "", "requests/s", "CPU us/request", "peak MiB",
                workload.memory ? "KiB/request" : "");
    for (size_t i = 0; i < contestants.size(); ++i) {
        std::printf("  %-10s %12.1f %16.1f %10.1f", contestants[i].name.c_str(),
                    count / MedianOf(samples[i], &Sample::seconds),
                    MedianOf(samples[i], &Sample::cpuSeconds) * 1e6 / count,
                    MedianOf(samples[i], &Sample::peakKib) / 1024);
        if (workload.memory) {
            std::printf(" %14.1f", MedianOf(samples[i], &Sample::grownKib) / count);
        }
        std::printf("\n");
    }
    if (workload.aim != 0) {
        std::printf("  ratio %.2f (aim %.2f)\n", RatioOf(workload, samples.front(), samples.back()),
                    workload.aim);
    }
}

std::vector<std::vector<Sample>> Play(const Workload &workload,
                                      const std::vector<Contestant> &contestants)
{
    std::fflush(stdout);
    std::vector<std::vector<Sample>> samples(contestants.size());
    for (int round = 0; round < workload.rounds; ++round) {
        for (size_t i = 0; i < contestants.size(); ++i) {
            samples[i].push_back(MeasureInChild(workload, contestants[i]));
        }
    }
    return samples;
}

// A figure of /proc/self/status, in KiB.
uint64_t StatusKib(const std::string &name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0) {
            return std::strtoull(line.c_str() + name.size() + 1, nullptr, 10);
        }
    }
    return 0;
}

} // namespace

void Compare(const Workload &workload, const std::vector<Contestant> &contestants)
{
    PrintTable(workload, contestants, Play(workload, contestants));
}

void CompareRatios(const Workload &workload, const std::vector<Contestant> &contestants)
{
    const std::vector<std::vector<Sample>> samples = Play(workload, contestants);
    std::printf("\n%s, CPU to that of %s\n", workload.title.c_str(),
                contestants.front().name.c_str());
    for (size_t i = 1; i < contestants.size(); ++i) {
        std::printf("  %-12s %6.2f\n", contestants[i].name.c_str(),
                    RatioOf(workload, samples.front(), samples[i]));
    }
}

void Fail(const std::string &what)
{
    std::fprintf(stderr, "bench: %s\n", what.c_str());
    _exit(1);
}

uint64_t ResidentKib()
{
    return StatusKib("VmRSS");
}

uint64_t PeakKib()
{
    return StatusKib("VmHWM");
}

} // namespace TnxBench
