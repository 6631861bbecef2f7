// One URL, fetched, and tried again where that may help.
#include "transfer.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <exception>

#include "base/dates.h"
#include "output/disposition.h"
#include "output/json_layout.h"
#include "output/meter.h"
#include "output/output_plan.h"
#include "retry.h"
#include "tnx_c_ext.h"

namespace TnxTool
{

namespace
{

constexpr int NOT_MODIFIED = 304;
constexpr int FIRST_HTTP_ERROR = 400;

struct Answer {
    ResponseHandle response;
    uint32_t errorCode = TNX_OK;
};

Answer FetchHere(Tnx_Session *session, Tnx_Request *request)
{
    Answer answer;
    answer.response.reset(OVX_Tnx_FetchSync(session, request, &answer.errorCode));
    return answer;
}

Answer FetchThere(Tnx_Session *session, Tnx_Request *request)
{
    Answer answer;
    const TransferHandle transfer(OVX_Tnx_Start(session, request, &answer.errorCode));
    if (transfer) {
        answer.response.reset(OVX_Tnx_Wait(transfer.get(), TNX_NO_TIMEOUT, &answer.errorCode));
    }
    return answer;
}

std::string ErrorText(const Outcome &outcome)
{
    const char *cause = OVX_Tnx_GetFailureText(outcome.response.get());
    return cause != nullptr ? cause : OVX_Tnx_GetErrorText(outcome.errorCode);
}

// The range that a 206 brings, or that a 416 has no more of.
bool StartsAt(const char *contentRange, uint64_t offset)
{
    uint64_t start = 0;
    return std::sscanf(contentRange, "bytes %" SCNu64 "-", &start) == 1 && start == offset;
}

bool IsUnsatisfied(const char *contentRange)
{
    return std::strncmp(contentRange, "bytes */", 8) == 0;
}

} // namespace

Transfer::Transfer(const Run &run, const Job &job, size_t number)
    : run_(run)
    , job_(job)
    , speed_(run.settings.slowest, std::chrono::seconds(run.settings.slowTime))
    , sink_(std::make_unique<Sink>(PlanOutput(run.settings, job)))
    , narrator_(run.settings, run.files, *sink_, run.parallel)
{
    offset_ = ResumeOffset(run.settings, sink_->GetPlan());
    outcome_.number = number;
    outcome_.urlNumber = job.urlNumber;
    outcome_.run = job.run;
    outcome_.beside = run.parallel;
    outcome_.file = sink_->GetPlan().path;
    // Built here too, so that a command line that cannot be carried out sends nothing at all.
    const Request probe(run.settings, job_, offset_, run.configuration);
    outcome_.url = probe.Url();
    outcome_.method = probe.Method();
}

void Transfer::Perform() noexcept
{
    performed_ = true;
    try {
        const auto begin = std::chrono::steady_clock::now();
        for (uint32_t attempt = 0;; ++attempt) {
            Attempt();
            const auto wait = NextTry(run_.settings.retry, outcome_, attempt,
                                      std::chrono::steady_clock::now() - begin);
            if (!wait) {
                break;
            }
            run_.meter.Clear();
            AnnounceRetry(run_.settings, outcome_, *wait, run_.settings.retry.count - attempt);
            if (!run_.interrupt.Sleep(*wait)) {
                break;
            }
            outcome_.retries = attempt + 1;
            sink_->Restart();
        }
    } catch (const ToolError &error) {
        SetError(error.status, error.what());
    } catch (const UsageError &error) {
        SetError(EXIT_USAGE, error.what());
    } catch (const std::exception &error) {
        SetError(EXIT_OUT_OF_MEMORY, error.what());
    }
    run_.meter.Done(outcome_.number);
}

void Transfer::Attempt()
{
    request_ = std::make_unique<Request>(run_.settings, job_, offset_, run_.configuration);
    resume_ = offset_ == 0 ? Resume::NO : Resume::WAITING;
    outcome_.status = 0;
    outcome_.error.clear();
    tooSlow_ = false;
    Observe(*request_);
    outcome_.started = std::chrono::system_clock::now();
    Fetch(*request_);
    Judge();
}

void Transfer::Observe(Request &request)
{
    Tnx_HttpEventsHandler &events = request.Events();
    events.onProgress1 = {&OnDownload, this};
    events.onProgress2 = {&OnUpload, this};
    events.onHeaderReceive = {&OnHeaders, this};
    OVX_Tnx_SetRequestOnBinaryDataRecvCallback(request.Record(), &OnData, this);
    if (narrator_.Listens() && job_.run == 0) {
        OVX_Tnx_SetRequestTrace(request.Record(), &OnTrace, this);
    }
}

void Transfer::Fetch(Request &request)
{
    Answer answer = run_.parallel ? FetchThere(run_.session, request.Record())
                                  : FetchHere(run_.session, request.Record());
    outcome_.response = std::move(answer.response);
    outcome_.errorCode = answer.errorCode;
    outcome_.conversation = ReadConversation(outcome_.response.get());
    outcome_.file = sink_->GetPlan().path;
    outcome_.bodyLength = sink_->Count();
    outcome_.body = sink_->TakeKept();
}

// Tells success from failure, with the exit status that people know from curl.
void Transfer::Judge()
{
    const int status = outcome_.HttpStatus();
    if (resume_ == Resume::COMPLETE && outcome_.errorCode == TNX_ERR_HTTP_STATUS) {
        outcome_.errorCode = TNX_OK; // there is no more to fetch
    }
    const bool failed = outcome_.errorCode == TNX_ERR_HTTP_STATUS ||
                        (outcome_.errorCode == TNX_OK && run_.settings.failWithBody &&
                         status >= FIRST_HTTP_ERROR && resume_ != Resume::COMPLETE);
    if (outcome_.errorCode == TNX_ERR_REQUEST_CANCELED && run_.interrupt.Status() != 0) {
        SetError(run_.interrupt.Status(), "interrupted");
    } else if (tooSlow_) {
        SetError(EXIT_SLOW, "the transfer was slower than -Y allows, for as long as -y says");
    } else if (!sink_->Failure().empty() || !narrator_.Failure().empty()) {
        SetError(EXIT_WRITE, sink_->Failure() + narrator_.Failure());
    } else if (failed) {
        SetError(EXIT_HTTP_ERROR, "The requested URL returned error: " + std::to_string(status));
    } else if (resume_ == Resume::REFUSED) {
        SetError(EXIT_RANGE, "the server does not resume at byte " + std::to_string(offset_));
    } else if (outcome_.errorCode >= TNX_ERR_TRANSFER_BASE) {
        SetError(static_cast<int>(outcome_.errorCode - TNX_ERR_TRANSFER_BASE), ErrorText(outcome_));
    } else if (outcome_.errorCode != TNX_OK) {
        SetError(EXIT_USAGE, OVX_Tnx_GetErrorText(outcome_.errorCode));
    }
}

void Transfer::SetError(int status, std::string text)
{
    outcome_.status = status;
    outcome_.error = std::move(text);
}

void Transfer::Finish()
{
    narrator_.Finish();
    FinishBody();
}

void Transfer::FinishBody()
{
    if (StaysAsItIs()) {
        return;
    }
    const bool nothing = outcome_.status != 0 && sink_->IsEmpty();
    if (!nothing && !sink_->Finish() && outcome_.status == 0) {
        SetError(EXIT_WRITE, sink_->Failure());
    }
    if (outcome_.status != 0 && run_.settings.removeOnError) {
        sink_->RemoveFile();
    } else if (outcome_.status == 0 && run_.settings.remoteTime) {
        KeepTime();
    }
}

// A file, where an error or "not modified" is told instead of its content.
bool Transfer::StaysAsItIs() const
{
    const bool unchanged = run_.settings.timeCondition && outcome_.HttpStatus() == NOT_MODIFIED;
    return sink_->GetPlan().kind == Sink::Kind::FILE &&
           (unchanged || outcome_.errorCode == TNX_ERR_HTTP_STATUS);
}

void Transfer::KeepTime()
{
    const char *field = FindHeader(outcome_, "last-modified");
    if (const auto time = field == nullptr ? std::nullopt : ParseDate(field)) {
        sink_->SetTime(std::chrono::system_clock::to_time_t(*time));
    }
}

void Transfer::OnTrace(void *context, const Tnx_TraceEvent *event) noexcept
{
    auto &self = *static_cast<Transfer *>(context);
    self.run_.meter.Clear();
    self.narrator_.Hear(event->kind, {event->data, event->length});
}

size_t Transfer::OnData(void *context, const Tnx_Buffer *data) noexcept
{
    auto &self = *static_cast<Transfer *>(context);
    if (self.resume_ == Resume::COMPLETE) {
        return data->length; // the text of a 416
    }
    if (self.resume_ == Resume::WAITING || self.resume_ == Resume::REFUSED) {
        self.resume_ = Resume::REFUSED;
        return 0;
    }
    const bool taken = self.sink_->Take({data->data, data->length});
    self.tooSlow_ = self.speed_.IsSlow(self.sink_->Count(), std::chrono::steady_clock::now());
    return taken && !self.tooSlow_ ? data->length : 0;
}

void Transfer::OnHeaders(void *context, Tnx_Headers *headers) noexcept
{
    auto &self = *static_cast<Transfer *>(context);
    const HeadersHandle guard(headers);
    try {
        self.ReadHead(headers);
    } catch (const std::exception &) {
        // Memory ran out: the body goes as it is, to the file that it has.
    }
}

void Transfer::ReadHead(const Tnx_Headers *headers)
{
    const char *type = OVX_Tnx_FindHeader(headers, "content-type");
    if (type != nullptr && IsJson(type)) {
        sink_->ExpectJson();
    }
    const char *disposition = OVX_Tnx_FindHeader(headers, "content-disposition");
    if (disposition != nullptr && job_.output && job_.output->remoteName &&
        run_.settings.remoteHeaderName) {
        sink_->NameFile(DispositionName(disposition));
    }
    if (resume_ == Resume::NO) {
        return;
    }
    const char *range = OVX_Tnx_FindHeader(headers, "content-range");
    if (range == nullptr) {
        resume_ = Resume::REFUSED;
    } else if (IsUnsatisfied(range)) {
        resume_ = Resume::COMPLETE;
    } else {
        resume_ = StartsAt(range, offset_) ? Resume::ACCEPTED : Resume::REFUSED;
    }
}

void Transfer::OnDownload(void *context, uint64_t total, uint64_t now) noexcept
{
    auto &self = *static_cast<Transfer *>(context);
    self.run_.meter.Update(self.outcome_.number, Meter::DOWN, total, now);
}

void Transfer::OnUpload(void *context, uint64_t total, uint64_t now) noexcept
{
    auto &self = *static_cast<Transfer *>(context);
    self.outcome_.uploaded = now;
    self.run_.meter.Update(self.outcome_.number, Meter::UP, total, now);
}

} // namespace TnxTool
