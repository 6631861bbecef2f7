// Draws the phases of a transfer as a waterfall.
#include "timing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "answer/phases.h"

namespace TnxTool
{

namespace
{

constexpr unsigned int LABELS = 30; // columns left and right of the bars
constexpr unsigned int MIN_BARS = 20;
constexpr unsigned int MAX_BARS = 80;
constexpr double MILLISECOND = 1000;

std::string Row(const char *name, const std::string &bar, double microseconds, const char *note)
{
    char label[32];
    char duration[48];
    std::snprintf(label, sizeof(label), "  %-11s ", name);
    std::snprintf(duration, sizeof(duration), "%10.2f ms", microseconds / MILLISECOND);
    return label + bar + duration + note + "\n";
}

} // namespace

std::string DrawTiming(const Outcome &outcome, unsigned int width)
{
    const Tnx_TimeInfo *times = outcome.response ? outcome.response->timeInfo : nullptr;
    if (times == nullptr) {
        return "no times are known\n";
    }
    const size_t columns = std::clamp(width > LABELS ? width - LABELS : 0, MIN_BARS, MAX_BARS);
    const double whole = std::max(times->total, 1.0);
    const auto column = [&](double at) {
        const double place = std::floor(at / whole * static_cast<double>(columns));
        return std::min(static_cast<size_t>(place), columns - 1);
    };
    std::string text =
        outcome.method + " " + outcome.EffectiveUrl() + "  " +
        (outcome.status == 0 || outcome.HttpStatus() != 0 ? std::to_string(outcome.HttpStatus())
                                                          : "failed") +
        "\n";
    if (times->queue > 0) {
        text += Row("queue", std::string(columns, ' '), static_cast<double>(times->queue), "");
    }
    for (const Phase &phase : ReadPhases(*times, outcome.errorCode)) {
        std::string bar(columns, ' ');
        const size_t first = column(phase.begin);
        const size_t last = std::max(first, column(phase.end));
        bar.replace(first, last - first + 1, last - first + 1, '#');
        text += Row(PhaseName(phase.kind), bar, phase.end - phase.begin,
                    phase.failed ? "  failed here" : "");
    }
    return text + Row("total", std::string(columns, ' '), times->total, "");
}

} // namespace TnxTool
