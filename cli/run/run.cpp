// Fetches all URLs of a command line.
#include "run.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include <unistd.h>

#include "base/handles.h"
#include "base/terminal.h"
#include "output/meter.h"
#include "report.h"
#include "request/configuration.h"
#include "tnx_c_ext.h"
#include "transfer.h"

namespace TnxTool
{

namespace
{

using Transfers = std::vector<std::unique_ptr<Transfer>>;

bool ShowsMeter(const Settings &settings)
{
    const bool bodyOnTerminal = settings.outputs.size() < settings.urls.size() &&
                                !settings.remoteNameAll && IsTerminal(STDOUT_FILENO);
    return IsTerminal(STDERR_FILENO) && !bodyOnTerminal && !settings.silent &&
           !settings.noProgress && !settings.verbose;
}

SessionHandle OpenSession(const Tnx_SessionConfiguration &configuration)
{
    uint32_t errorCode = TNX_OK;
    SessionHandle session(OVX_Tnx_CreateSession(&configuration, &errorCode));
    if (!session) {
        throw ToolError(EXIT_USAGE, OVX_Tnx_GetErrorText(errorCode));
    }
    return session;
}

int RunOneByOne(const Transfers &transfers, Reporter &reporter, Meter &meter, bool failEarly)
{
    int status = 0;
    for (const auto &transfer : transfers) {
        transfer->Perform();
        meter.Clear();
        reporter.Report(*transfer);
        status = transfer->GetOutcome().status != 0 ? transfer->GetOutcome().status : status;
        if (status != 0 && failEarly) {
            break;
        }
    }
    return status;
}

// Each worker takes the next transfer; the reports stay in the order of the URLs.
int RunTogether(const Transfers &transfers, Reporter &reporter, Meter &meter, size_t most,
                bool failEarly)
{
    std::vector<std::promise<void>> done(transfers.size());
    std::atomic<size_t> next = 0;
    std::atomic<bool> stop = false;
    std::vector<std::jthread> workers;
    for (size_t count = std::min(most, transfers.size()); count > 0; --count) {
        workers.emplace_back([&] {
            for (size_t at = next++; at < transfers.size(); at = next++) {
                if (!stop) {
                    transfers[at]->Perform();
                    stop = stop || (failEarly && transfers[at]->GetOutcome().status != 0);
                }
                done[at].set_value();
            }
        });
    }
    int status = 0;
    for (size_t at = 0; at < transfers.size(); ++at) {
        done[at].get_future().wait();
        if (!transfers[at]->WasPerformed()) {
            continue; // an earlier one failed
        }
        meter.Clear();
        reporter.Report(*transfers[at]);
        const int own = transfers[at]->GetOutcome().status;
        status = own != 0 ? own : status;
    }
    return status;
}

} // namespace

int RunTransfers(const Settings &settings)
{
    const RunConfiguration configuration(settings);
    Tnx_SessionConfiguration sessionConfiguration{};
    if (settings.parallel) {
        sessionConfiguration.maxConnectionsPerHost = settings.parallelMax;
        sessionConfiguration.maxTotalConnections = settings.parallelMax;
    }
    const SessionHandle session = OpenSession(sessionConfiguration);
    Meter meter(ShowsMeter(settings), settings.urls.size());
    const bool together = settings.parallel && settings.urls.size() > 1;
    const Run run{settings, configuration.Record(), session.get(), meter, together};
    Transfers transfers;
    for (size_t number = 0; number < settings.urls.size(); ++number) {
        transfers.push_back(std::make_unique<Transfer>(run, number));
    }
    Reporter reporter(settings, configuration.Record());
    const int status =
        together ? RunTogether(transfers, reporter, meter, settings.parallelMax, settings.failEarly)
                 : RunOneByOne(transfers, reporter, meter, settings.failEarly);
    reporter.Finish();
    return status;
}

} // namespace TnxTool
