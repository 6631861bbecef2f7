// Writes what people asked to see of a transfer, in a settled order.
#ifndef TNX_CLI_REPORT_H
#define TNX_CLI_REPORT_H

#include <map>
#include <string>

#include "base/settings.h"
#include "output/har.h"
#include "transfer.h"

namespace TnxTool
{

class Reporter
{
public:
    Reporter(const Settings &settings, const Tnx_Configuration &configuration)
        : settings_(settings)
        , configuration_(configuration)
    {
    }

    // Reports one transfer. Call it in the order of the URLs.
    void Report(Transfer &transfer);

    // Writes what covers the whole run.
    void Finish();

private:
    void ReportDebug(const Outcome &outcome);
    std::string ReceivedHead(const Outcome &outcome, bool toOutput) const;
    void WriteTo(const std::string &file, const std::string &text);

    const Settings &settings_;
    const Tnx_Configuration &configuration_;
    std::map<std::string, bool> begun_; // files that this run has written to
    HttpArchive archive_;
};

} // namespace TnxTool

#endif
