// Draws the phases of transfers as a waterfall, or tells what many runs of one took.
#ifndef TNX_CLI_TIMING_H
#define TNX_CLI_TIMING_H

#include <map>
#include <string>
#include <vector>

#include "answer/outcome.h"
#include "answer/phases.h"

namespace TnxTool
{

class Timing
{
public:
    // Takes what one transfer took: a row for each phase of each hop. `begin`, in microseconds,
    // is where the transfer stands on the axis that all share.
    void Add(const Outcome &outcome, double begin);

    // Takes it as one of several runs of the same URL.
    void Measure(const Outcome &outcome);

    // Draws what was taken since the last time.
    std::string Draw(unsigned int width);

private:
    struct Row {
        std::string title = {}; // of a hop; else it is a phase
        std::string name = {};
        double begin = 0;
        double end = 0;
        std::string note = {};
        bool bar = true;
    };

    // The runs of one URL: durations by phase, in microseconds.
    struct Runs {
        std::string title;
        std::map<Phase::Kind, std::vector<double>> phases;
        std::vector<double> totals;
        size_t failed = 0;
    };

    std::vector<Row> rows_;
    std::map<size_t, Runs> runs_; // by the number of their first transfer
};

} // namespace TnxTool

#endif
