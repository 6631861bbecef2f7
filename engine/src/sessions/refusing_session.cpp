// Refuses without a network.
#include "refusing_session.h"

#include "base/quiet_thread.h"

namespace OHOS::Pelloria::Tnx
{

std::shared_ptr<Response> MakeRefusal(const std::shared_ptr<Request> &request,
                                      const std::string &why)
{
    auto response = std::make_shared<Response>(request);
    response->SetEffectiveUrl(request->GetUrl());
    response->MutableDebugInfo().push_back({DEBUG_TEXT, why, true});
    return response;
}

bool RefusingSession::SetTaskRunner(TaskRunner runner)
{
    MutexLock lock(mutex_);
    if (!fetched_) {
        runner_.swap(runner);
    }
    return !fetched_;
}

TaskRunner RefusingSession::Runner()
{
    MutexLock lock(mutex_);
    fetched_ = true;
    return runner_;
}

// On a thread of its own: the runtime may be what is missing.
void RefusingSession::Fetch(const std::shared_ptr<Request> &request, ResponseCallback completion)
{
    const auto answer = [activity = activity_, request, code = code_, why = why_,
                         completion = std::move(completion)] {
        const Activity::Scope running(*activity);
        if (!running) {
            return;
        }
        if (request->IsCanceled()) {
            completion(nullptr, ERR_REQUEST_CANCELED);
        } else {
            completion(MakeRefusal(request, why), code);
        }
    };
    StartQuietThread("tnx-refusal", [activity = activity_, runner = Runner(), answer] {
        if (!HandOver(*activity, runner, answer)) {
            answer();
        }
    }).detach();
}

void RefusingSession::CancelAll()
{
    if (configuration_ != nullptr && configuration_->onSessionCanceled) {
        configuration_->onSessionCanceled();
    }
}

void RefusingSession::Close()
{
    const bool first = activity_->Close();
    activity_->WaitForOthers();
    if (first && configuration_ != nullptr && configuration_->onSessionClosed) {
        configuration_->onSessionClosed();
    }
}

std::shared_ptr<Response> RefusingSession::FetchSync(const std::shared_ptr<Request> &request,
                                                     uint32_t *errorCode)
{
    *errorCode = code_;
    return MakeRefusal(request, why_);
}

} // namespace OHOS::Pelloria::Tnx
