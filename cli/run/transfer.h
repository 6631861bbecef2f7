// One URL, fetched, and tried again where that may help.
#ifndef TNX_CLI_TRANSFER_H
#define TNX_CLI_TRANSFER_H

#include <memory>
#include <optional>

#include "answer/outcome.h"
#include "base/settings.h"
#include "output/sink.h"
#include "request/request.h"

namespace TnxTool
{

class Meter;

// What all transfers of a run share.
struct Run {
    const Settings &settings;
    const Tnx_Configuration &configuration;
    Tnx_Session *session;
    Meter &meter;
    bool parallel; // several at a time: fetch asynchronously, so that they can share connections
};

class Transfer
{
public:
    // Throws UsageError or ToolError.
    Transfer(const Run &run, size_t number);

    // Fetches, on any thread. Fills the outcome, whatever happens.
    void Perform() noexcept;

    // Writes what was held of the body, behind a head of the same file.
    void FinishBody(std::string_view head);

    const Outcome &GetOutcome() const { return outcome_; }
    bool WasPerformed() const { return performed_; }

private:
    enum class Resume { NO, WAITING, ACCEPTED, COMPLETE, REFUSED };

    void Attempt();
    void Fetch(Request &request);
    void Judge();
    void SetError(int status, std::string text);
    std::optional<uint32_t> RetryAfter(uint32_t attempt) const;
    void Observe(Request &request);
    static size_t OnData(void *context, const Tnx_Buffer *data) noexcept;
    static void OnHeaders(void *context, Tnx_Headers *headers) noexcept;
    static void OnDownload(void *context, uint64_t total, uint64_t now) noexcept;
    static void OnUpload(void *context, uint64_t total, uint64_t now) noexcept;

    const Run &run_;
    const std::string url_;
    const Text upload_;
    uint64_t offset_ = 0; // where a download resumes
    Resume resume_ = Resume::NO;
    std::unique_ptr<Request> request_;
    std::unique_ptr<Sink> sink_;
    Outcome outcome_;
    bool performed_ = false;
};

} // namespace TnxTool

#endif
