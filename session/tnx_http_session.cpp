// Creating HTTP sessions, what can be asked of them, and the registration of their type at load.
#include "session/tnx_http_session.h"

#include "common/guard.h"
#include "common/log.h"
#include "session/tnx_session_factory.h"
#include "tnx_platform/bounded.h"
#include "tnx_platform/permission.h"
#include "translate/tnx_session_configuration.h"

#include <utility>

namespace OHOS::Pelloria::TnxC
{
namespace
{

Tnx_SessionOps httpSessionOps = {
    TnxHttpCreateSession, TnxHttpGetSessionId,  TnxHttpGetSessionConfiguration, TnxHttpFetchSync,
    TnxHttpFetch,         TnxHttpCancelRequest, TnxHttpCancelSession,           TnxHttpCloseSession,
};

// Before every other initialiser: those of an application may create sessions already.
__attribute__((constructor(101))) void HttpSessionConstructor() noexcept
{
    OVX_Tnx_RegisterSessionOps(TNX_SESSION_TYPE_HTTP, &httpSessionOps);
    Guarded([] { // else creating a session reports it
        TnxExchangeSessionFactory(std::make_unique<Tnx::DefaultSessionFactory>(Tnx::TaskRunner()));
    });
}

// Returns null, or what to log when memory has run out.
const char *BuildChains(Tnx_HttpSession &session, Tnx_Session *handle)
{
    const Tnx_SessionConfiguration *config = session.configuration;
    Tnx_RequestHandler *base = TnxCreateBaseHandler(handle, TnxSessionBasedFetchHandle);
    if (base == nullptr) {
        return "failed to alloc session based handler";
    }
    session.handlersChain.reset(
        TnxCreateHandlersChain(base, config == nullptr ? nullptr : &config->interceptors));
    if (session.handlersChain == nullptr) {
        return "failed to alloc handlers chain";
    }
    Tnx_SyncRequestHandler *syncBase =
        TnxCreateSyncBaseHandler(handle, TnxSessionBasedFetchSyncHandle);
    if (syncBase == nullptr) {
        return "failed to alloc session based sync handler";
    }
    session.syncHandlersChain.reset(TnxCreateSyncHandlersChain(
        syncBase, config == nullptr ? nullptr : &config->syncInterceptors));
    return session.syncHandlersChain == nullptr ? "failed to alloc sync handlers chain" : nullptr;
}

// The object without its chains.
std::shared_ptr<Tnx_HttpSession> MakeHttpSession(const Tnx_SessionConfiguration *config)
{
    auto session = std::make_shared<Tnx_HttpSession>();
    session->engineSession = TnxCreateEngineSession(TnxToCppSessionConfiguration(config));
    if (session->engineSession != nullptr &&
        strcpy_s(session->id, sizeof(session->id), session->engineSession->GetId().c_str()) != 0) {
        TNX_LOGI("failed to copy session id to cppSession");
    }
    session->configuration = config;
    return session;
}

// Returns a code; fills the handle when it is TNX_OK.
uint32_t OpenSession(Tnx_Session *handle, Tnx_SessionOps *ops,
                     const Tnx_SessionConfiguration *config)
{
    const std::shared_ptr<Tnx_HttpSession> session = MakeHttpSession(config);
    if (session->engineSession == nullptr) {
        TNX_LOGE("failed to create engine session");
        return TNX_ERR_INIT_FAILED;
    }
    if (const char *message = BuildChains(*session, handle); message != nullptr) {
        TNX_LOGE("%{public}s", message);
        return TNX_ERR_OUT_OF_MEMORY;
    }
    session->self = session;
    *handle = {ops, session.get()};
    TNX_LOGI("create session %{public}s", session->id);
    return TNX_OK;
}

} // namespace

FlightPtr TnxEraseRequest(Tnx_HttpSession *session, const std::string &requestId) noexcept
{
    TNX_LOGD("erase request %{public}s in session %{public}s", requestId.c_str(), session->id);
    const auto entry = session->flights.find(requestId);
    if (entry == session->flights.end()) {
        return nullptr;
    }
    FlightPtr flight = std::move(entry->second);
    session->flights.erase(entry);
    return flight;
}

Tnx_Session *TnxHttpCreateSession(Tnx_SessionOps *ops, const Tnx_SessionConfiguration *config,
                                  uint32_t *errCode) noexcept
{
    if (!CommonUtils::HasInternetPermission()) {
        *errCode = TNX_ERR_PERMISSION_DENIED;
        return nullptr;
    }
    CPtr<Tnx_Session> handle = AllocateRecord<Tnx_Session>();
    if (handle == nullptr) {
        TNX_LOGE("failed to alloc session");
        *errCode = TNX_ERR_OUT_OF_MEMORY;
        return nullptr;
    }
    *errCode = Guarded([&] { return OpenSession(handle.get(), ops, config); });
    return *errCode == TNX_OK ? handle.release() : nullptr;
}

const char *TnxHttpGetSessionId(Tnx_Session *session) noexcept
{
    const Tnx_HttpSession *http = TnxHttpSessionOf(session);
    return http != nullptr && CommonUtils::HasInternetPermission() ? http->id : nullptr;
}

const Tnx_SessionConfiguration *TnxHttpGetSessionConfiguration(Tnx_Session *session) noexcept
{
    const Tnx_HttpSession *http = TnxHttpSessionOf(session);
    return http != nullptr && CommonUtils::HasInternetPermission() ? http->configuration : nullptr;
}

} // namespace OHOS::Pelloria::TnxC
