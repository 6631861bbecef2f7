// Cancelling one request or all of them, and closing. The application is called with no lock held,
// and may do anything from there, closing included: what it is called for is taken out first. Where
// another thread is inside a callback of the request, it is called behind that, on that thread.
#include "session/tnx_http_session.h"

#include "common/guard.h"
#include "common/log.h"
#include "tnx_platform/permission.h"

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
void FireCanceled(const Tnx_HttpSession &session, const Tnx_Request &request) noexcept
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
        GuardedCall([&] { onCanceled.callback(onCanceled.usrCtx); });
    }
}

void DeliverCanceled(const Flight &flight) noexcept
{
    const CallbackPtr &object = flight.callback;
    if (object != nullptr && object->callback != nullptr) {
        GuardedCall([&] { object->callback(object->usrCtx, nullptr, TNX_ERR_REQUEST_CANCELED); });
    }
}

void LogCancelOfOne(const Tnx_HttpSession &session, const std::string &requestId)
{
    TNX_LOGD("cancel request %{public}s in session %{public}s", requestId.c_str(), session.id);
    TNX_LOGD("pop callback for request %{public}s in session %{public}s", requestId.c_str(),
             session.id);
}

void CancelInEngine(Tnx_HttpSession &session, const std::shared_ptr<Tnx::Request> &engineRequest)
{
    engineRequest->SetCanceled(true); // ends it too, only later
    Guarded([&] { session.engineSession->CancelRequest(engineRequest); });
}

// Tells the engine and takes the request out: the application may fetch it again before this
// cancel is over. Empty when it was not in flight.
FlightPtr TakeCanceled(Tnx_HttpSession &session, const std::string &requestId)
{
    const MutexLock lock(session.requestMutex);
    const auto entry = session.flights.find(requestId);
    if (entry != session.flights.end()) {
        CancelInEngine(session, entry->second->engineRequest);
    }
    return TnxEraseRequest(&session, requestId);
}

// True: somebody else has it now.
bool LeaveBehindCallback(const SessionRef &session, const FlightPtr &flight, bool withAll)
{
    flight->canceledIn = session;
    flight->canceledWithAll = withAll;
    return session->engineSession->LeaveAnswer(*flight->engineRequest, flight);
}

void CancelOne(const SessionRef &session, const Tnx_Request &request)
{
    const std::string requestId = request.id;
    const FlightPtr flight = TakeCanceled(*session, requestId);
    if (flight == nullptr) {
        FireCanceled(*session, request);
        LogCancelOfOne(*session, requestId);
    } else if (!LeaveBehindCallback(session, flight, false)) {
        flight->Give();
    }
}

using Flights = decltype(Tnx_HttpSession::flights);

Flights TakeAllCanceled(Tnx_HttpSession &session)
{
    const MutexLock lock(session.requestMutex);
    for (const auto &[id, flight] : session.flights) {
        if (!flight->engineRequest->IsCanceled()) { // handed over since the engine canceled all
            CancelInEngine(session, flight->engineRequest);
        }
    }
    return std::exchange(session.flights, {});
}

// All events first, then all response callbacks.
void AnswerAll(const Tnx_HttpSession &session, const Flights &flights)
{
    for (const auto &[id, flight] : flights) {
        TNX_LOGD("call onCanceled for request %{public}s", id.c_str());
        FireCanceled(session, *flight->request);
        if (IsClosed(session)) {
            return;
        }
    }
    for (const auto &[id, flight] : flights) {
        TNX_LOGD("set cpp canceled for request %{public}s", id.c_str());
    }
    for (const auto &[id, flight] : flights) {
        DeliverCanceled(*flight);
        if (IsClosed(session)) {
            return;
        }
    }
}

void CancelAll(const SessionRef &session)
{
    TNX_LOGI("cancel session %{public}s", session->id);
    const std::shared_ptr<Tnx::Session> engineSession = session->engineSession;
    Guarded([&] { engineSession->CancelAll(); }); // else each request is canceled below
    if (IsClosed(*session)) {
        return;
    }
    Flights flights = TakeAllCanceled(*session);
    std::erase_if(flights, [&session](const Flights::value_type &entry) {
        return LeaveBehindCallback(session, entry.second, true);
    });
    AnswerAll(*session, flights);
}

// What is still registered is released, not completed.
void Release(Tnx_HttpSession &session)
{
    session.state = SessionState::CLOSED;
    {
        const MutexLock lock(session.requestMutex);
        session.flights.clear();
    }
    session.engineSession.reset();
    session.handlersChain.reset();
    session.syncHandlersChain.reset();
    session.self.reset();
}

} // namespace

void Flight::Give() noexcept
{
    const SessionRef session = std::move(canceledIn);
    if (IsClosed(*session)) { // by the callback that this was left behind
        return;
    }
    if (canceledWithAll) {
        TNX_LOGD("call onCanceled for request %{public}s", id.c_str());
    }
    FireCanceled(*session, *request);
    if (canceledWithAll) {
        TNX_LOGD("set cpp canceled for request %{public}s", id.c_str());
    } else {
        LogCancelOfOne(*session, id);
    }
    if (!IsClosed(*session)) {
        DeliverCanceled(*this);
    }
}

uint32_t TnxHttpCancelRequest(Tnx_Session *session, const Tnx_Request *request) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        return TNX_ERR_PERMISSION_DENIED;
    }
    Tnx_HttpSession *http = TnxHttpSessionOf(session);
    if (http == nullptr || request == nullptr || http->engineSession == nullptr) {
        return TNX_ERR_PARAMETER;
    }
    return Guarded([&] { CancelOne(http->shared_from_this(), *request); });
}

uint32_t TnxHttpCancelSession(Tnx_Session *session) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        return TNX_ERR_PERMISSION_DENIED;
    }
    return Guarded([&] { CancelAll(TnxHttpSessionOf(session)->shared_from_this()); });
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
    const uint32_t code = Guarded([&] { http->engineSession->Close(); });
    if (code != TNX_OK) { // may be tried again
        http->state = SessionState::OPEN;
        return code;
    }
    TNX_LOGI("close session %{public}s", http->id);
    Release(*http);
    std::free(std::exchange(*session, nullptr));
    return TNX_OK;
}

} // namespace OHOS::Pelloria::TnxC
