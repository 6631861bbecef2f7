// Cancelling one request or all of them, and closing. The application is called with no lock held,
// and may do anything from there, closing included: what it is called for is taken out first.
#include "session/tnx_http_session.h"

#include "common/log.h"
#include "tnx_platform/permission.h"

#include <new>
#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

using SessionRef = std::shared_ptr<Tnx_HttpSession>;

bool IsClosed(const Tnx_HttpSession &session)
{
    return session.state == SessionState::CLOSED;
}

// Calls `onCanceled` of the configuration that the request goes by.
void FireCanceled(const Tnx_HttpSession &session, const Tnx_Request &request)
{
    const Tnx_Configuration *configuration = request.configuration;
    if (configuration == nullptr && session.configuration != nullptr) {
        configuration = session.configuration->requestConfiguration;
    }
    if (configuration == nullptr) {
        return;
    }
    const auto &onCanceled = configuration->tracing.eventsHandler.onCanceled;
    if (onCanceled.callback != nullptr) {
        onCanceled.callback(onCanceled.usrCtx);
    }
}

void DeliverCanceled(const CallbackPtr &callback)
{
    if (callback != nullptr && callback->callback != nullptr) {
        callback->callback(callback->usrCtx, nullptr, TNX_ERR_REQUEST_CANCELED);
    }
}

// The mark alone ends the request too, only later.
void CancelInEngine(Tnx_HttpSession &session, const std::shared_ptr<Tnx::Request> &engineRequest)
{
    engineRequest->SetCanceled(true);
    try {
        session.engineSession->CancelRequest(engineRequest);
    } catch (const std::bad_alloc &) {
    }
}

// Tells the engine and takes the request out with its callback, all or nothing: the application may
// fetch it again before this cancel is over.
CallbackPtr TakeCanceled(Tnx_HttpSession &session, const std::string &requestId)
{
    const MutexLock lock(session.requestMutex);
    const auto entry = session.engineRequests.find(requestId);
    if (entry != session.engineRequests.end()) {
        CancelInEngine(session, entry->second);
    }
    TnxEraseRequest(&session, requestId);
    return TnxPopCallback(&session, requestId);
}

uint32_t CancelOne(const SessionRef &session, const Tnx_Request &request)
{
    const std::string requestId = request.id;
    const CallbackPtr callback = TakeCanceled(*session, requestId);
    FireCanceled(*session, request);
    TNX_LOGD("cancel request %{public}s in session %{public}s", requestId.c_str(), session->id);
    TNX_LOGD("pop callback for request %{public}s in session %{public}s", requestId.c_str(),
             session->id);
    if (!IsClosed(*session)) {
        DeliverCanceled(callback);
    }
    return TNX_OK;
}

// All that was in flight.
struct Flights {
    decltype(Tnx_HttpSession::requests) requests;
    decltype(Tnx_HttpSession::engineRequests) engineRequests;
    decltype(Tnx_HttpSession::callbacks) callbacks;
};

Flights TakeAllCanceled(Tnx_HttpSession &session)
{
    const MutexLock lock(session.requestMutex);
    const MutexLock callbackLock(session.callbackMutex);
    for (const auto &[id, engineRequest] : session.engineRequests) {
        if (!engineRequest->IsCanceled()) { // handed over since the engine canceled all
            CancelInEngine(session, engineRequest);
        }
    }
    return {std::exchange(session.requests, {}), std::exchange(session.engineRequests, {}),
            std::exchange(session.callbacks, {})};
}

void CancelAll(const SessionRef &session)
{
    TNX_LOGI("cancel session %{public}s", session->id);
    const std::shared_ptr<Tnx::Session> engineSession = session->engineSession;
    try {
        engineSession->CancelAll();
    } catch (const std::bad_alloc &) { // each request is canceled below
    }
    if (IsClosed(*session)) {
        return;
    }
    const Flights flights = TakeAllCanceled(*session);
    for (const auto &[id, request] : flights.requests) {
        TNX_LOGD("call onCanceled for request %{public}s", request->id);
        FireCanceled(*session, *request);
        if (IsClosed(*session)) {
            return;
        }
    }
    for (const auto &[id, engineRequest] : flights.engineRequests) {
        TNX_LOGD("set cpp canceled for request %{public}s", engineRequest->GetId().c_str());
    }
    for (const auto &[id, callback] : flights.callbacks) {
        DeliverCanceled(callback);
        if (IsClosed(*session)) {
            return;
        }
    }
}

// What is still registered is released, not completed.
void Release(Tnx_HttpSession &session)
{
    session.state = SessionState::CLOSED;
    {
        const MutexLock lock(session.requestMutex);
        const MutexLock callbackLock(session.callbackMutex);
        session.requests.clear();
        session.engineRequests.clear();
        session.callbacks.clear();
    }
    session.engineSession.reset();
    session.handlersChain.reset();
    session.syncHandlersChain.reset();
    session.self.reset();
}

} // namespace

uint32_t TnxHttpCancelRequest(Tnx_Session *session, const Tnx_Request *request) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        return TNX_ERR_PERMISSION_DENIED;
    }
    Tnx_HttpSession *http = TnxHttpSessionOf(session);
    if (http == nullptr || request == nullptr || http->engineSession == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    try {
        return CancelOne(http->shared_from_this(), *request);
    } catch (const std::bad_alloc &) {
        return TNX_ERR_OUT_OF_MEMORY;
    }
}

uint32_t TnxHttpCancelSession(Tnx_Session *session) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        return TNX_ERR_PERMISSION_DENIED;
    }
    CancelAll(TnxHttpSessionOf(session)->shared_from_this());
    return TNX_OK;
}

uint32_t TnxHttpCloseSession(Tnx_Session **session) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        return TNX_ERR_PERMISSION_DENIED;
    }
    const SessionRef http = TnxHttpSessionOf(*session)->shared_from_this();
    // A callback that runs while the session closes may try to close it again.
    if (http->state.exchange(SessionState::CLOSING) != SessionState::OPEN) {
        return TNX_ERR_SESSION_CLOSED;
    }
    try {
        http->engineSession->Close();
    } catch (const std::bad_alloc &) { // may be tried again
        http->state = SessionState::OPEN;
        return TNX_ERR_OUT_OF_MEMORY;
    }
    TNX_LOGI("close session %{public}s", http->id);
    Release(*http);
    std::free(std::exchange(*session, nullptr));
    return TNX_OK;
}

} // namespace OHOS::Pelloria::TnxC
