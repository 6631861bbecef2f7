// Writes what people asked to see of a transfer, in a settled order.
#ifndef TNX_CLI_REPORT_H
#define TNX_CLI_REPORT_H

#include <chrono>

#include "base/settings.h"
#include "output/har.h"
#include "output/timing.h"
#include "transfer.h"

namespace TnxTool
{

class Reporter
{
public:
    Reporter(const RunSettings &settings, OutputFiles &files)
        : settings_(settings)
        , files_(files)
    {
    }

    // Reports one transfer. Call it in the order of the URLs.
    void Report(Transfer &transfer);

    // Writes what covers the whole run.
    void Finish();

private:
    void ReportTiming(const Outcome &outcome);

    const RunSettings &settings_;
    OutputFiles &files_;
    HttpArchive archive_;
    Timing timing_;
    const std::chrono::system_clock::time_point start_ = std::chrono::system_clock::now();
};

} // namespace TnxTool

#endif
