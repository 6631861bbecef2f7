// Fetches all URLs of a command line.
#include "run.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <thread>
#include <vector>

#include <unistd.h>

#include "base/handles.h"
#include "base/interrupt.h"
#include "base/job.h"
#include "base/terminal.h"
#include "output/meter.h"
#include "report.h"
#include "request/configuration.h"
#include "request/cookies.h"
#include "tnx_c_ext.h"
#include "transfer.h"

namespace TnxTool
{

namespace
{

using Transfers = std::vector<std::unique_ptr<Transfer>>;

// One group of options, made ready.
struct Group {
    explicit Group(const Settings &own)
        : settings(own)
        , jobs(ReadJobs(own))
        , configuration(own)
    {
    }

    const Settings &settings;
    const std::vector<Job> jobs;
    const RunConfiguration configuration;
};

bool ShowsMeter(const RunSettings &settings, const std::deque<Group> &groups)
{
    const auto showsBody = [](const Job &job) { return !job.output; };
    const bool bodyOnTerminal =
        IsTerminal(STDOUT_FILENO) &&
        std::any_of(groups.begin(), groups.end(), [&](const Group &group) {
            return std::any_of(group.jobs.begin(), group.jobs.end(), showsBody);
        });
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

int RunOneByOne(const Transfers &transfers, Reporter &reporter, Meter &meter,
                const RunSettings &settings, const Interrupt &interrupt)
{
    int status = 0;
    auto start = std::chrono::steady_clock::now();
    for (const auto &transfer : transfers) {
        if (!interrupt.Sleep(start - std::chrono::steady_clock::now())) {
            break;
        }
        start = std::chrono::steady_clock::now() + std::chrono::milliseconds(settings.pace);
        transfer->Perform();
        meter.Clear();
        reporter.Report(*transfer);
        status = transfer->GetOutcome().status != 0 ? transfer->GetOutcome().status : status;
        if (status != 0 && settings.failEarly) {
            break;
        }
    }
    return status;
}

// Each worker takes the next transfer; the reports stay in the order of the URLs.
int RunTogether(const Transfers &transfers, Reporter &reporter, Meter &meter,
                const RunSettings &settings, const Interrupt &interrupt)
{
    std::vector<std::promise<void>> done(transfers.size());
    std::atomic<size_t> next = 0;
    std::atomic<bool> stop = false;
    std::vector<std::jthread> workers;
    for (size_t count = std::min<size_t>(settings.parallelMax, transfers.size()); count > 0;
         --count) {
        workers.emplace_back([&] {
            for (size_t at = next++; at < transfers.size(); at = next++) {
                if (!stop && interrupt.Status() == 0) {
                    transfers[at]->Perform();
                    stop = stop || (settings.failEarly && transfers[at]->GetOutcome().status != 0);
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

int RunTransfers(const std::vector<Settings> &all)
{
    const RunSettings &settings = all.front();
    const std::deque<Group> groups(all.begin(), all.end());
    size_t count = 0;
    for (const Group &group : groups) {
        count += group.jobs.size();
    }
    Tnx_SessionConfiguration sessionConfiguration{};
    if (settings.parallel) {
        sessionConfiguration.maxConnectionsPerHost = settings.parallelMax;
        sessionConfiguration.maxTotalConnections = settings.parallelMax;
    }
    const SessionHandle session = OpenSession(sessionConfiguration);
    const Interrupt interrupt([&session] { OVX_Tnx_CancelSession(session.get()); });
    const Cookies cookies(settings, session.get());
    Meter meter(ShowsMeter(settings, groups), count);
    const bool together = settings.parallel && count > 1;
    OutputFiles files;
    std::deque<Run> runs;
    Transfers transfers;
    for (const Group &group : groups) {
        const Run &run = runs.emplace_back(Run{group.settings, group.configuration.Record(),
                                               session.get(), meter, files, interrupt, together});
        for (const Job &job : group.jobs) {
            transfers.push_back(std::make_unique<Transfer>(run, job, transfers.size()));
        }
    }
    Reporter reporter(settings, files);
    const int status =
        (together ? RunTogether : RunOneByOne)(transfers, reporter, meter, settings, interrupt);
    reporter.Finish();
    cookies.Save();
    return interrupt.Status() != 0 ? interrupt.Status() : status;
}

} // namespace TnxTool
