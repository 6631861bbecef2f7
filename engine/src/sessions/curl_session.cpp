// Fetching, cancelling and closing.
#include "curl_session.h"

#include <atomic>
#include <new>
#include <stdexcept>
#include <utility>

#include <unistd.h>

#include "refusing_session.h"
#include "transfer/caller_driver.h"
#include "transfer/loop_driver.h"
#include "transfer/transfer.h"

namespace OHOS::Pelloria::Tnx
{
namespace
{

constexpr const char *CLOSED = "The session is closed";
constexpr const char *INHERITED =
    "The session belongs to the process that this one was forked from";

std::string NextId()
{
    static std::atomic<uint64_t> next = 1;
    return "tnx-" + std::to_string(getpid()) + "-" + std::to_string(next++);
}

} // namespace

CurlSession::CurlSession(std::shared_ptr<SessionConfiguration> configuration, TaskRunner runner)
    : generation_(Runtime::Generation())
    , id_(NextId())
    , core_(std::make_shared<SessionCore>(Runtime::Get(), std::move(configuration),
                                          std::move(runner)))
    , orphan_(ERR_SESSION_CLOSED, INHERITED)
{
}

CurlSession::~CurlSession()
{
    if (!Inherited()) {
        Close();
    } else {
        new std::shared_ptr<SessionCore>(core_); // its threads and locks are not here: leave it be
    }
}

void CurlSession::Fetch(const std::shared_ptr<Request> &request, ResponseCallback completion)
{
    if (Inherited()) {
        orphan_.Fetch(request, std::move(completion));
        return;
    }
    const auto transfer =
        std::make_shared<DrivenTransfer<LoopDriver>>(core_, request, std::move(completion));
    core_->Register(transfer);
    transfer->Wake();
}

std::shared_ptr<Response> CurlSession::FetchSync(const std::shared_ptr<Request> &request,
                                                 uint32_t *errorCode)
{
    if (Inherited()) {
        return orphan_.FetchSync(request, errorCode);
    }
    const std::shared_ptr<SessionCore> core = core_; // a callback may close and drop the session
    const bool insideCallback = Activity::Scope::OnStack(core->GetActivity());
    const Activity::Scope running(core->GetActivity());
    if (!running) {
        *errorCode = ERR_SESSION_CLOSED;
        return MakeRefusal(request, CLOSED);
    }
    const auto transfer =
        std::make_shared<DrivenTransfer<CallerDriver>>(core, request, insideCallback);
    core->Register(transfer);
    return transfer->GetDriver().Run(*errorCode);
}

void CurlSession::CancelRequest(const std::shared_ptr<Request> &request)
{
    request->SetCanceled(true);
    if (Inherited()) {
        return;
    }
    for (const std::shared_ptr<RunningTransfer> &transfer : core_->Find(*request)) {
        transfer->Wake();
    }
}

void CurlSession::CancelAll()
{
    if (Inherited()) {
        return;
    }
    const std::shared_ptr<SessionCore> core = core_;
    for (const std::shared_ptr<RunningTransfer> &transfer : core->All()) {
        transfer->GetRequest()->SetCanceled(true);
        transfer->Wake();
    }
    if (const auto &canceled = core->Configuration().onSessionCanceled) {
        canceled();
    }
}

void CurlSession::Close()
{
    if (Inherited()) {
        orphan_.Close();
        return;
    }
    const std::shared_ptr<SessionCore> core = core_;
    const bool first = core->GetActivity().Close();
    if (first) {
        for (const std::shared_ptr<RunningTransfer> &transfer : core->All()) {
            transfer->Wake();
        }
        // Behind those wake-ups in the loop's queue: no transfer uses the handles any more.
        core->GetRuntime().GetLoop().Run([&core]() REQUIRES(ON_LOOP) { core->ReleaseWires(); });
    }
    core->GetActivity().WaitForOthers();
    if (const auto &closed = core->Configuration().onSessionClosed; first && closed) {
        closed();
    }
}

DefaultSessionFactory::DefaultSessionFactory(TaskRunner runner)
    : runner_(std::move(runner))
{
}

std::shared_ptr<Session>
DefaultSessionFactory::CreateSession(const std::shared_ptr<SessionConfiguration> &configuration)
{
    try {
        return std::make_shared<CurlSession>(configuration, runner_);
    } catch (const std::bad_alloc &) {
        return std::make_shared<RefusingSession>(ERR_TRANSFER_BASE + CURLE_OUT_OF_MEMORY,
                                                 "Memory ran out when the session was set up",
                                                 configuration);
    } catch (const std::exception &error) {
        return std::make_shared<RefusingSession>(ERR_TRANSFER_BASE + CURLE_FAILED_INIT,
                                                 error.what(), configuration);
    }
}

} // namespace OHOS::Pelloria::Tnx
