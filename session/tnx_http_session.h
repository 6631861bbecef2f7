// The session type of HTTP: its object with the registries of what is in flight, and its
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

// An asynchronous request that is in flight stands in all three registries, under its identifier.
// It is put in and taken out as a whole: both mutexes are held, so who takes the callback answers
// the request, and nobody else does.
//
// The object owns itself until it is closed. Who calls the application and goes on with the session
// afterwards holds a reference: the application may have closed it.
struct Tnx_HttpSession : std::enable_shared_from_this<Tnx_HttpSession> {
    std::shared_ptr<Tnx::Session> engineSession;
    char id[256] = "";
    const Tnx_SessionConfiguration *configuration = nullptr;
    HandlersChain handlersChain;
    SyncHandlersChain syncHandlersChain;
    std::unordered_map<std::string, CallbackPtr> callbacks GUARDED_BY(callbackMutex);
    std::unordered_map<std::string, Tnx_Request *> requests GUARDED_BY(requestMutex);
    std::unordered_map<std::string, std::shared_ptr<Tnx::Request>>
        engineRequests GUARDED_BY(requestMutex);
    Mutex callbackMutex ACQUIRED_AFTER(requestMutex);
    Mutex requestMutex;
    std::atomic<SessionState> state = SessionState::OPEN;
    std::shared_ptr<Tnx_HttpSession> self;
};

// Null for a handle without an object.
inline Tnx_HttpSession *TnxHttpSessionOf(const Tnx_Session *handle) noexcept
{
    return handle == nullptr ? nullptr : static_cast<Tnx_HttpSession *>(handle->sessionImpl);
}

// Takes a request out of both request registries.
void TnxEraseRequest(Tnx_HttpSession *session, const std::string &requestId) noexcept
    REQUIRES(session->requestMutex);

// Takes a callback out of its registry; empty when there is none. Taking it decides who answers.
CallbackPtr TnxPopCallback(Tnx_HttpSession *session, const std::string &requestId) noexcept
    REQUIRES(session->requestMutex) EXCLUDES(session->callbackMutex);

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
