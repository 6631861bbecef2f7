// Fetching, asynchronously and on the caller's thread: the last handlers of the chains, and the
// completion that answers the application.
#include "session/tnx_http_session.h"

#include "common/guard.h"
#include "common/log.h"
#include "tnx_platform/permission.h"
#include "translate/tnx_http_request.h"
#include "translate/tnx_http_response.h"

#include <ctime>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

constexpr const char *API_NAME = "OVX_Tnx_Fetch";

// The results of a usage event.
constexpr uint32_t COMPLETED = 0;
constexpr uint32_t REFUSED = 1;

// What the engine is to fetch, with all that the session adds.
std::shared_ptr<Tnx::Request> MakeEngineRequest(Tnx_HttpSession &session,
                                                const Tnx_Request *request)
{
    auto engineRequest = TnxToCppRequest(session.configuration, request);
    if (session.hasCookieJar) {
        const MutexLock lock(session.requestMutex);
        engineRequest->MutableConfiguration().cookieJar = session.cookieJar;
    }
    if (session.hasRetry) {
        const MutexLock lock(session.requestMutex);
        engineRequest->SetRetryPolicy(session.retry);
    }
    return engineRequest;
}

// Another flight of the same request is replaced; its callback is dropped.
void Register(Tnx_HttpSession &session, FlightPtr flight)
{
    const std::string &id = flight->id;
    const MutexLock lock(session.requestMutex);
    session.flights[id].swap(flight);
}

// False when a cancel has answered the flight already.
bool Withdraw(Tnx_HttpSession &session, const FlightPtr &flight)
{
    const MutexLock lock(session.requestMutex);
    const auto entry = session.flights.find(flight->id);
    if (entry == session.flights.end() || entry->second != flight) {
        return false;
    }
    TnxEraseRequest(&session, flight->id);
    return true;
}

uint32_t StartFetch(Tnx_HttpSession &session, Tnx_Request *request,
                    const Tnx_ResponseCallbackObject &callback, int64_t startTime)
{
    // A reference of its own: a close on another thread must not pull the engine session away.
    const std::shared_ptr<Tnx::Session> engineSession = session.engineSession;
    const auto flight = std::make_shared<Flight>();
    flight->id = request->id;
    flight->request = request;
    flight->callback = std::make_unique<Tnx_ResponseCallbackObject>(callback);
    flight->engineRequest = MakeEngineRequest(session, request);
    Tnx::ResponseCallback completion = TnxConstructRspCallback(request, startTime, &session);
    Register(session, flight);
    // A cancel that comes between marks the engine's request, which is then not sent.
    const uint32_t code =
        Guarded([&] { engineSession->Fetch(flight->engineRequest, std::move(completion)); });
    return code == TNX_OK || Withdraw(session, flight) ? code : uint32_t{TNX_OK};
}

// A response that memory does not suffice for must not pass for a success.
uint32_t CodeOf(uint32_t errorCode, const std::shared_ptr<Tnx::Response> &response,
                const Tnx_Response *record)
{
    const bool lost = response != nullptr && record == nullptr;
    return lost && errorCode == TNX_OK ? uint32_t{TNX_ERR_OUT_OF_MEMORY} : errorCode;
}

// Returns the code that was delivered.
uint32_t Deliver(CallbackPtr callback, const std::shared_ptr<Tnx::Response> &response,
                 Tnx_Request *request, uint32_t errorCode)
{
    if (callback == nullptr || callback->callback == nullptr) {
        return errorCode;
    }
    const Tnx_ResponseCallbackObject target = *callback;
    Tnx_Response *record = TnxToCResponse(response, request, std::move(callback));
    errorCode = CodeOf(errorCode, response, record);
    GuardedCall([&] { target.callback(target.usrCtx, record, errorCode); });
    return errorCode;
}

class Completion
{
public:
    Completion(Tnx_Request *request, int64_t startTime, Tnx_HttpSession *session)
        : request_(request)
        , requestId_(request->id)
        , startTime_(startTime)
        , session_(session)
    {
    }

