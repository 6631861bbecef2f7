// One URL, fetched, and tried again where that may help.
#ifndef TNX_CLI_TRANSFER_H
#define TNX_CLI_TRANSFER_H

#include <memory>
#include <optional>

#include "answer/outcome.h"
#include "base/interrupt.h"
#include "base/job.h"
#include "narrator.h"
#include "output/sink.h"
#include "request/request.h"
#include "speed_watch.h"

namespace TnxTool
{

class Meter;

// What the transfers of one group of options share.
struct Run {
    const Settings &settings;
    const Tnx_Configuration &configuration;
    Tnx_Session *session;
    Meter &meter;
    OutputFiles &files;
    const Interrupt &interrupt;
    bool parallel; // several at a time: fetch asynchronously, so that they can share connections
};

class Transfer
{
public:
    // The n-th transfer of all. Throws UsageError or ToolError.
    Transfer(const Run &run, const Job &job, size_t number);

    // Fetches, on any thread. Fills the outcome, whatever happens.
    void Perform() noexcept;

    // Tells what was held back, and writes what was held of the body.
    void Finish();

    const Run &GetRun() const { return run_; }
    const Outcome &GetOutcome() const { return outcome_; }
    bool WasPerformed() const { return performed_; }

private:
    enum class Resume { NO, WAITING, ACCEPTED, COMPLETE, REFUSED };

    void Attempt();
    void Fetch(Request &request);
    void Judge();
    void SetError(int status, std::string text);
    void Observe(Request &request);
    void ReadHead(const Tnx_Headers *headers);
    void KeepTime();
    bool StaysAsItIs() const;
    void FinishBody();
    static void OnTrace(void *context, const Tnx_TraceEvent *event) noexcept;
    static size_t OnData(void *context, const Tnx_Buffer *data) noexcept;
    static void OnHeaders(void *context, Tnx_Headers *headers) noexcept;
    static void OnDownload(void *context, uint64_t total, uint64_t now) noexcept;
    static void OnUpload(void *context, uint64_t total, uint64_t now) noexcept;

    const Run &run_;
    const Job job_;
    uint64_t offset_ = 0; // where a download resumes
    SpeedWatch speed_;
    bool tooSlow_ = false;
    Resume resume_ = Resume::NO;
    std::unique_ptr<Request> request_;
    std::unique_ptr<Sink> sink_;
    Narrator narrator_;
    Outcome outcome_;
    bool performed_ = false;
};

} // namespace TnxTool

#endif
