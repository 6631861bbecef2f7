// Draws the phases of transfers as a waterfall, or tells what many runs of one took.
#include "timing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "answer/hop_times.h"

namespace TnxTool
{

namespace
{

constexpr unsigned int LABELS = 30; // columns left and right of the bars
constexpr unsigned int MIN_BARS = 20;
constexpr unsigned int MAX_BARS = 80;
constexpr double MILLISECOND = 1000;

std::string Label(const char *name)
{
    char label[32];
    std::snprintf(label, sizeof(label), "  %-11s ", name);
    return label;
}

std::string Duration(double microseconds)
{
    char duration[48];
    std::snprintf(duration, sizeof(duration), "%10.2f ms", microseconds / MILLISECOND);
    return duration;
}

const Tnx_TimeInfo *Times(const Outcome &outcome)
{
    return outcome.response ? outcome.response->timeInfo : nullptr;
}

// Of values in order: the one that so much of them does not exceed.
double Percentile(const std::vector<double> &values, double share)
{
    const double rank = std::ceil(share * static_cast<double>(values.size()));
    return values[static_cast<size_t>(std::max(rank, 1.0)) - 1];
}

std::string StatisticsRow(const char *name, std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return Label(name) + Duration(values.front()) + Duration(Percentile(values, 0.5)) +
           Duration(Percentile(values, 0.95)) + "   " + std::to_string(values.size()) + "\n";
}

} // namespace

void Timing::Add(const Outcome &outcome, double begin)
{
    const Tnx_TimeInfo *times = Times(outcome);
    if (times == nullptr) {
        rows_.push_back({.title = outcome.method + " " + outcome.url + "  failed"});
        return;
    }
    const double queue = static_cast<double>(times->queue);
    const auto addPhases = [&](const std::vector<Phase> &phases) {
        for (const Phase &phase : phases) {
            rows_.push_back({.name = PhaseName(phase.kind),
                             .begin = begin + queue + phase.begin,
                             .end = begin + queue + phase.end,
                             .note = phase.failed ? "  failed here" : ""});
        }
    };
    std::vector<FollowedHop> followed = ReadFollowedHops(outcome);
    std::vector<Phase> last = ReadPhases(*times, outcome.errorCode);
    if (!followed.empty()) { // their rows stand for the first phase, which is their sum
        std::erase_if(last, [](const Phase &phase) { return phase.kind == Phase::REDIRECTS; });
    }
    const int status = outcome.HttpStatus();
    followed.push_back({outcome.method, outcome.EffectiveUrl(), status, last});
    for (size_t at = 0; at < followed.size(); ++at) {
        const FollowedHop &hop = followed[at];
        const bool failed = hop.status == 0 && outcome.status != 0;
        rows_.push_back({.title = hop.method + " " + hop.url + "  " +
                                  (failed ? "failed" : std::to_string(hop.status))});
        if (at == 0 && queue > 0) {
            rows_.push_back({.name = "queue", .begin = begin, .end = begin + queue});
        }
        addPhases(hop.phases);
    }
    rows_.push_back({.name = "total",
                     .begin = begin + queue,
                     .end = begin + queue + times->total,
                     .bar = false});
}

void Timing::Measure(const Outcome &outcome)
{
    Runs &runs = runs_[outcome.number - outcome.run];
    runs.title = outcome.method + " " + outcome.url;
    const Tnx_TimeInfo *times = Times(outcome);
    if (times == nullptr || outcome.status != 0) {
        ++runs.failed;
        return;
    }
    for (const Phase &phase : ReadPhases(*times, outcome.errorCode)) {
        runs.phases[phase.kind].push_back(phase.end - phase.begin);
    }
    runs.totals.push_back(times->total);
}

std::string Timing::Draw(unsigned int width)
{
    const size_t columns = std::clamp(width > LABELS ? width - LABELS : 0, MIN_BARS, MAX_BARS);
    double whole = 1;
    for (const Row &row : rows_) {
        whole = std::max(whole, row.end);
    }
    const auto column = [&](double at) {
        const double place = std::floor(at / whole * static_cast<double>(columns));
        return std::min(static_cast<size_t>(std::max(place, 0.0)), columns - 1);
    };
    std::string text;
    for (const Row &row : rows_) {
        if (!row.title.empty()) {
            text += row.title + "\n";
            continue;
        }
        std::string bar(columns, ' ');
        if (row.bar) {
            const size_t first = column(row.begin);
            const size_t length = std::max(first, column(row.end)) - first + 1;
            bar.replace(first, length, length, '#');
        }
        text += Label(row.name.c_str()) + bar + Duration(row.end - row.begin) + row.note + "\n";
    }
    rows_.clear();
    for (const auto &[number, runs] : runs_) {
        text += runs.title + "  " + std::to_string(runs.totals.size() + runs.failed) + " runs" +
                (runs.failed == 0 ? "" : ", " + std::to_string(runs.failed) + " failed") + "\n" +
                Label("") + "      minimum       median  95th percent   runs\n";
        for (const auto &[kind, durations] : runs.phases) {
            text += StatisticsRow(PhaseName(kind), durations);
        }
        text += runs.totals.empty() ? "" : StatisticsRow("total", runs.totals);
    }
    runs_.clear();
    return text;
}

} // namespace TnxTool