    void operator()(const std::shared_ptr<Tnx::Response> &response,
                    uint32_t errorCode) const noexcept
    {
        // Who canceled has answered, and the session may be gone.
        if (errorCode == TNX_ERR_REQUEST_CANCELED && response == nullptr) {
            return;
        }
        FlightPtr flight;
        {
            const MutexLock lock(session_->requestMutex);
            const Tnx::Request *engineRequest =
                response == nullptr ? nullptr : response->GetRequest().get();
            if (engineRequest != nullptr && engineRequest->IsCanceled()) {
                return;
            }
            TNX_LOGD("response callback for request %{public}s, errCode %{public}u",
                     requestId_.c_str(), errorCode);
            flight = TakeFlight(engineRequest);
        }
        // The callback may close the session, and end this object with it.
        const int64_t startTime = startTime_;
        if (flight != nullptr) {
            errorCode = Deliver(std::move(flight->callback), response, request_, errorCode);
        }
        TnxTraceApiEvent(COMPLETED, errorCode, API_NAME, startTime);
    }

private:
    // Empty when the request was fetched again since: the later flight is not ours.
    FlightPtr TakeFlight(const Tnx::Request *engineRequest) const REQUIRES(session_->requestMutex)
    {
        const auto entry = session_->flights.find(requestId_);
        if (engineRequest != nullptr && entry != session_->flights.end() &&
            entry->second->engineRequest.get() != engineRequest) {
            return nullptr;
        }
        FlightPtr flight = TnxEraseRequest(session_, requestId_);
        TNX_LOGD("pop callback for request %{public}s in session %{public}s", requestId_.c_str(),
                 session_->id);
        return flight;
    }

    Tnx_Request *request_;
    std::string requestId_;
    int64_t startTime_;
    Tnx_HttpSession *session_;
};

} // namespace

Tnx::ResponseCallback TnxConstructRspCallback(Tnx_Request *request, int64_t startTime,
                                              Tnx_HttpSession *session)
{
    return Completion(request, startTime, session);
}

uint32_t TnxSessionBasedFetchHandle(void *handlerContext, Tnx_Request *request,
                                    const Tnx_ResponseCallbackObject *callback) noexcept
{
    const int64_t startTime = std::time(nullptr);
    Tnx_HttpSession *session = TnxHttpSessionOf(TnxSessionOfHandler(handlerContext));
    uint32_t code = TNX_ERR_PARAMETER;
    if (session != nullptr && callback != nullptr && request != nullptr &&
        session->engineSession != nullptr) {
        code = Guarded([&] { return StartFetch(*session, request, *callback, startTime); });
    }
    if (code != TNX_OK) {
        TnxTraceApiEvent(REFUSED, code, API_NAME, startTime);
    }
    return code;
}

Tnx_Response *TnxSessionBasedFetchSyncHandle(void *handlerContext, Tnx_Request *request,
                                             uint32_t *errCode) noexcept
{
    if (errCode == nullptr) {
        return nullptr;
    }
    Tnx_HttpSession *session = TnxHttpSessionOf(TnxSessionOfHandler(handlerContext));
    if (session == nullptr || request == nullptr || session->engineSession == nullptr) {
        *errCode = TNX_ERR_PARAMETER;
        return nullptr;
    }
    return Guarded(errCode, [&] {
        const std::shared_ptr<Tnx::Session> engineSession = session->engineSession;
        const auto engineRequest = MakeEngineRequest(*session, request);
        const auto response = engineSession->FetchSync(engineRequest, errCode);
        Tnx_Response *record = TnxToCResponse(response, request, nullptr);
        *errCode = CodeOf(*errCode, response, record);
        return record;
    });
}

uint32_t TnxHttpFetch(Tnx_Session *session, Tnx_Request *request,
                      const Tnx_ResponseCallbackObject *callback) noexcept
{
    const int64_t startTime = std::time(nullptr);
    if (!CommonUtils::HasInternetPermission()) {
        TnxTraceApiEvent(REFUSED, TNX_ERR_PERMISSION_DENIED, API_NAME, startTime);
        return TNX_ERR_PERMISSION_DENIED;
    }
    return OVX_Tnx_CallNextRequestHandler(request, TnxHttpSessionOf(session)->handlersChain.get(),
                                          callback);
}

Tnx_Response *TnxHttpFetchSync(Tnx_Session *session, Tnx_Request *request,
                               uint32_t *errCode) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        *errCode = TNX_ERR_PERMISSION_DENIED;
        return nullptr;
    }
    return OVX_Tnx_CallNextSyncRequestHandler(
        request, TnxHttpSessionOf(session)->syncHandlersChain.get(), errCode);
}

} // namespace OHOS::Pelloria::TnxC
