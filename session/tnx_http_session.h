// The session type of HTTP: its object with the registry of what is in flight, and its
// operations.
#ifndef TNX_SESSION_TNX_HTTP_SESSION_H
#define TNX_SESSION_TNX_HTTP_SESSION_H

#include "common/c_ptr.h"
#include "common/mutex.h"
#include "session/tnx_handlers_chain.h"
#include "tnx_c/session.h"
#include "tnx_native/session.h"

#include <atomic>
#include <memory>
#include <string>
#include <unordered_map>

namespace OHOS::Pelloria::TnxC
{

using HandlersChain = std::unique_ptr<Tnx_RequestHandler, DestroyWith<&TnxDestroyHandlersChain>>;
using SyncHandlersChain =
    std::unique_ptr<Tnx_SyncRequestHandler, DestroyWith<&TnxDestroySyncHandlersChain>>;
using CallbackPtr = std::unique_ptr<Tnx_ResponseCallbackObject>;

enum class SessionState { OPEN, CLOSING, CLOSED };

struct Tnx_HttpSession;

// An asynchronous request on its way. Who takes it out of its registry answers it, and nobody else
// does.
struct Flight final : Tnx::CancelAnswer {
    std::string id;
    Tnx_Request *request = nullptr;
    std::shared_ptr<Tnx::Request> engineRequest;
    CallbackPtr callback;

    // The answer that a cancel leaves behind a callback of this request: for whose sake, and
    // whether all were canceled.
    std::shared_ptr<Tnx_HttpSession> canceledIn;
    bool canceledWithAll = false;
    void Give() noexcept override;
};

using FlightPtr = std::shared_ptr<Flight>;

// The object owns itself until it is closed. Who calls the application and goes on with the session
// afterwards holds a reference: the application may have closed it.
struct Tnx_HttpSession : std::enable_shared_from_this<Tnx_HttpSession> {
    std::shared_ptr<Tnx::Session> engineSession;
    char id[256] = "";
    const Tnx_SessionConfiguration *configuration = nullptr;
    HandlersChain handlersChain;
    SyncHandlersChain syncHandlersChain;
    Mutex requestMutex;
    std::unordered_map<std::string, FlightPtr> flights GUARDED_BY(requestMutex); // by identifier
    std::shared_ptr<Tnx::CookieJar> cookieJar GUARDED_BY(requestMutex);          // empty: none
    std::atomic<bool> hasCookieJar = false; // most have none, and need no lock to know
    std::shared_ptr<const Tnx::RetryPolicy> retry GUARDED_BY(requestMutex); // empty: none
    std::atomic<bool> hasRetry = false;
    std::atomic<SessionState> state = SessionState::OPEN;
    std::shared_ptr<Tnx_HttpSession> self;
};

// Null for a handle without an object.
inline Tnx_HttpSession *TnxHttpSessionOf(const Tnx_Session *handle) noexcept
{
    return handle == nullptr ? nullptr : static_cast<Tnx_HttpSession *>(handle->sessionImpl);
}

// Takes a request out of the registry; empty when it is not there.
FlightPtr TnxEraseRequest(Tnx_HttpSession *session, const std::string &requestId) noexcept
    REQUIRES(session->requestMutex);

// What the engine calls with the outcome of a fetch.
Tnx::ResponseCallback TnxConstructRspCallback(Tnx_Request *request, int64_t startTime,
                                              Tnx_HttpSession *session);

// The last handlers of the chains.
uint32_t TnxSessionBasedFetchHandle(void *handlerContext, Tnx_Request *request,
                                    const Tnx_ResponseCallbackObject *callback) noexcept;
Tnx_Response *TnxSessionBasedFetchSyncHandle(void *handlerContext, Tnx_Request *request,
                                             uint32_t *errCode) noexcept;

// The operations, as the table of the session type has them.
Tnx_Session *TnxHttpCreateSession(Tnx_SessionOps *ops, const Tnx_SessionConfiguration *config,
                                  uint32_t *errCode) noexcept;
const char *TnxHttpGetSessionId(Tnx_Session *session) noexcept;
const Tnx_SessionConfiguration *TnxHttpGetSessionConfiguration(Tnx_Session *session) noexcept;
Tnx_Response *TnxHttpFetchSync(Tnx_Session *session, Tnx_Request *request,
                               uint32_t *errCode) noexcept;
uint32_t TnxHttpFetch(Tnx_Session *session, Tnx_Request *request,
                      const Tnx_ResponseCallbackObject *callback) noexcept;
uint32_t TnxHttpCancelRequest(Tnx_Session *session, const Tnx_Request *request) noexcept;
uint32_t TnxHttpCancelSession(Tnx_Session *session) noexcept;
uint32_t TnxHttpCloseSession(Tnx_Session **session) noexcept;

} // namespace OHOS::Pelloria::TnxC

#endif
