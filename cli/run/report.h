// Writes what people asked to see of a transfer, in a settled order.
#ifndef TNX_CLI_REPORT_H
#define TNX_CLI_REPORT_H

#include <map>
#include <string>

#include "base/settings.h"
#include "output/har.h"
#include "output/timing.h"
#include "transfer.h"

namespace TnxTool
{

class Reporter
{
public:
    explicit Reporter(const RunSettings &settings)
        : settings_(settings)
    {
    }

    // Reports one transfer. Call it in the order of the URLs.
    void Report(Transfer &transfer);

    // Writes what covers the whole run.
    void Finish();

private:
    void ReportDebug(const Settings &settings, const Outcome &outcome);
    std::string ReceivedHead(const Outcome &outcome, bool toOutput) const;
    void ReportTiming(const Outcome &outcome);
    void WriteTo(const std::string &file, const std::string &text);

    const RunSettings &settings_;
    std::map<std::string, bool> begun_; // files that this run has written to
    HttpArchive archive_;
    Timing timing_;
    const std::chrono::system_clock::time_point start_ = std::chrono::system_clock::now();
};

} // namespace TnxTool

#endif
